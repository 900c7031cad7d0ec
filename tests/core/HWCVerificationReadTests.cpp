#include "Classes/HWCVerificationOperation.h"
#include "support/VerificationFixtures.h"

#include <QDir>
#include <QFile>
#include <QScopeGuard>
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

// Reads from the medium, and runs that meet cancellation or files changing under them.
class HWCVerificationReadTest : public VerificationTest {};

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

TEST_F(HWCVerificationReadTest, CancelDuringAReadLeavesNoRecordForThatFile)
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

    HWCVerificationOperation operation(source);
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

TEST_F(HWCVerificationReadTest, CancelAtAnyMomentKeepsEveryRecordRight)
{
    QStringList entries;
    for (int i = 0; i < 12; ++i) {
        const QString name = QStringLiteral("f%1.bin").arg(i);
        const qint64 size = qint64(i % 4) * qint64(kMiB) + i * 1000;
        entries.append(hashElement(name, size, {{"md5", addFile("Card/" + name, size, "md5", i)}}));
        if (i % 3 == 0)
            entries.append(hashElement(QStringLiteral("u%1.bin").arg(i), 1, {{"crc", "0"}}));
        if (i % 5 == 0)
            entries.append(hashElement(QStringLiteral("gone%1.bin").arg(i), 1, {{"md5", "00"}}));
    }
    writeMHL(path("Card/list.mhl"), entries);
    const auto source = scannedSource(path("Card"));
    HWCVerificationOperation reference(source);
    runToEnd(reference);
    const QList<Record> all = records(reference.files());
    ASSERT_EQ(all.size(), entries.size());

    for (int delayMs = 0; delayMs < 40; delayMs += 3) {
        HWCVerificationOperation operation(source);
        QThreadPool pool;
        pool.start([&operation] { operation.start(); });
        std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
        operation.cancel();
        ASSERT_TRUE(pool.waitForDone(60000));
        QCoreApplication::sendPostedEvents();

        // Cancelled before it started: main() never ran.
        if (operation.state() == HWCOperationStatePreparing) {
            EXPECT_TRUE(operation.files().isEmpty());
            EXPECT_EQ(operation.info()->stateString(), "Preparing.");
            continue;
        }
        // Otherwise the records are those of the full run, in order, with a gap where the
        // cancellation was seen; past the gap only unknown kinds are recorded.
        const QList<Record> got = records(operation.files());
        qsizetype next = 0;
        bool gap = false;
        for (const Record &record : got) {
            const qsizetype at = all.indexOf(record, next);
            ASSERT_GE(at, 0) << "delay " << delayMs;
            gap = gap || at != next;
            if (gap) {
                EXPECT_EQ(std::get<2>(record), HWCFileStateUnknownHash) << "delay " << delayMs;
            }
            next = at + 1;
        }
        const bool cancelled = operation.state() == HWCOperationStateCancelled;
        EXPECT_EQ(cancelled, got != all) << "delay " << delayMs;
        EXPECT_EQ(operation.info()->stateString(),
                  cancelled ? "Canceled." : reference.info()->stateString());
    }
}

TEST_F(HWCVerificationReadTest, FilesThatShrinkGrowOrVanishWhileRead)
{
    const qint64 size = qint64(64 * kMiB);
    const QStringList names = {"shrinks.bin", "grows.bin", "vanishes.bin"};
    QStringList entries;
    for (const QString &name : names)
        entries.append(
            hashElement(name, size, {{"xxhash64", addFile("Card/" + name, size, "xxhash64")}}));
    writeMHL(path("Card/list.mhl"), entries);
    HWCVerificationOperation operation(scannedSource(path("Card")));

    // Changes each file once, as soon as its descriptor is seen open.
    std::atomic<int> changed{0};
    std::atomic<bool> done{false};
    std::thread changer([&] {
        while (!done && changed < names.size()) {
            const QString file = path("Card/" + names[changed]);
            if (openFlagsOf(file.toUtf8()) < 0)
                continue;
            if (changed == 0) {
                QFile(file).resize(qint64(kMiB));
            } else if (changed == 1) {
                QFile grown(file);
                grown.open(QIODevice::Append);
                grown.write(QByteArray(qint64(3 * kMiB), 'g'));
            } else {
                QFile::remove(file);
            }
            ++changed;
        }
    });
    QThreadPool pool;
    pool.start([&operation] { operation.start(); });
    ASSERT_TRUE(pool.waitForDone(120000));
    done = true;
    changer.join();
    ASSERT_EQ(changed.load(), 3) << "a read was never seen";

    // A file that changed under the reader does not verify, unless the reader was already
    // past the change; either way it gets exactly one record.
    ASSERT_EQ(operation.files().size(), 3);
    for (const HWCVerifiedFile &file : operation.files()) {
        const bool whole = file.bytes() == quint64(size);
        EXPECT_EQ(file.verifiedFileState(),
                  whole ? HWCFileStateReadSuccessfully : HWCFileStateHashFail)
            << file.relativePath().toStdString() << " " << file.bytes();
    }
    EXPECT_LE(operation.files()[0].bytes(), quint64(size));
    EXPECT_GE(operation.files()[1].bytes(), quint64(size));
    EXPECT_EQ(operation.files()[2].verifiedFileState(), HWCFileStateReadSuccessfully);
}

TEST_F(HWCVerificationReadTest, DirectReadsWhereAllowedAndTheFallbackGivesTheSameRecords)
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
        HWCVerificationOperation operation(scannedSource(root));
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
