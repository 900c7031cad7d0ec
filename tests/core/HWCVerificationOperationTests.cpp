#include "Classes/HWCOperationController.h"
#include "Classes/HWCVerificationOperation.h"
#include "support/VerificationFixtures.h"

#include <QDir>
#include <QFile>
#include <QPointer>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QThreadPool>
#include <atomic>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace VerificationFixtures;

namespace {

constexpr quint64 kMiB = 1024 * 1024;

class HWCVerificationOperationTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_folder.isValid()); }

    QString path(const QString &relative) const { return m_folder.filePath(relative); }

    // Writes a file of pseudo-random bytes and returns its digest of the given kind.
    QString addFile(const QString &relative, qint64 size, const QString &kind, quint32 seed = 7)
    {
        TestSupport::writeFile(path(relative), size, seed);
        return toolDigest(kind, path(relative));
    }

    QTemporaryDir m_folder;
};

} // namespace

TEST_F(HWCVerificationOperationTest, EveryFileStateOneRecordPerEntry)
{
    const quint64 okSize = 2 * kMiB + kMiB / 2 + 123; // three reads, the last one short
    const QString ok = addFile("Card/A001/ok.bin", qint64(okSize), "xxhash64");
    const QString otherMd5 = addFile("other.bin", 1000, "md5", 99);
    addFile("Card/bad.bin", 1000, "md5");
    const QString empty = addFile("Card/empty.bin", 0, "sha1");
    const QString xx32 = addFile("Card/x32.bin", 4097, "xxhash");
    const QString escape = addFile("escape.bin", 512, "md5");
    QDir().mkpath(path("Card/folder.bin"));
    ASSERT_EQ(symlink("loop.bin", path("Card/loop.bin").toUtf8().constData()), 0);
    writeMHL(path("Card/list.mhl"), {hashElement("A001/ok.bin", qint64(okSize), {{"xxhash64", ok}}),
                                     hashElement("bad.bin", 1000, {{"md5", otherMd5}}),
                                     hashElement("missing.bin", 10, {{"md5", otherMd5}}),
                                     hashElement("loop.bin", 10, {{"md5", otherMd5}}),
                                     hashElement("folder.bin", 10, {{"md5", otherMd5}}),
                                     hashElement("new.bin", 10, {{"sha256", "00ff"}, {"crc", "1"}}),
                                     hashElement("empty.bin", 0, {{"sha1", empty}}),
                                     hashElement("x32.bin", 4097, {{"xxhash", xx32}}),
                                     hashElement("../escape.bin", 512, {{"md5", escape}})});
    const auto source = scannedSource(path("Card"));
    HWCVerificationOperation operation(source, nullptr);
    TestSupport::LogCapture log;

    runToEnd(operation);

    const QList<Record> expected = {
        {"/", "A001/ok.bin", HWCFileStateReadSuccessfully, okSize},
        {"/", "bad.bin", HWCFileStateHashFail, 1000},
        {"/", "missing.bin", HWCFileStateMissingFile, 0},
        {"/", "loop.bin", HWCFileStateCantOpenFile, 0},
        {"/", "folder.bin", HWCFileStateCantReadFile, 0},
        {"/", "new.bin", HWCFileStateUnknownHash, 0},
        {"/", "empty.bin", HWCFileStateReadSuccessfully, 0},
        {"/", "x32.bin", HWCFileStateReadSuccessfully, 4097},
        {"/", "../escape.bin", HWCFileStateReadSuccessfully, 512},
    };
    EXPECT_EQ(records(operation.files()), expected);
    for (const HWCVerifiedFile &file : operation.files()) {
        EXPECT_EQ(file.sourcePath(), path("Card"));
        const bool opened = file.verifiedFileState() == HWCFileStateReadSuccessfully ||
                            file.verifiedFileState() == HWCFileStateHashFail ||
                            file.verifiedFileState() == HWCFileStateCantReadFile;
        EXPECT_EQ(file.time() > 0, opened) << file.relativePath().toStdString();
    }
    EXPECT_EQ(operation.state(), HWCOperationStateFinishedWithWarnings);
    EXPECT_EQ(operation.fileAmount(), 9u);
    EXPECT_EQ(records(operation.filesWithState(HWCFileStateHashFail)), expected.mid(1, 1));
    EXPECT_EQ(operation.filesWithState(HWCFileStateReadSuccessfully, true).size(), 5);
    EXPECT_TRUE(operation.filesWithState(0).isEmpty());
    EXPECT_EQ(operation.description(), "HWCVerificationOperation root: Card");
    EXPECT_EQ(operation.actionType(), HWCActionTypeVerify);

    // Files that never opened and unknown kinds are not counted; a read error counts as passed.
    HWCOperationInfo *info = operation.info();
    EXPECT_EQ(info->filesVerified(), 5u);
    EXPECT_EQ(info->filesFailed(), 1u);
    EXPECT_EQ(info->filesTotal(), 9u);
    EXPECT_EQ(info->bytesTotal(), okSize + 1000 + 40 + 4097 + 512);
    EXPECT_EQ(info->bytesVerified(), okSize + 1000 + 4097 + 512);
    EXPECT_EQ(info->stateString(), "Completed with issues.");
    EXPECT_EQ(info->progress(), 100.0);
    EXPECT_EQ(info->currentRelativeFilePath(), "../escape.bin");
    EXPECT_EQ(info->mhlTools(), QStringList({"Test Writer 1.0"}));
    const QStringList lines = log.lines().filter("Skipping unknown checksum type");
    ASSERT_EQ(lines.size(), 1);
    EXPECT_TRUE(lines[0].startsWith("ERROR   ")) << lines[0].toStdString();
    EXPECT_TRUE(lines[0].contains("-[Classes/HWCVerificationOperation "));
}

TEST_F(HWCVerificationOperationTest, FirstPreferredDigestDecidesOthersAreIgnored)
{
    QMap<QString, QString> right;
    for (const QString kind : {"md5", "xxhash64", "sha1", "xxhash"})
        right[kind] = addFile("Card/f.bin", 3 * kMiB, kind, 5);
    QMap<QString, QString> wrong;
    for (const QString kind : {"md5", "xxhash64", "sha1", "xxhash"})
        wrong[kind] = addFile("wrong.bin", 100, kind, 6);
    const auto entry = [](const QList<std::pair<QString, QString>> &digests) {
        return hashElement("f.bin", 3 * kMiB, digests);
    };
    writeMHL(path("Card/list.mhl"),
             {entry({{"xxhash64", wrong["xxhash64"]}, {"md5", right["md5"].toUpper()}}),
              entry({{"xxhash64", right["xxhash64"]}, {"md5", wrong["md5"]}}),
              entry({{"sha1", wrong["sha1"]}, {"xxhash64", right["xxhash64"]}}),
              entry({{"xxhash", wrong["xxhash"]}, {"sha1", right["sha1"]}}),
              entry({{"sha1", wrong["sha1"]}, {"xxhash", right["xxhash"]}}),
              entry({{"xxhash", right["xxhash"]}, {"sha256", "00"}}),
              entry({{"md5", wrong["md5"]},
                     {"sha1", right["sha1"]},
                     {"xxhash", right["xxhash"]},
                     {"xxhash64", right["xxhash64"]}})});
    HWCVerificationOperation operation(scannedSource(path("Card")), nullptr);

    runToEnd(operation);

    QList<HWCFileState> states;
    for (const HWCVerifiedFile &file : operation.files())
        states.append(file.verifiedFileState());
    EXPECT_EQ(states, QList<HWCFileState>({1, 2, 1, 1, 2, 1, 2}));
    EXPECT_EQ(operation.info()->filesFailed(), 3u);
    EXPECT_EQ(operation.state(), HWCOperationStateFinishedWithWarnings);
}

TEST_F(HWCVerificationOperationTest, AccessDeniedForAnUnprivilegedReader)
{
    ASSERT_EQ(chmod(m_folder.path().toUtf8().constData(), 0755), 0);
    const QString open = addFile("Card/open.bin", 2000, "md5");
    const QString locked = addFile("Card/locked.bin", 2000, "md5");
    ASSERT_EQ(chmod(path("Card/locked.bin").toUtf8().constData(), 0), 0);
    writeMHL(path("Card/list.mhl"), {hashElement("locked.bin", 2000, {{"md5", locked}}),
                                     hashElement("open.bin", 2000, {{"md5", open}})});
    HWCVerificationOperation operation(scannedSource(path("Card")), nullptr);
    {
        TestSupport::FileAccessAsNobody nobody;
        operation.start();
    }
    QCoreApplication::sendPostedEvents();

    EXPECT_EQ(records(operation.files()),
              QList<Record>({{"/", "locked.bin", HWCFileStateAccessDenied, 0},
                             {"/", "open.bin", HWCFileStateReadSuccessfully, 2000}}));
    EXPECT_EQ(operation.state(), HWCOperationStateFinishedWithWarnings);
    EXPECT_EQ(operation.info()->filesVerified(), 1u);
}

TEST_F(HWCVerificationOperationTest, EveryMHLCountsAFileNamedTwiceGivesTwoRecords)
{
    const QString digest = addFile("Card/A001/a.bin", 5000, "sha1");
    writeMHL(path("Card/top.mhl"), {hashElement("A001/a.bin", 5000, {{"sha1", digest}})});
    writeMHL(path("Card/A001/sub.mhl"), {hashElement("a.bin", 5000, {{"sha1", digest}})},
             "Other Tool");
    const auto source = scannedSource(path("Card"));
    HWCVerificationOperation operation(source, nullptr);

    runToEnd(operation);

    QList<Record> expected;
    for (const QString &url : source->mhlURLs()) {
        if (url.endsWith("top.mhl"))
            expected.append({"/", "A001/a.bin", HWCFileStateReadSuccessfully, 5000});
        else
            expected.append({"/A001", "a.bin", HWCFileStateReadSuccessfully, 5000});
    }
    ASSERT_EQ(expected.size(), 2);
    EXPECT_EQ(records(operation.files()), expected);
    EXPECT_EQ(operation.state(), HWCOperationStateVerifiedOK);
    EXPECT_EQ(operation.info()->stateString(), "Verification successful.");
    EXPECT_EQ(operation.info()->filesTotal(), 2u);
    EXPECT_EQ(operation.info()->progress(), 100.0);
    QStringList tools = operation.info()->mhlTools();
    tools.sort();
    EXPECT_EQ(tools, QStringList({"Other Tool", "Test Writer 1.0"}));
}

TEST_F(HWCVerificationOperationTest, SourceGivenAsItsMHLFile)
{
    const QString digest = addFile("Card/A001/a.bin", 100, "md5");
    writeMHL(path("Card/A001/list.mhl"), {hashElement("a.bin", 100, {{"md5", digest}})});
    HWCVerificationOperation operation(scannedSource(path("Card/A001/list.mhl")), nullptr);

    runToEnd(operation);

    EXPECT_EQ(records(operation.files()),
              QList<Record>({{"/", "a.bin", HWCFileStateReadSuccessfully, 100}}));
    EXPECT_EQ(operation.description(), "HWCVerificationOperation root: A001");
}

TEST_F(HWCVerificationOperationTest, EmptyUnparsableAndAbsentMHLs)
{
    struct Case {
        QByteArray mhl; // empty: no MHL at all
        HWCOperationState state;
        const char *stateString;
    };
    const Case cases[] = {
        {"<?xml version=\"1.0\"?>\n<hashlist version=\"1.1\"/>\n", HWCOperationStateVerifiedOK,
         "Verification successful."},
        {"<hashlist><hash><file>a.bin</file>", HWCOperationStateVerifiedOK,
         "Verification successful."},
        {"", HWCOperationStateNoMHL, "No MHL file."},
    };
    int index = 0;
    for (const Case &c : cases) {
        const QString card = QStringLiteral("Card%1").arg(index++);
        addFile(card + "/a.bin", 100, "md5");
        if (!c.mhl.isEmpty())
            TestSupport::writeText(path(card + "/list.mhl"), c.mhl);
        HWCVerificationOperation operation(scannedSource(path(card)), nullptr);
        TestSupport::LogCapture log;

        runToEnd(operation);

        EXPECT_TRUE(operation.files().isEmpty()) << card.toStdString();
        EXPECT_EQ(operation.state(), c.state) << card.toStdString();
        EXPECT_EQ(operation.info()->stateString(), c.stateString);
        EXPECT_EQ(log.contains("MHL appears to be empty"), !c.mhl.isEmpty());
        if (c.state == HWCOperationStateNoMHL) {
            EXPECT_EQ(operation.info()->progress(), 100.0);
        }
    }
}

TEST_F(HWCVerificationOperationTest, ThousandsOfMissingFilesAndAFileAbove4GiB)
{
    // Sparse: 5 GiB of zeros that cost no disk space; the digest comes from xxhsum.
    const quint64 bigSize = 5 * 1024 * kMiB + 7;
    QFile big(path("Card/big.bin"));
    QDir().mkpath(path("Card"));
    ASSERT_TRUE(big.open(QIODevice::WriteOnly));
    ASSERT_TRUE(big.resize(qint64(bigSize)));
    big.close();
    QStringList entries = {hashElement("big.bin", qint64(bigSize),
                                       {{"xxhash64", toolDigest("xxhash64", big.fileName())}})};
    for (int i = 0; i < 3000; ++i)
        entries.append(hashElement(QStringLiteral("gone/%1.mov").arg(i), 1, {{"md5", "00"}}));
    writeMHL(path("Card/list.mhl"), entries);
    HWCVerificationOperation operation(scannedSource(path("Card")), nullptr);

    runToEnd(operation);

    ASSERT_EQ(operation.files().size(), 3001);
    EXPECT_EQ(records(operation.files()).first(),
              Record("/", "big.bin", HWCFileStateReadSuccessfully, bigSize));
    EXPECT_EQ(operation.filesWithState(HWCFileStateMissingFile).size(), 3000);
    EXPECT_EQ(operation.info()->bytesVerified(), bigSize);
    EXPECT_EQ(operation.info()->filesVerified(), 1u);
    EXPECT_EQ(operation.state(), HWCOperationStateFinishedWithWarnings);
}

TEST_F(HWCVerificationOperationTest, RemoveCancelsAndLeavesTheControllersList)
{
    addFile("Card/a.bin", 10, "md5");
    writeMHL(path("Card/list.mhl"), {});
    HWCOperationController controller;
    const auto operation = controller.addDisk(scannedSource(path("Card")));
    ASSERT_TRUE(operation);
    ASSERT_TRUE(controller.operations().contains(operation));

    operation->remove();

    EXPECT_TRUE(operation->isCancelled());
    EXPECT_FALSE(controller.operations().contains(operation));
    EXPECT_TRUE(TestSupport::waitUntil([&] { return operation->isFinished(); }));
}

TEST_F(HWCVerificationOperationTest, DestroyedOnAWorkerTheRecordGoesOnTheMainThread)
{
    addFile("Card/a.bin", 10, "md5");
    writeMHL(path("Card/list.mhl"), {});
    auto operation =
        std::make_unique<HWCVerificationOperation>(scannedSource(path("Card")), nullptr);
    const QPointer<HWCOperationInfo> info = operation->info();
    QThreadPool pool;
    pool.start([&operation] {
        operation->start();
        operation.reset();
    });
    ASSERT_TRUE(pool.waitForDone(30000));
    ASSERT_FALSE(info.isNull());

    EXPECT_TRUE(TestSupport::waitUntil([&] {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return info.isNull();
    }));
}

namespace {

// Feeds a named pipe to the operation: some data, then, once the test has cancelled, one
// more block, so that the reader meets the cancellation in the middle of the file.
class PipeFeeder {
public:
    explicit PipeFeeder(const QString &fifo) : m_thread([this, fifo] { feed(fifo); }) {}
    ~PipeFeeder()
    {
        m_cancelled = true;
        m_thread.join();
    }
    void cancelled() { m_cancelled = true; }

private:
    void feed(const QString &fifo)
    {
        // Non-blocking open so that a run that never reaches the pipe cannot hang the test.
        int fd = -1;
        for (int tries = 0; fd < 0 && tries < 30000 && !m_cancelled; ++tries) {
            fd = open(fifo.toUtf8().constData(), O_WRONLY | O_NONBLOCK);
            if (fd < 0)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        if (fd < 0)
            return;
        fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
        const QByteArray block(256 * 1024, 'x');
        writeAll(fd, block);
        for (int waits = 0; !m_cancelled && waits < 30000; ++waits)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        writeAll(fd, block.left(4096));
        close(fd);
    }
    static void writeAll(int fd, const QByteArray &data)
    {
        qsizetype done = 0;
        while (done < data.size()) {
            const ssize_t written = write(fd, data.constData() + done, size_t(data.size() - done));
            if (written <= 0)
                return; // the reader has gone
            done += written;
        }
    }

    std::atomic<bool> m_cancelled{false};
    std::thread m_thread;
};

// The open-file flags of the first descriptor of this process that names target, or -1.
int openFlagsOf(const QByteArray &target)
{
    DIR *fds = opendir("/proc/self/fd");
    if (!fds)
        return -1;
    int flags = -1;
    while (const dirent *entry = readdir(fds)) {
        char link[4096];
        const QByteArray fdPath = QByteArray("/proc/self/fd/") + entry->d_name;
        const ssize_t length = readlink(fdPath.constData(), link, sizeof link);
        if (length <= 0 || QByteArray(link, length) != target)
            continue;
        QFile info(QStringLiteral("/proc/self/fdinfo/") + QString::fromLatin1(entry->d_name));
        if (!info.open(QIODevice::ReadOnly))
            continue;
        for (const QByteArray &line : info.readAll().split('\n')) {
            if (line.startsWith("flags:"))
                flags = line.mid(6).trimmed().toInt(nullptr, 8);
        }
        break;
    }
    closedir(fds);
    return flags;
}

} // namespace

TEST_F(HWCVerificationOperationTest, CancelDuringAReadLeavesNoRecordForThatFile)
{
    signal(SIGPIPE, SIG_IGN);
    QDir().mkpath(path("Card"));
    ASSERT_EQ(mkfifo(path("Card/stream.bin").toUtf8().constData(), 0644), 0);
    const QString small = addFile("Card/small.bin", 100, "md5");
    writeMHL(path("Card/A/list.mhl"), {});
    writeMHL(path("Card/B/list.mhl"), {});
    const auto source = scannedSource(path("Card"));
    const QStringList urls = source->mhlURLs();
    ASSERT_EQ(urls.size(), 2);
    // The walk decides which list comes first; the pipe goes into that one.
    writeMHL(urls[0], {hashElement("../stream.bin", 3 * kMiB, {{"xxhash64", "00"}}),
                       hashElement("../new.bin", 1, {{"sha256", "00"}}),
                       hashElement("../small.bin", 100, {{"md5", small}})});
    writeMHL(urls[1], {hashElement("../old.bin", 1, {{"crc", "0"}}),
                       hashElement("../small.bin", 100, {{"md5", small}}),
                       hashElement("../later.bin", 1, {{"sha256", "00"}})});
    const QString first = urls[0].mid(path("Card").size()).chopped(QString("/list.mhl").size());
    const QString second = urls[1].mid(path("Card").size()).chopped(QString("/list.mhl").size());

    HWCVerificationOperation operation(source, nullptr);
    PipeFeeder feeder(path("Card/stream.bin"));
    QObject::connect(operation.info(), &HWCOperationInfo::progressChanged, [&] {
        operation.cancel();
        feeder.cancelled();
    });
    QThreadPool pool;
    pool.start([&operation] { operation.start(); });
    ASSERT_TRUE(TestSupport::waitUntil([&] { return operation.isFinished(); }));
    pool.waitForDone();
    QCoreApplication::sendPostedEvents();

    EXPECT_EQ(records(operation.files()),
              QList<Record>({{first, "../new.bin", HWCFileStateUnknownHash, 0},
                             {second, "../old.bin", HWCFileStateUnknownHash, 0}}));
    EXPECT_EQ(operation.state(), HWCOperationStateCancelled);
    EXPECT_EQ(operation.info()->stateString(), "Canceled.");
    EXPECT_EQ(operation.info()->theme(), 5u);
    EXPECT_EQ(operation.info()->filesVerified() + operation.info()->filesFailed(), 0u);
}

TEST_F(HWCVerificationOperationTest, DirectReadsWhereAllowedAndTheFallbackGivesTheSameRecords)
{
    // ramfs refuses O_DIRECT (tmpfs accepts it on current kernels).
    QTemporaryDir memory;
    ASSERT_TRUE(memory.isValid());
    if (mount("none", memory.path().toUtf8().constData(), "ramfs", 0, nullptr) != 0)
        GTEST_SKIP() << "cannot mount a ramfs here: " << strerror(errno);
    const auto unmount =
        qScopeGuard([&memory] { umount2(memory.path().toUtf8().constData(), MNT_DETACH); });
    const QStringList roots = {path("Card"), memory.filePath("Card")};
    QList<QList<Record>> results;
    QList<int> flagsSeen;
    for (const QString &root : roots) {
        TestSupport::writeFile(root + "/big.bin", qint64(128 * kMiB), 3);
        TestSupport::writeFile(root + "/tail.bin", qint64(3 * kMiB + 100), 4);
        writeMHL(root + "/list.mhl",
                 {hashElement("big.bin", 128 * kMiB,
                              {{"xxhash64", toolDigest("xxhash64", root + "/big.bin")}}),
                  hashElement("tail.bin", 3 * kMiB + 100,
                              {{"md5", toolDigest("md5", root + "/tail.bin")}})});
        HWCVerificationOperation operation(scannedSource(root), nullptr);
        // Watch the descriptor from another thread while the worker reads.
        std::atomic<int> flags{-1};
        std::atomic<bool> done{false};
        std::thread watcher([&] {
            const QByteArray target = (root + "/big.bin").toUtf8();
            while (!done && flags < 0)
                flags = openFlagsOf(target);
        });
        QThreadPool pool;
        pool.start([&operation] { operation.start(); });
        pool.waitForDone();
        done = true;
        watcher.join();
        QCoreApplication::sendPostedEvents();
        results.append(records(operation.files()));
        flagsSeen.append(flags);
        EXPECT_EQ(operation.state(), HWCOperationStateVerifiedOK) << root.toStdString();
    }
    ASSERT_GE(flagsSeen[0], 0) << "the read of big.bin was never seen";
    ASSERT_GE(flagsSeen[1], 0) << "the read of big.bin was never seen";
    EXPECT_TRUE(flagsSeen[0] & O_DIRECT) << std::oct << flagsSeen[0];
    EXPECT_FALSE(flagsSeen[1] & O_DIRECT) << std::oct << flagsSeen[1];
    EXPECT_EQ(results[0], results[1]);
    EXPECT_EQ(results[0].size(), 2);
}
