#include "engine/files/HWIFileHandleAdditions.h"
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
    void *map = mmap(nullptr, size_t(kFileSize), PROT_READ, MAP_SHARED, fd, 0);
    close(fd);
    EXPECT_NE(map, MAP_FAILED);
    std::vector<unsigned char> vector(size_t(kFileSize / sysconf(_SC_PAGESIZE)));
    EXPECT_EQ(mincore(map, size_t(kFileSize), vector.data()), 0);
    munmap(map, size_t(kFileSize));
    return size_t(
        std::count_if(vector.begin(), vector.end(), [](unsigned char c) { return c & 1; }));
}

// Reads to the end through a buffer aligned for direct reads.
QByteArray readAll(int fd)
{
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

class HWIFileHandleAdditions : public ::testing::Test {
protected:
    // Writes the file, syncs it and reads it once so that all its pages are cached and clean.
    QByteArray cachedFile(const QString &name)
    {
        const QString path = m_dir.filePath(name);
        TestSupport::writeFile(path, kFileSize, 7);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        fsync(file.handle());
        m_contents = file.readAll();
        return QFile::encodeName(path);
    }

    QTemporaryDir m_dir;
    QByteArray m_contents;
};

} // namespace

TEST_F(HWIFileHandleAdditions, RegularOpenerRefusesWhatIsNotARegularFile)
{
    const QByteArray file = cachedFile(QStringLiteral("clip.mov"));
    const QByteArray fifo = QFile::encodeName(m_dir.filePath(QStringLiteral("pipe")));
    ASSERT_EQ(mkfifo(fifo.constData(), 0644), 0);
    const QByteArray link = QFile::encodeName(m_dir.filePath(QStringLiteral("link")));
    ASSERT_EQ(symlink(file.constData(), link.constData()), 0);
    const std::tuple<QByteArray, int, const char *> cases[] = {
        {file, 0, ""},
        {link, 0, ""},
        {fifo, EINVAL, "a FIFO, not a regular file"},
        {"/dev/null", EINVAL, "a character device, not a regular file"},
        {"/proc/self/status", EINVAL, "not a file on a storage medium"},
        {QFile::encodeName(m_dir.path()), EINVAL, "a folder, not a regular file"},
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
            EXPECT_EQ(readAll(fd), m_contents);
            close(fd);
        }
    }
}

TEST_F(HWIFileHandleAdditions, CacheControlsDropPagesOrFallBackWhereDirectIsRefused)
{
    const QByteArray path = cachedFile(QStringLiteral("a.bin"));
    ASSERT_EQ(residentPages(path), size_t(kFileSize / sysconf(_SC_PAGESIZE)));
    int fd = open(path.constData(), O_RDONLY);
    hwi_dropCache(fd);
    close(fd);
    EXPECT_EQ(residentPages(path), 0u);
    fd = open(path.constData(), O_RDONLY);
    EXPECT_TRUE(hwi_disableCache(fd));
    EXPECT_TRUE(fcntl(fd, F_GETFL) & O_DIRECT);
    close(fd);

    // Process information refuses direct I/O: the descriptor stays buffered and usable.
    fd = open("/proc/self/status", O_RDONLY);
    EXPECT_FALSE(hwi_disableCache(fd));
    EXPECT_FALSE(fcntl(fd, F_GETFL) & O_DIRECT);
    EXPECT_TRUE(readAll(fd).startsWith("Name:"));
    close(fd);
}
