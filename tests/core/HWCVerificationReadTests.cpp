#include "engine/digests/HWCChecksumXXHash64.h"
#include "engine/files/HWCConfinedFolder.h"
#include "engine/files/HWCMedium.h"
#include "engine/files/HWCPathAdditions.h"
#include "engine/files/HWCUncachedReader.h"
#include "engine/operations/HWCVerificationOperation.h"
#include "support/VerificationFixtures.h"

#include <QDir>
#include <QRegularExpression>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace VerificationFixtures;

// Runs that meet cancellation, or a file changing, in the middle of a read. The file being
// read is endless for practical purposes, so the test acts while the worker is inside it.
using HWCVerificationReadTest = VerificationTest;

namespace {

// The open-file flags of this process's descriptor for target, or -1.
int openFlagsOf(const QString &target)
{
    const QDir fds(QStringLiteral("/proc/self/fd"));
    for (const QString &fd :
         fds.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)) {
        if (QFile::symLinkTarget(fds.filePath(fd)) == target) {
            const QByteArray info = TestSupport::readFile("/proc/self/fdinfo/" + fd);
            return info.mid(info.indexOf("flags:") + 6).split('\n')[0].trimmed().toInt(nullptr, 8);
        }
    }
    return -1;
}

} // namespace

TEST_F(HWCVerificationReadTest, CancelDuringAReadLeavesNoRecordForThatFile)
{
    writeMHL(path("Card/A/list.mhl"), {});
    writeMHL(path("Card/B/list.mhl"), {});
    const auto source = scannedSource(path("Card"));
    const QStringList urls = source->mhlURLs();
    ASSERT_EQ(urls.size(), 2);
    // The walk decides which list comes first; the endless file goes into that one.
    const QString first = hwc_deletingLastPathComponent(urls[0]);
    const QString small = addFile(first.mid(m_folder.path().size() + 1) + "/small.bin", 100, "md5");
    TestSupport::writeEndlessFile(first + "/endless.bin");
    writeMHL(urls[0], {hashElement("small.bin", 100, {{"md5", small}}),
                       hashElement("endless.bin", 1, {{"xxhash64", "00"}}),
                       hashElement("new.bin", 1, {{"sha256", "00"}})});
    writeMHL(urls[1], {hashElement("old.bin", 1, {{"crc", "0"}}),
                       hashElement("small.bin", 100, {{"md5", small}})});
    const QString firstFolder = first.mid(path("Card").size());
    const QString secondFolder = hwc_deletingLastPathComponent(urls[1]).mid(path("Card").size());

    HWCVerificationOperation early({.source = source});
    early.cancel();
    runToEnd(early);
    EXPECT_EQ(early.state(), HWCOperationState::Preparing) << "cancelled before it ran";
    EXPECT_TRUE(early.files().isEmpty());

    HWCVerificationOperation operation({.source = source});
    runOnWorker(operation, {}, 100, [&] { operation.cancel(); });

    // Past the cancellation, only entries of unknown kinds are still recorded.
    EXPECT_EQ(records(operation.files()),
              QList<Record>({{firstFolder, "small.bin", HWCFileState::ReadSuccessfully, 100},
                             {firstFolder, "new.bin", HWCFileState::UnknownHash, 0},
                             {secondFolder, "old.bin", HWCFileState::UnknownHash, 0}}));
    EXPECT_EQ(operation.state(), HWCOperationState::Cancelled);
    EXPECT_EQ(operation.info()->stateString(), "Canceled.");
    EXPECT_EQ(operation.info()->filesVerified(), 1u);
}

TEST_F(HWCVerificationReadTest, ReadsAreDirectAndAFileThatShrinksUnderTheReaderFails)
{
    TestSupport::writeEndlessFile(path("Card/endless.bin"));
    writeMHL(path("Card/list.mhl"), {hashElement("endless.bin", 1, {{"xxhash64", "00"}})});
    HWCVerificationOperation operation({.source = scannedSource(path("Card"))});
    int flags = -1;

    runOnWorker(operation, {}, 0, [&] {
        flags = openFlagsOf(path("Card/endless.bin"));
        ASSERT_TRUE(QFile::resize(path("Card/endless.bin"), qint64(kMiB) + 5));
    });

    ASSERT_GE(flags, 0) << "the reader's descriptor was not found";
    EXPECT_TRUE(flags & O_DIRECT) << std::oct << flags;
    ASSERT_EQ(operation.files().size(), 1);
    const HWCVerifiedFile &file = operation.files().first();
    EXPECT_EQ(file.verifiedFileState(), HWCFileState::HashFail);
    EXPECT_GE(file.bytes(), kMiB);
    EXPECT_LT(file.bytes(), quint64(1) << 40);
    EXPECT_EQ(operation.state(), HWCOperationState::FinishedWithWarnings);
}

namespace {

// Every way an operation reads: in turn, overlapped, small files many at once, and three
// files at once on threads.
const RunMode kReadModes[] = {{.inTurn = true}, {}, {.depth = HWCMedium::kDeepQueue}, {.jobs = 3}};

std::string modeName(const RunMode &mode)
{
    return mode.inTurn      ? "in turn"
           : mode.jobs > 1  ? "3 jobs"
           : mode.depth > 1 ? "deep"
                            : "overlapped";
}

} // namespace

// Each file is named to the reader before the one ahead of it is read, as a verification
// with one job and one file ahead does, so that its first read may already be in flight
// when it is opened.
TEST(HWCUncachedReader, InTurnAndOverlappedReadsSeeTheSameBlocksAndDigest)
{
    QTemporaryDir folder;
    const qint64 sizes[] = {0, 1, 4095, 4096, qint64(kMiB), qint64(kMiB) + 1, 3 * qint64(kMiB) + 5};
    QList<QByteArray> files;
    for (const qint64 size : sizes) {
        files.append(QFile::encodeName(folder.filePath(QString::number(size))));
        TestSupport::writeFile(QFile::decodeName(files.last()), size, quint32(size));
    }
    // The last file is named but never opened: its read is completed and dropped.
    files.append(files.first());
    const auto beneath =
        std::make_shared<const HWCConfinedFolder>(QFile::encodeName(folder.path()));
    // In turn (io_uring refused), one file ahead, and the deepest queue.
    for (const auto &[refused, depth] :
         {std::pair{true, 1}, {false, 1}, {false, HWCMedium::kDeepQueue}}) {
        std::thread reading([&] {
            if (refused) {
                ASSERT_TRUE(TestSupport::refuseIoUringOnThisThread());
            }
            HWCUncachedReader reader(depth);
            EXPECT_EQ(reader.isOverlapped(), !refused);
            for (qsizetype i = 0; i + 1 < files.size(); ++i) {
                const qint64 size = sizes[i];
                SCOPED_TRACE(testing::Message() << "size " << size << (refused ? " in turn" : "")
                                                << " depth " << depth);
                QString why;
                const int fd = reader.open(beneath, files[i], &why);
                ASSERT_GE(fd, 0) << why.toStdString();
                // The file after the 4096-byte one is skipped: another one is opened instead.
                reader.expectFile(files[i + (size == 4096 ? 2 : 1)]);
                HWCChecksumXXHash64 checksum;
                QList<quint64> blocks;
                const HWCUncachedReader::Outcome outcome =
                    reader.read(fd, checksum,
                                [&blocks](quint64 length) { return blocks.append(length), true; });
                close(fd);
                EXPECT_EQ(outcome.ending, HWCUncachedReader::Ending::EndOfFile);
                EXPECT_EQ(outcome.bytes, quint64(size));
                QList<quint64> expected;
                for (qint64 left = size; left > 0; left -= qint64(kMiB))
                    expected.append(quint64(std::min(left, qint64(kMiB))));
                EXPECT_EQ(blocks, expected);
                EXPECT_TRUE(checksum.isEqualToHexadecimalString(
                    toolDigest("xxhash64", QFile::decodeName(files[i]))));
            }
        });
        reading.join();
    }
}

// One record per entry, whatever the entry meets, in every read mode as nobody; wherever a
// cancel lands, what was recorded is the start of the whole run's records.
TEST_F(HWCVerificationReadTest, EveryFileStateInEveryReadModeAndACancelLeavesAPrefix)
{
    QStringList hashes;
    hashes << hashElement("a.bin", 3 * kMiB + 5,
                          {{"md5", addFile("Card/a.bin", 3 * kMiB + 5, "md5")}})
           << hashElement("b.bin", 0, {{"xxhash64", addFile("Card/b.bin", 0, "xxhash64")}})
           << hashElement("c.bin", 70000, {{"sha1", addFile("Card/c.bin", 70000, "sha1", 3)}})
           << hashElement("d.bin", 4097, {{"xxhash", addFile("Card/d.bin", 4097, "xxhash", 4)}})
           << hashElement("missing.bin", 1, {{"md5", "00"}})
           << hashElement("secret.bin", 10, {{"md5", addFile("Card/secret.bin", 10, "md5")}})
           << hashElement("unknown.bin", 1, {{"sha256", "00ff"}, {"crc", "0"}})
           << hashElement("shrunk.bin", 2 * kMiB,
                          {{"md5", addFile("Card/shrunk.bin", 2 * kMiB, "md5", 5)}})
           << hashElement("A001/../in.bin", 512, {{"md5", addFile("Card/in.bin", 512, "md5")}});
    ASSERT_TRUE(QFile::resize(path("Card/shrunk.bin"), qint64(kMiB) + 7));
    ASSERT_EQ(chmod(QFile::encodeName(path("Card/secret.bin")).constData(), 0), 0);
    ASSERT_EQ(chmod(QFile::encodeName(m_folder.path()).constData(), 0777), 0);
    // Entries that are no regular file, or lie outside the list's folder, are never opened.
    addFile("other.bin", 10, "md5");
    QDir().mkpath(path("Card/A001"));
    QDir().mkpath(path("Card/folder.bin"));
    ASSERT_EQ(symlink("loop.bin", QFile::encodeName(path("Card/loop.bin")).constData()), 0);
    TestSupport::makeFifo(path("Card/pipe.bin"));
    TestSupport::makeSocket(path("Card/socket.bin"));
    const QStringList refused = {"folder.bin", "loop.bin", "pipe.bin", "socket.bin",
                                 "A001/../../other.bin"};
    for (const QString &name : refused)
        hashes << hashElement(name, 10, {{"md5", kHelloMD5}});
    // Beyond 4 GiB, sparse: offsets and sizes must not wrap at 32 bits.
    const quint64 bigSize = (4ull << 30) + 3;
    TestSupport::writeText(path("Card/big.bin"), {});
    ASSERT_TRUE(QFile::resize(path("Card/big.bin"), qint64(bigSize)));
    hashes << hashElement("big.bin", qint64(bigSize),
                          {{"xxhash64", toolDigest("xxhash64", path("Card/big.bin"))}})
           << hashElement("e.bin", 5000, {{"md5", addFile("Card/e.bin", 5000, "md5", 6)}});
    // A tree of more small frames than the deepest queue holds, a large clip and a missing
    // frame among them.
    QList<Record> tree;
    quint64 treeBytes = 0;
    for (int i = 0; i < 40; ++i) {
        const QString name = QStringLiteral("seq/%1/f%2.bin").arg(QChar('A' + i % 2)).arg(i);
        const quint64 size = i == 20 ? 2 * kMiB + 3 : quint64(i) * 7919 % 65537;
        const bool missing = i == 30;
        hashes << hashElement(name, qint64(size),
                              {{"xxhash64", missing ? QStringLiteral("00")
                                                    : addFile("Card/" + name, qint64(size),
                                                              "xxhash64", quint32(i))}});
        tree << Record{"/", name,
                       missing ? HWCFileState::MissingFile : HWCFileState::ReadSuccessfully,
                       missing ? 0 : size};
        treeBytes += missing ? 0 : size;
    }
    writeMHL(path("Card/list.mhl"), hashes);
    const auto source = scannedSource(path("Card"));

    QList<Record> expected = {{"/", "a.bin", HWCFileState::ReadSuccessfully, 3 * kMiB + 5},
                              {"/", "b.bin", HWCFileState::ReadSuccessfully, 0},
                              {"/", "c.bin", HWCFileState::ReadSuccessfully, 70000},
                              {"/", "d.bin", HWCFileState::ReadSuccessfully, 4097},
                              {"/", "missing.bin", HWCFileState::MissingFile, 0},
                              {"/", "secret.bin", HWCFileState::AccessDenied, 0},
                              {"/", "unknown.bin", HWCFileState::UnknownHash, 0},
                              {"/", "shrunk.bin", HWCFileState::HashFail, kMiB + 7},
                              {"/", "A001/../in.bin", HWCFileState::ReadSuccessfully, 512}};
    for (const QString &name : refused)
        expected.append({"/", name, HWCFileState::CantOpenFile, 0});
    expected << Record{"/", "big.bin", HWCFileState::ReadSuccessfully, bigSize}
             << Record{"/", "e.bin", HWCFileState::ReadSuccessfully, 5000} << tree;
    for (RunMode mode : kReadModes) {
        SCOPED_TRACE(modeName(mode));
        mode.asNobody = true;
        HWCVerificationOperation whole(
            {.source = source, .jobs = mode.jobs, .readDepth = mode.depth});
        TestSupport::LogCapture log;
        runOnWorker(whole, mode);
        EXPECT_EQ(records(whole.files()), expected);
        EXPECT_EQ(whole.state(), HWCOperationState::FinishedWithWarnings);
        EXPECT_EQ(records(whole.filesWithState(HWCFileState::HashFail)), expected.mid(7, 1));
        EXPECT_EQ(whole.filesWithState(HWCFileState::ReadSuccessfully, true).size(), 10);
        // Files that never opened and unknown kinds are not counted.
        EXPECT_EQ(whole.info()->filesVerified(), 7u + 39u);
        EXPECT_EQ(whole.info()->filesFailed(), 1u);
        EXPECT_EQ(whole.info()->bytesVerified(),
                  3 * kMiB + 5 + 70000 + 4097 + kMiB + 7 + 512 + bigSize + 5000 + treeBytes);
        EXPECT_EQ(whole.info()->mhlTools(), QStringList({"Test Writer 1.0"}));
        EXPECT_TRUE(whole.unusableLists().isEmpty());
        const QStringList lines = log.lines();
        EXPECT_EQ(lines
                      .filter(QRegularExpression("^ERROR .*Classes/HWCVerificationOperation .*"
                                                 "Skipping unknown checksum type$"))
                      .size(),
                  1);
        for (const char *why :
             {"folder.bin: a folder, not a regular file", "pipe.bin: a FIFO, not a regular file",
              "loop.bin: Too many levels", "socket.bin: No such device or address",
              "A001/../../other.bin: its path leaves the MHL's folder"})
            EXPECT_EQ(lines.filter(QStringLiteral("Can't open file ") + why).size(), 1) << why;

        // The last lands among the frames of the tree.
        for (const quint64 after :
             {0ull, 3ull << 20, 5ull << 20, 6ull << 20, 1ull << 30, (4ull << 30) + (9ull << 19)}) {
            SCOPED_TRACE(after);
            HWCVerificationOperation cancelled(
                {.source = source, .jobs = mode.jobs, .readDepth = mode.depth});
            runOnWorker(cancelled, mode, after, [&cancelled] { cancelled.cancel(); });
            const QList<Record> kept = records(cancelled.files());
            EXPECT_EQ(kept, expected.mid(0, kept.size()));
            if (kept.size() < expected.size()) {
                EXPECT_EQ(cancelled.state(), HWCOperationState::Cancelled);
            }
        }
    }
}
