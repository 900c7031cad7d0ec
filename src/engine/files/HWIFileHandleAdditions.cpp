#include "engine/files/HWIFileHandleAdditions.h"

#include "engine/files/HWCConfinedFolder.h"
#include "engine/files/HWCFileSystemAdditions.h"
#include "engine/session/HWCLog.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace {

// A regular file never blocks an open; anything else must not block it either.
constexpr int kRegularReadFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

// Pseudo file systems whose numbers <linux/magic.h> does not hold.
constexpr __fsword_t kConfigFsMagic = 0x62656570;
constexpr __fsword_t kFuseControlFsMagic = 0x65735543;
constexpr __fsword_t kRpcPipeFsMagic = 0x67596969;
constexpr __fsword_t kNfsdFsMagic = 0x6e667364;

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

// Reads of these never come from a medium: they are made up by the kernel as they are read,
// may block until something happens (/proc/kmsg), or consume what they return.
bool isPseudoFileSystem(int fd)
{
    constexpr std::array<__fsword_t, 17> kPseudo = {
        PROC_SUPER_MAGIC,    SYSFS_MAGIC,    DEBUGFS_MAGIC,       TRACEFS_MAGIC,
        SECURITYFS_MAGIC,    SELINUX_MAGIC,  SMACK_MAGIC,         CGROUP_SUPER_MAGIC,
        CGROUP2_SUPER_MAGIC, PSTOREFS_MAGIC, BPF_FS_MAGIC,        EFIVARFS_MAGIC,
        BINFMTFS_MAGIC,      kConfigFsMagic, kFuseControlFsMagic, kRpcPipeFsMagic,
        kNfsdFsMagic,
    };
    struct statfs system {};
    return fstatfs(fd, &system) == 0 &&
           std::find(kPseudo.begin(), kPseudo.end(), system.f_type) != kPseudo.end();
}

// fd, just opened with kRegularReadFlags (or -1 after a failed open), when it is a regular
// file on a storage medium; otherwise closes it and says why.
int regularOnly(int fd, QString *why)
{
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
    if (isPseudoFileSystem(fd)) {
        *why = QStringLiteral("not a file on a storage medium");
        close(fd);
        errno = EINVAL;
        return -1;
    }
    // Regular files never block; clearing the flag keeps later reads plain.
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    return fd;
}

} // namespace

int hwi_fileRegularReadDescriptorForPath(const char *path, QString *why)
{
    return regularOnly(hwc_openLongPath(QByteArray(path), kRegularReadFlags), why);
}

int hwi_fileRegularReadDescriptorBeneath(const HWCConfinedFolder &folder, const QByteArray &path,
                                         QString *why)
{
    const int fd = folder.open(path, kRegularReadFlags);
    if (fd < 0 && errno == EXDEV) {
        *why = QStringLiteral("leaves the source");
        return -1;
    }
    return regularOnly(fd, why);
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
