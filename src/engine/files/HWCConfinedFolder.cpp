#include "engine/files/HWCConfinedFolder.h"

#include "engine/files/HWCFileSystemAdditions.h"

#include <QList>
#include <QScopeGuard>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace {

// As many links as the kernel follows in one lookup.
constexpr int kMaxLinks = 40;

// Whether path lies in folder (both absolute, or both relative); below is what of path lies
// beneath it, empty for the folder itself.
bool pathBelow(const QByteArray &path, const QByteArray &folder, QByteArray &below)
{
    if (path == folder) {
        below.clear();
        return true;
    }
    const QByteArray prefix = folder.endsWith('/') ? folder : folder + '/';
    if (!path.startsWith(prefix))
        return false;
    below = path.mid(prefix.size());
    return true;
}

// Adds path's names to a stack whose last element is the next name to look up; empty names
// and "." are left out.
void pushNames(QList<QByteArray> &names, const QByteArray &path)
{
    const QList<QByteArray> parts = path.split('/');
    for (auto part = parts.crbegin(); part != parts.crend(); ++part) {
        if (!part->isEmpty() && *part != ".")
            names.append(*part);
    }
}

// The target of the link that fd (O_PATH) stands for; false with errno when unreadable.
bool readTarget(int fd, QByteArray &target)
{
    char buffer[PATH_MAX];
    const ssize_t length = readlinkat(fd, "", buffer, sizeof buffer);
    if (length <= 0)
        return false;
    target = QByteArray(buffer, qsizetype(length));
    return true;
}

} // namespace

HWCConfinedFolder::HWCConfinedFolder(const QByteArray &path)
    : m_path(path), m_fd(hwc_openLongPath(path, O_PATH | O_DIRECTORY | O_CLOEXEC))
{
    if (m_fd < 0) {
        m_error = errno;
        return;
    }
    char real[PATH_MAX];
    if (realpath(path.constData(), real))
        m_realPath = real;
}

HWCConfinedFolder::~HWCConfinedFolder()
{
    if (m_fd >= 0)
        close(m_fd);
}

int HWCConfinedFolder::open(const QByteArray &path, int flags) const
{
    if (m_fd < 0) {
        errno = m_error;
        return -1;
    }
    QByteArray relative = path;
    if (path.startsWith('/') && !pathBelow(path, m_path, relative)) {
        errno = EXDEV;
        return -1;
    }
    if (relative.isEmpty())
        relative = ".";
    if (relative.size() < PATH_MAX) {
        open_how how{};
        how.flags = quint64(flags);
        how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
        const int fd = int(syscall(SYS_openat2, m_fd, relative.constData(), &how, sizeof how));
        // EXDEV also stands for any absolute link, which may lead back inside; EAGAIN for a
        // rename that raced the lookup; some container profiles refuse a newer system call
        // with EPERM instead of ENOSYS.
        if (fd >= 0 || (errno != ENOSYS && errno != EPERM && errno != EXDEV && errno != EAGAIN))
            return fd;
    }
    return openByNames(relative, flags);
}

int HWCConfinedFolder::openByNames(const QByteArray &relativePath, int flags) const
{
    std::vector<int> folders; // opened beneath m_fd, the current one last
    const auto closeFolders = qScopeGuard([&folders] {
        for (const int fd : folders)
            close(fd);
    });
    QList<QByteArray> names;
    pushNames(names, relativePath);
    int links = 0;
    while (!names.isEmpty()) {
        const QByteArray name = names.takeLast();
        const int at = folders.empty() ? m_fd : folders.back();
        if (name == "..") {
            if (folders.empty()) {
                errno = EXDEV;
                return -1;
            }
            close(folders.back());
            folders.pop_back();
            continue;
        }
        const int entry = openat(at, name.constData(), O_PATH | O_NOFOLLOW | O_CLOEXEC);
        if (entry < 0)
            return -1;
        struct stat status {};
        if (fstat(entry, &status) != 0 || !S_ISLNK(status.st_mode)) {
            if (!names.isEmpty()) {
                folders.push_back(entry);
                continue;
            }
            close(entry);
            // Should a link have taken its place since, this open fails (ELOOP).
            return openat(at, name.constData(), flags | O_NOFOLLOW);
        }
        QByteArray target;
        const bool read = readTarget(entry, target);
        const int cause = errno;
        close(entry);
        if (!read || ++links > kMaxLinks) {
            errno = read ? ELOOP : cause;
            return -1;
        }
        if (target.startsWith('/')) {
            QByteArray below;
            if (!targetBelow(target, below)) {
                errno = EXDEV;
                return -1;
            }
            for (const int fd : folders)
                close(fd);
            folders.clear();
            target = below;
        }
        pushNames(names, target);
    }
    return openat(folders.empty() ? m_fd : folders.back(), ".", flags);
}

bool HWCConfinedFolder::targetBelow(const QByteArray &target, QByteArray &below) const
{
    return (!m_realPath.isEmpty() && pathBelow(target, m_realPath, below)) ||
           (m_path.startsWith('/') && pathBelow(target, m_path, below));
}
