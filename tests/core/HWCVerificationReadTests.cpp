#include "Categories/HWCPathAdditions.h"
#include "Classes/HWCVerificationOperation.h"
#include "support/VerificationFixtures.h"

#include <QDir>
#include <QThreadPool>
#include <fcntl.h>
#include <gtest/gtest.h>

using namespace VerificationFixtures;

// Runs that meet cancellation, or a file changing, in the middle of a read. The file being
// read is endless for practical purposes, so the test acts while the worker is inside it.
class HWCVerificationReadTest : public VerificationTest {
protected:
    // Runs the operation on a worker; act runs here once more than `after` bytes were read.
    static void runActing(HWCVerificationOperation &operation, quint64 after,
                          const std::function<void()> &act)
    {
        bool acted = false;
        QObject::connect(operation.info(), &HWCOperationInfo::progressChanged, [&] {
            if (operation.info()->bytesVerified() > after && !std::exchange(acted, true))
                act();
        });
        QThreadPool pool;
        pool.start([&operation] { operation.start(); });
        ASSERT_TRUE(TestSupport::waitUntil([&] { return operation.isFinished(); }));
        pool.waitForDone();
        QCoreApplication::sendPostedEvents();
        EXPECT_TRUE(acted);
    }
};

namespace {

// The open-file flags of this process's descriptor for target, or -1.
int openFlagsOf(const QString &target)
{
    const QDir fds(QStringLiteral("/proc/self/fd"));
    for (const QString &fd :
         fds.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)) {
        if (QFile::symLinkTarget(fds.filePath(fd)) != target)
            continue;
        QFile info(QStringLiteral("/proc/self/fdinfo/") + fd);
        if (!info.open(QIODevice::ReadOnly))
            continue;
        for (const QByteArray &line : info.readAll().split('\n')) {
            if (line.startsWith("flags:"))
                return line.mid(6).trimmed().toInt(nullptr, 8);
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

    HWCVerificationOperation early(source);
    early.cancel();
    runToEnd(early);
    EXPECT_EQ(early.state(), HWCOperationStatePreparing) << "cancelled before it ran";
    EXPECT_TRUE(early.files().isEmpty());

    HWCVerificationOperation operation(source);
    runActing(operation, 100, [&] { operation.cancel(); });

    // Past the cancellation, only entries of unknown kinds are still recorded.
    EXPECT_EQ(records(operation.files()),
              QList<Record>({{firstFolder, "small.bin", HWCFileStateReadSuccessfully, 100},
                             {firstFolder, "new.bin", HWCFileStateUnknownHash, 0},
                             {secondFolder, "old.bin", HWCFileStateUnknownHash, 0}}));
    EXPECT_EQ(operation.state(), HWCOperationStateCancelled);
    EXPECT_EQ(operation.info()->stateString(), "Canceled.");
    EXPECT_EQ(operation.info()->filesVerified(), 1u);
}

TEST_F(HWCVerificationReadTest, ReadsAreDirectAndAFileThatShrinksUnderTheReaderFails)
{
    TestSupport::writeEndlessFile(path("Card/endless.bin"));
    writeMHL(path("Card/list.mhl"), {hashElement("endless.bin", 1, {{"xxhash64", "00"}})});
    HWCVerificationOperation operation(scannedSource(path("Card")));
    int flags = -1;

    runActing(operation, 0, [&] {
        flags = openFlagsOf(path("Card/endless.bin"));
        ASSERT_TRUE(QFile::resize(path("Card/endless.bin"), qint64(kMiB) + 5));
    });

    ASSERT_GE(flags, 0) << "the reader's descriptor was not found";
    EXPECT_TRUE(flags & O_DIRECT) << std::oct << flags;
    ASSERT_EQ(operation.files().size(), 1);
    const HWCVerifiedFile &file = operation.files().first();
    EXPECT_EQ(file.verifiedFileState(), HWCFileStateHashFail);
    EXPECT_GE(file.bytes(), kMiB);
    EXPECT_LT(file.bytes(), quint64(1) << 40);
    EXPECT_EQ(operation.state(), HWCOperationStateFinishedWithWarnings);
}
