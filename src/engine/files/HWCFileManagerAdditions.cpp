#include "engine/files/HWCFileManagerAdditions.h"

#include <QFile>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <new>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

// Directories open at once. A deeper walk closes its shallowest open streams and reopens
// them at their saved position on the way back, so that a tree of any depth fits both the
// descriptor limit and a worker thread's stack (the walk keeps its state on the heap).
constexpr size_t kHWCMaxOpenDirectories = 64;
constexpr int kHWCDirectoryFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

struct HWCWalkFrame {
    DIR *stream = nullptr;
    size_t pathLength = 0; // this directory's path is m_path.substr(0, pathLength)
    dev_t device = 0;      // identity, to recognise the folder when it is reopened
    ino_t inode = 0;
    long position = 0; // telldir() cookie while the stream is closed
};

class HWCDirectoryWalk {
public:
    HWCDirectoryWalk(std::string root, const FileAction &action, const FolderFailure &failure)
        : m_path(std::move(root)), m_action(action), m_failure(failure)
    {
    }
    ~HWCDirectoryWalk() { closeAll(); }

    void run()
    {
        const int fd = open(m_path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        struct stat status;
        if (fd < 0 || fstat(fd, &status) != 0) {
            fail(m_path.size());
            if (fd >= 0)
                close(fd);
            return;
        }
        enter(fd, status);
        while (!m_frames.empty()) {
            HWCWalkFrame &frame = m_frames.back();
            errno = 0;
            const dirent *entry = frame.stream ? readdir(frame.stream) : nullptr;
            if (entry) {
                visit(entry);
                continue;
            }
            // The end of a stream and a failed read both give no entry; only errno tells.
            if (frame.stream && errno != 0)
                fail(frame.pathLength);
            leave();
        }
    }

private:
    void visit(const dirent *entry)
    {
        const char *name = entry->d_name;
        if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0')))
            return;
        const HWCWalkFrame &parent = m_frames.back();
        appendChild(parent.pathLength, name);
        const int parentFd = dirfd(parent.stream);
        struct stat status;
        if (fstatat(parentFd, name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
            // Gone since it was listed is no loss; anything else hides what is there.
            if (errno != ENOENT)
                fail(m_path.size());
            return;
        }
        if (S_ISREG(status.st_mode))
            m_action(m_path.c_str(), &status);
        else if (S_ISDIR(status.st_mode))
            enter(openat(parentFd, name, kHWCDirectoryFlags), status);
    }

    // Reports m_path.substr(0, length) with the current errno.
    void fail(size_t length)
    {
        const int error = errno;
        const std::string path = m_path.substr(0, length);
        m_failure(path.c_str(), error);
    }

    void appendChild(size_t parentLength, const char *name)
    {
        try {
            m_path.resize(parentLength);
            if (parentLength > 0 && m_path[parentLength - 1] != '/')
                m_path.push_back('/');
            m_path.append(name);
        } catch (const std::bad_alloc &) {
            // Nothing sensible can go on without memory for a path.
            closeAll();
            std::exit(1);
        }
    }

    void enter(int fd, const struct stat &status)
    {
        DIR *stream = fd >= 0 ? fdopendir(fd) : nullptr;
        if (!stream) {
            fail(m_path.size());
            if (fd >= 0)
                close(fd);
            return;
        }
        if (m_frames.size() - m_firstOpen >= kHWCMaxOpenDirectories) {
            HWCWalkFrame &oldest = m_frames[m_firstOpen++];
            oldest.position = telldir(oldest.stream);
            closedir(oldest.stream);
            oldest.stream = nullptr;
        }
        m_frames.push_back({stream, m_path.size(), status.st_dev, status.st_ino, 0});
    }

    // Closes the finished folder; a closed parent is reopened through "..", or by its
    // path when the tree was moved meanwhile. A parent that cannot be reopened ends
    // early and is reported, as an unreadable folder is.
    void leave()
    {
        HWCWalkFrame finished = m_frames.back();
        m_frames.pop_back();
        if (!m_frames.empty() && m_frames.size() <= m_firstOpen) {
            m_firstOpen = m_frames.size() - 1;
            const int up =
                finished.stream ? openat(dirfd(finished.stream), "..", kHWCDirectoryFlags) : -1;
            reopen(m_frames.back(),
                   up >= 0 && isFolder(up, m_frames.back()) ? up : reopenByPath(up));
        }
        if (finished.stream)
            closedir(finished.stream);
    }

    void reopen(HWCWalkFrame &frame, int fd)
    {
        frame.stream = fd >= 0 ? fdopendir(fd) : nullptr;
        if (frame.stream) {
            seekdir(frame.stream, frame.position);
            return;
        }
        fail(frame.pathLength);
        if (fd >= 0)
            close(fd);
    }

    static bool isFolder(int fd, const HWCWalkFrame &frame)
    {
        struct stat status;
        return fstat(fd, &status) == 0 && status.st_dev == frame.device &&
               status.st_ino == frame.inode;
    }

    // Opens the top frame by its path: whole when the kernel takes it, else from the
    // deepest ancestor short enough, name by name. Closes unused, a descriptor to drop.
    int reopenByPath(int unused)
    {
        if (unused >= 0)
            close(unused);
        const size_t index = m_frames.size() - 1;
        size_t base = index;
        while (base > 0 && m_frames[base].pathLength >= PATH_MAX)
            --base;
        int fd = open(m_path.substr(0, m_frames[base].pathLength).c_str(),
                      O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        for (size_t i = base + 1; i <= index && fd >= 0; ++i) {
            size_t start = m_frames[i - 1].pathLength;
            if (m_path[start] == '/')
                ++start;
            const std::string name = m_path.substr(start, m_frames[i].pathLength - start);
            const int child = openat(fd, name.c_str(), kHWCDirectoryFlags);
            close(fd);
            fd = child;
        }
        if (fd >= 0 && !isFolder(fd, m_frames[index])) {
            close(fd);
            errno = ENOENT; // another folder stands at its path now
            return -1;
        }
        return fd;
    }

    void closeAll()
    {
        for (HWCWalkFrame &frame : m_frames) {
            if (frame.stream)
                closedir(frame.stream);
            frame.stream = nullptr;
        }
    }

    std::string m_path;
    const FileAction &m_action;
    const FolderFailure &m_failure;
    std::vector<HWCWalkFrame> m_frames;
    size_t m_firstOpen = 0;
};

} // namespace

void findFilesAtPath(const QString &path, const FileAction &action, const FolderFailure &failure)
{
    const QByteArray root = QFile::encodeName(path);
    HWCDirectoryWalk walk(std::string(root.constData(), size_t(root.size())), action, failure);
    walk.run();
}
