#include "engine/reports/HWCLogFile.h"

#include "engine/files/HWCFileDescriptor.h"
#include "engine/files/HWCFileSystemAdditions.h"

#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace HWCLogFile {

namespace {

// Symbolic links followed further than this are a loop, as the kernel counts.
constexpr int kMaxLinks = 40;

QString systemError(int error = errno)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

QString unreadable(const QString &reason)
{
    return QStringLiteral("cannot read what it holds: ") + reason;
}

// The file a report goes to: the end of the symbolic links at path, which need not exist
// yet. Empty for a loop.
QString target(const QString &path)
{
    QString current = QFileInfo(path).absoluteFilePath();
    for (int links = 0; QFileInfo(current).isSymLink(); ++links) {
        if (links == kMaxLinks)
            return {};
        current = QFileInfo(current).symLinkTarget();
    }
    return current;
}

// Opens the log (making an empty one when there is none) and locks it exclusively, once
// the name still names the locked file: the run that held the lock before renamed its
// log over the name. -1 with outcome and error saying why when it cannot.
int lockedLog(const QByteArray &name, bool &created, Outcome &outcome, QString &error)
{
    for (;;) {
        created = false;
        outcome = Outcome::Unwritten;
        int fd = open(name.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0 && errno == ENOENT) {
            fd = open(name.constData(), O_RDONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
            if (fd < 0 && errno == EEXIST)
                continue;
            created = fd >= 0;
        } else if (fd < 0 && errno == EACCES) {
            outcome = Outcome::Unreadable;
        }
        if (fd < 0) {
            error = outcome == Outcome::Unreadable ? unreadable(systemError()) : systemError();
            return -1;
        }
        HWCFileDescriptor log(fd);
        struct stat locked, named;
        if (fstat(fd, &locked) != 0) {
            error = systemError();
            return -1;
        }
        if (!S_ISREG(locked.st_mode)) {
            error = QStringLiteral("not a regular file");
            return -1;
        }
        int flocked;
        while ((flocked = flock(fd, LOCK_EX)) != 0 && errno == EINTR) {
        }
        if (flocked != 0) {
            error = systemError();
            return -1;
        }
        if (stat(name.constData(), &named) == 0 && named.st_dev == locked.st_dev &&
            named.st_ino == locked.st_ino)
            return log.release();
    }
}

// What fd holds from where it stands; false with errno set when a read fails.
bool readAll(int fd, QByteArray &bytes)
{
    char buffer[65536];
    for (;;) {
        const ssize_t count = read(fd, buffer, sizeof buffer);
        if (count == 0)
            return true;
        if (count < 0 && errno != EINTR)
            return false;
        if (count > 0)
            bytes.append(buffer, count);
    }
}

} // namespace

QString problem(const QString &path, bool append)
{
    const QString name = target(path);
    if (name.isEmpty())
        return systemError(ELOOP);
    const QByteArray encoded = QFile::encodeName(name);
    struct stat status;
    if (stat(encoded.constData(), &status) == 0) {
        if (S_ISDIR(status.st_mode))
            return systemError(EISDIR);
        // A FIFO would hold the command until something reads it; a device takes no rename.
        if (!S_ISREG(status.st_mode))
            return QStringLiteral("not a regular file");
        if (append) {
            const HWCFileDescriptor log(
                open(encoded.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
            if (log.get() < 0)
                return unreadable(systemError());
        }
    }
    // The report goes to a new file beside the target, then is renamed over it.
    if (access(QFile::encodeName(QFileInfo(name).absolutePath()).constData(), W_OK) != 0)
        return systemError();
    return {};
}

Outcome write(const QString &path, const QByteArray &bytes, bool append, QString *error)
{
    const QString name = target(path);
    if (name.isEmpty()) {
        *error = systemError(ELOOP);
        return Outcome::Unwritten;
    }
    if (!append)
        return hwc_writeFileAtomically(name, bytes, error) ? Outcome::Written : Outcome::Unwritten;
    const QByteArray encoded = QFile::encodeName(name);
    bool created = false;
    Outcome outcome = Outcome::Unwritten;
    const HWCFileDescriptor log(lockedLog(encoded, created, outcome, *error));
    if (log.get() < 0)
        return outcome;
    QByteArray contents;
    if (!readAll(log.get(), contents)) {
        *error = unreadable(systemError());
        return Outcome::Unreadable;
    }
    if (!contents.isEmpty())
        contents += contents.endsWith('\n') ? "\n" : "\n\n";
    if (hwc_writeFileAtomically(name, contents + bytes, error))
        return Outcome::Written;
    // Still the empty file this run made: the lock is held.
    if (created)
        unlink(encoded.constData());
    return Outcome::Unwritten;
}

} // namespace HWCLogFile
