#include "engine/files/HWCFileSystemAdditions.h"

#include "engine/files/HWCFileDescriptor.h"

#include <QFile>
#include <QRandomGenerator>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kTemporaryNameAttempts = 100;
constexpr char kTemporaryPrefix[] = ".hashwarden-";
// "<name> (2)" up to this number, then the write gives up.
constexpr int kNumberedNameLimit = 1000;

bool fail(QString *error, const QString &what = QString())
{
    if (error)
        *error = what.isEmpty() ? QString::fromLocal8Bit(std::strerror(errno)) : what;
    return false;
}

bool writeAll(int fd, const QByteArray &bytes)
{
    const char *data = bytes.constData();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t written = write(fd, data, size_t(left));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0) {
            // A write that takes nothing without an error would loop for ever.
            if (written == 0)
                errno = ENOSPC;
            return false;
        }
        data += written;
        left -= written;
    }
    return true;
}

// A short name of our own: the final name may already use all of NAME_MAX.
int createTemporary(int folder, QByteArray &name)
{
    for (int attempt = 0; attempt < kTemporaryNameAttempts; ++attempt) {
        name = kTemporaryPrefix + QByteArray::number(QRandomGenerator::global()->generate64(), 36);
        const int fd =
            openat(folder, name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0 || errno != EEXIST)
            return fd;
    }
    return -1;
}

// Writes bytes to a new temporary file in folder, flushed to the medium and closed, with
// mode when given (fchmod, unlike open's mode, is not cut down by the umask). Returns 0 with
// temporaryName set, or the errno of the failure with nothing left behind.
int writeTemporary(int folder, const QByteArray &bytes, std::optional<mode_t> mode,
                   QByteArray &temporaryName)
{
    HWCFileDescriptor file(createTemporary(folder, temporaryName));
    if (file.get() < 0)
        return errno;
    int cause = 0;
    if (!writeAll(file.get(), bytes) || (mode && fchmod(file.get(), *mode) != 0) ||
        fsync(file.get()) != 0)
        cause = errno;
    if (!file.close() && cause == 0)
        cause = errno;
    if (cause != 0)
        unlinkat(folder, temporaryName.constData(), 0);
    return cause;
}

bool replaceable(int folder, const QByteArray &name, QString *error)
{
    struct stat status;
    if (fstatat(folder, name.constData(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT || fail(error);
    if (S_ISREG(status.st_mode) || S_ISLNK(status.st_mode))
        return true;
    errno = S_ISDIR(status.st_mode) ? EISDIR : EEXIST;
    return fail(error);
}

// name, or for number > 1 "<stem> (<number>)<extension>".
QByteArray numberedName(const QByteArray &name, int number)
{
    if (number == 1)
        return name;
    const qsizetype dot = name.lastIndexOf('.');
    const qsizetype stem = dot > 0 ? dot : name.size();
    return name.left(stem) + " (" + QByteArray::number(number) + ')' + name.mid(stem);
}

// Gives the file temporary the name target unless something is there already (EEXIST).
// A file system without an atomic rename that refuses to replace (NFS) gets a hard link.
bool renameWithoutReplacing(int folder, const QByteArray &temporary, const QByteArray &target)
{
    if (renameat2(folder, temporary.constData(), folder, target.constData(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    if (linkat(folder, temporary.constData(), folder, target.constData(), 0) != 0)
        return false;
    unlinkat(folder, temporary.constData(), 0);
    return true;
}

} // namespace

bool hwc_isTemporaryFileName(const char *path)
{
    const char *slash = std::strrchr(path, '/');
    const char *name = slash ? slash + 1 : path;
    return std::strncmp(name, kTemporaryPrefix, sizeof kTemporaryPrefix - 1) == 0;
}

HWCNewFile hwc_writeNewFile(const QString &folderPath, const QString &name, const QByteArray &bytes,
                            mode_t mode)
{
    HWCNewFile result;
    HWCFileDescriptor folder(
        hwc_openLongPath(QFile::encodeName(folderPath), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    QByteArray temporaryName;
    int cause = folder.get() < 0 ? errno : writeTemporary(folder.get(), bytes, mode, temporaryName);
    const QByteArray base = QFile::encodeName(name);
    QByteArray target;
    for (int number = 1; cause == 0; ++number) {
        target = numberedName(base, number);
        if (renameWithoutReplacing(folder.get(), temporaryName, target))
            break;
        if (errno != EEXIST || number == kNumberedNameLimit) {
            cause = errno;
            unlinkat(folder.get(), temporaryName.constData(), 0);
        }
    }
    if (cause != 0) {
        errno = cause;
        fail(&result.error);
        return result;
    }
    const QByteArray folderName = QFile::encodeName(folderPath);
    result.path = QFile::decodeName(folderName + (folderName.endsWith('/') ? "" : "/") + target);
    if (fsync(folder.get()) != 0 && errno != EINVAL)
        fail(&result.syncError);
    return result;
}

bool hwc_writeFileAtomically(const QString &path, const QByteArray &bytes, QString *error)
{
    const QByteArray target = QFile::encodeName(path);
    const qsizetype slash = target.lastIndexOf('/');
    const QByteArray folderPath = slash < 0 ? QByteArray(".") : target.left(slash + 1);
    const QByteArray name = target.mid(slash + 1);
    HWCFileDescriptor folder(hwc_openLongPath(folderPath, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.get() < 0)
        return fail(error);
    if (!replaceable(folder.get(), name, error))
        return false;

    QByteArray temporaryName;
    int cause = writeTemporary(folder.get(), bytes, std::nullopt, temporaryName);
    if (cause == 0 &&
        renameat(folder.get(), temporaryName.constData(), folder.get(), name.constData()) != 0) {
        cause = errno;
        unlinkat(folder.get(), temporaryName.constData(), 0);
    }
    if (cause != 0) {
        errno = cause;
        return fail(error);
    }
    // Some file systems cannot sync a folder (EINVAL); the rename is then as durable as
    // they make it.
    if (fsync(folder.get()) != 0 && errno != EINVAL)
        return fail(error);
    return true;
}

int hwc_openLongPath(const QByteArray &path, int flags)
{
    int folder = AT_FDCWD;
    QByteArray rest = path;
    while (rest.size() >= PATH_MAX) {
        // The longest prefix that ends at a separator and fits; names are far shorter.
        const qsizetype cut = rest.lastIndexOf('/', PATH_MAX - 1);
        const int next =
            cut > 0 ? openat(folder, rest.left(cut).constData(), O_PATH | O_DIRECTORY | O_CLOEXEC)
                    : -1;
        const int cause = cut > 0 ? errno : ENAMETOOLONG;
        if (folder != AT_FDCWD)
            close(folder);
        if (next < 0) {
            errno = cause;
            return -1;
        }
        folder = next;
        rest = rest.mid(cut + 1);
        // A doubled separator at the cut would make the rest absolute.
        while (rest.startsWith('/'))
            rest.remove(0, 1);
    }
    const int fd = openat(folder, rest.constData(), flags);
    const int cause = errno;
    if (folder != AT_FDCWD)
        close(folder);
    errno = cause;
    return fd;
}
