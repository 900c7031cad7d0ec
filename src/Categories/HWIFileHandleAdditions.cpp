#include "Categories/HWIFileHandleAdditions.h"

#include "Categories/HWCFileSystemAdditions.h"

#include "Classes/HWCLog.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Permissions of a newly created file before the umask: what most tools create.
constexpr mode_t kHWINewFileMode = 0666;

// Keeps errno for the caller, which tells a missing file from a denied one by it.
int failOpen(const char *path)
{
    const int error = errno;
    HWCLogError(
        QStringLiteral("Can't open file descriptor for %1").arg(QString::fromLocal8Bit(path)));
    errno = error;
    return -1;
}

const char *kindOf(mode_t mode)
{
    if (S_ISDIR(mode))
        return "a folder";
    if (S_ISFIFO(mode))
        return "a FIFO";
    if (S_ISSOCK(mode))
        return "a socket";
    if (S_ISCHR(mode))
        return "a character device";
    if (S_ISBLK(mode))
        return "a block device";
    return "an unknown kind of file";
}

} // namespace

int hwi_fileRegularReadDescriptorForPath(const char *path, QString *why)
{
    const int fd = hwc_openLongPath(QByteArray(path), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) {
        const int error = errno;
        *why = QString::fromLocal8Bit(strerror(error));
        errno = error;
        return -1;
    }
    struct stat status {};
    if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
        const int error = errno;
        *why = status.st_mode ? QStringLiteral("%1, not a regular file")
                                    .arg(QLatin1String(kindOf(status.st_mode)))
                              : QString::fromLocal8Bit(strerror(error));
        close(fd);
        errno = status.st_mode ? EINVAL : error;
        return -1;
    }
    // Regular files never block; clearing the flag keeps later reads plain.
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    return fd;
}

int hwi_fileReadDescriptorForPath(const char *path, bool cache)
{
    const int fd = open(path, O_RDONLY | O_ASYNC);
    if (fd < 0)
        return failOpen(path);
    posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
    if (!cache)
        hwi_disableCache(fd);
    return fd;
}

int hwi_fileWriteDescriptorForPath(const char *path, int flags, bool cache)
{
    const int fd = open(path, flags, kHWINewFileMode);
    if (fd < 0)
        return failOpen(path);
    // O_DIRECT would demand aligned sizes and offsets from every write, which arbitrary
    // writers cannot give. The closest correct equivalent is to drop the file's clean
    // cached pages now; pages written through fd stay dirty until the caller syncs them
    // and drops them with hwi_dropCache().
    if (!cache)
        hwi_dropCache(fd);
    return fd;
}

int hwi_fileWriteDescriptorForPath(const char *path, bool cache)
{
    return hwi_fileWriteDescriptorForPath(path, O_WRONLY | O_CREAT, cache);
}

int hwi_fileReadWriteDescriptorForPath(const char *path, bool cache)
{
    return hwi_fileWriteDescriptorForPath(path, O_RDWR | O_CREAT, cache);
}

bool hwi_disableCache(int fd)
{
    const int flags = fcntl(fd, F_GETFL);
    if (flags >= 0 && fcntl(fd, F_SETFL, flags | O_DIRECT) == 0)
        return true;
    const int error = errno;
    // DONTNEED cannot drop dirty pages, so write them back first.
    fdatasync(fd);
    hwi_dropCache(fd);
    HWCLogDebug(QStringLiteral("Direct I/O refused on descriptor %1 (%2); reading buffered")
                    .arg(fd)
                    .arg(QString::fromLocal8Bit(strerror(error))));
    return false;
}

void hwi_dropCache(int fd)
{
    posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
}
