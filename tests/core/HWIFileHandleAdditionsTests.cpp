#include "Categories/HWIFileHandleAdditions.h"
#include "support/TestSupport.h"

#include <QFile>
#include <QTemporaryDir>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr qint64 kFileSize = 4 << 20;

// Pages of path that sit in the page cache, by mincore on a mapping of the file.
size_t residentPages(const QByteArray &path)
{
    const int fd = open(path.constData(), O_RDONLY);
    EXPECT_GE(fd, 0);
    struct stat status;
    fstat(fd, &status);
    const size_t length = size_t(status.st_size);
    void *map = mmap(nullptr, length, PROT_READ, MAP_SHARED, fd, 0);
    close(fd);
    EXPECT_NE(map, MAP_FAILED);
    const long page = sysconf(_SC_PAGESIZE);
    std::vector<unsigned char> vector((length + size_t(page) - 1) / size_t(page));
    EXPECT_EQ(mincore(map, length, vector.data()), 0);
    munmap(map, length);
    size_t resident = 0;
    for (unsigned char flag : vector)
        resident += flag & 1;
    return resident;
}

// Writes the file, syncs it and reads it once so that all its pages are cached and clean.
QByteArray cachedFile(const QTemporaryDir &dir, const QString &name)
{
    const QString path = dir.filePath(name);
    TestSupport::writeFile(path, kFileSize, 7);
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    fsync(file.handle());
    EXPECT_EQ(file.readAll().size(), kFileSize);
    return QFile::encodeName(path);
}

QByteArray readAll(int fd)
{
    // Aligned for direct reads.
    constexpr size_t kBlock = 1 << 20;
    void *buffer = std::aligned_alloc(4096, kBlock);
    QByteArray contents;
    ssize_t count = 0;
    while ((count = read(fd, buffer, kBlock)) > 0)
        contents.append(static_cast<const char *>(buffer), count);
    EXPECT_EQ(count, 0) << strerror(errno);
    std::free(buffer);
    return contents;
}

} // namespace

TEST(HWIFileHandleAdditions, ReadOpenerKeepsAsyncAndGoesDirectWithoutCache)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QByteArray path = cachedFile(dir, QStringLiteral("clip.mov"));
    QFile original(QString::fromLocal8Bit(path));
    ASSERT_TRUE(original.open(QIODevice::ReadOnly));
    const QByteArray contents = original.readAll();

    for (const bool cache : {true, false}) {
        const int fd = hwi_fileReadDescriptorForPath(path.constData(), cache);
        ASSERT_GE(fd, 0);
        const int flags = fcntl(fd, F_GETFL);
        EXPECT_EQ(flags & O_ACCMODE, O_RDONLY);
        EXPECT_TRUE(flags & O_ASYNC);
        EXPECT_EQ(bool(flags & O_DIRECT), !cache) << "cache " << cache;
        EXPECT_EQ(readAll(fd), contents);
        close(fd);
    }
}

TEST(HWIFileHandleAdditions, CacheControlsDropPagesOrFallBackWhereDirectIsRefused)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QByteArray path = cachedFile(dir, QStringLiteral("a.bin"));
    ASSERT_EQ(residentPages(path), size_t(kFileSize / sysconf(_SC_PAGESIZE)));
    const int fd = open(path.constData(), O_RDONLY);
    hwi_dropCache(fd);
    close(fd);
    EXPECT_EQ(residentPages(path), 0u);

    // Process information refuses direct I/O: the descriptor stays buffered and usable.
    const int proc = open("/proc/self/status", O_RDONLY);
    ASSERT_GE(proc, 0);
    EXPECT_FALSE(hwi_disableCache(proc));
    EXPECT_FALSE(fcntl(proc, F_GETFL) & O_DIRECT);
    EXPECT_TRUE(readAll(proc).startsWith("Name:"));
    close(proc);

    const int direct = open(path.constData(), O_RDONLY);
    EXPECT_TRUE(hwi_disableCache(direct));
    EXPECT_TRUE(fcntl(direct, F_GETFL) & O_DIRECT);
    close(direct);
}

TEST(HWIFileHandleAdditions, WriteOpenersCreateWithoutTruncatingAndDropCleanPages)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QByteArray existing = QFile::encodeName(dir.filePath(QStringLiteral("notes.txt")));
    TestSupport::writeText(QString::fromLocal8Bit(existing), "hello world");

    int fd = hwi_fileWriteDescriptorForPath(existing.constData(), true);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(fcntl(fd, F_GETFL) & O_ACCMODE, O_WRONLY);
    ASSERT_EQ(write(fd, "HELLO", 5), 5);
    close(fd);
    fd = hwi_fileReadWriteDescriptorForPath(existing.constData(), true);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(fcntl(fd, F_GETFL) & O_ACCMODE, O_RDWR);
    EXPECT_EQ(readAll(fd), QByteArray("HELLO world"));
    close(fd);

    const QByteArray cached = cachedFile(dir, QStringLiteral("b.bin"));
    ASSERT_GT(residentPages(cached), 0u);
    fd = hwi_fileReadWriteDescriptorForPath(cached.constData(), false);
    ASSERT_GE(fd, 0);
    EXPECT_FALSE(fcntl(fd, F_GETFL) & O_DIRECT) << "writes of any size must stay possible";
    close(fd);
    EXPECT_EQ(residentPages(cached), 0u);
}

TEST(HWIFileHandleAdditions, FailedOpensLogThePathAndReturnMinusOne)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QByteArray missing = QFile::encodeName(dir.filePath(QStringLiteral("none/clip.mov")));
    TestSupport::LogCapture capture;
    EXPECT_EQ(hwi_fileReadDescriptorForPath(missing.constData(), false), -1);
    EXPECT_EQ(hwi_fileWriteDescriptorForPath(missing.constData(), false), -1);
    EXPECT_EQ(hwi_fileReadWriteDescriptorForPath(missing.constData(), true), -1);
    const QStringList lines = capture.lines();
    ASSERT_EQ(lines.size(), 3);
    for (const QString &line : lines) {
        EXPECT_TRUE(line.startsWith(QStringLiteral("ERROR  ")));
        EXPECT_TRUE(line.endsWith(QStringLiteral("Can't open file descriptor for ") +
                                  QString::fromLocal8Bit(missing)))
            << line.toStdString();
    }
}

TEST(HWIFileHandleAdditions, RegularReadOpenerNeverBlocksAndRefusesOtherKinds)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QByteArray file = cachedFile(dir, QStringLiteral("clip.mov"));
    const QByteArray fifo = QFile::encodeName(dir.filePath(QStringLiteral("pipe")));
    ASSERT_EQ(mkfifo(fifo.constData(), 0644), 0);
    const QByteArray link = QFile::encodeName(dir.filePath(QStringLiteral("link")));
    ASSERT_EQ(symlink(file.constData(), link.constData()), 0);
    const std::tuple<QByteArray, int, const char *> cases[] = {
        {file, 0, ""},
        {link, 0, ""},
        {fifo, EINVAL, "a FIFO, not a regular file"},
        {"/dev/null", EINVAL, "a character device, not a regular file"},
        {QFile::encodeName(dir.path()), EINVAL, "a folder, not a regular file"},
        {file + "/x", ENOTDIR, "Not a directory"},
    };
    for (const auto &[path, error, why] : cases) {
        QString reason;
        errno = 0;
        const int fd = hwi_fileRegularReadDescriptorForPath(path.constData(), &reason);
        EXPECT_EQ(fd < 0 ? errno : 0, error) << path.constData();
        EXPECT_EQ(reason, QString::fromLatin1(why)) << path.constData();
        if (fd >= 0) {
            EXPECT_FALSE(fcntl(fd, F_GETFL) & O_NONBLOCK);
            EXPECT_EQ(readAll(fd).size(), kFileSize);
            close(fd);
        }
    }
}
