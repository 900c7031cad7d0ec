#include "Categories/HWCFileManagerAdditions.h"

#include <QFile>
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
// them at their saved position on the way back, so that a tree of any depth fits both
// the descriptor limit and a worker thread's stack.
constexpr size_t kHWCMaxOpenDirectories = 64;

struct HWCWalkFrame {
    DIR *stream = nullptr;
    size_t pathLength = 0; // this directory's path is m_path.substr(0, pathLength)
    long position = 0;     // telldir() cookie while the stream is closed
};

class HWCDirectoryWalk {
public:
    HWCDirectoryWalk(std::string root, const FileAction &action)
        : m_path(std::move(root)), m_action(action)
    {
    }
    ~HWCDirectoryWalk()
    {
        for (HWCWalkFrame &frame : m_frames) {
            if (frame.stream)
                closedir(frame.stream);
        }
    }

    void run()
    {
        DIR *root = opendir(m_path.c_str());
        if (!root)
            return;
        m_frames.push_back({root, m_path.size(), 0});
        while (!m_frames.empty()) {
            HWCWalkFrame &frame = m_frames.back();
            const dirent *entry = frame.stream ? readdir(frame.stream) : nullptr;
            if (entry)
                visit(entry);
            else
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
        if (fstatat(parentFd, name, &status, AT_SYMLINK_NOFOLLOW) != 0)
            return;
        if (S_ISREG(status.st_mode))
            m_action(m_path.c_str(), &status);
        else if (S_ISDIR(status.st_mode))
            enter(openat(parentFd, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
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
            for (HWCWalkFrame &frame : m_frames) {
                if (frame.stream)
                    closedir(frame.stream);
            }
            std::exit(1);
        }
    }

    void enter(int fd)
    {
        if (fd < 0)
            return;
        DIR *stream = fdopendir(fd);
        if (!stream) {
            close(fd);
            return;
        }
        if (m_frames.size() - m_firstOpen >= kHWCMaxOpenDirectories) {
            HWCWalkFrame &oldest = m_frames[m_firstOpen++];
            oldest.position = telldir(oldest.stream);
            closedir(oldest.stream);
            oldest.stream = nullptr;
        }
        m_frames.push_back({stream, m_path.size(), 0});
    }

    void leave()
    {
        if (m_frames.back().stream)
            closedir(m_frames.back().stream);
        m_frames.pop_back();
        if (!m_frames.empty() && m_frames.size() <= m_firstOpen)
            reopen(m_frames.size() - 1);
    }

    // Reopens frame index and the closed frames above it up to the open-stream limit,
    // each at the position where its stream was closed. A frame that cannot be reopened
    // ends its directory early, as an unreadable directory would.
    void reopen(size_t index)
    {
        const size_t first =
            index + 1 > kHWCMaxOpenDirectories ? index + 1 - kHWCMaxOpenDirectories : 0;
        int parentFd = openPath(first);
        for (size_t i = first; i <= index; ++i) {
            const int fd = i == first ? parentFd : openChild(parentFd, i);
            HWCWalkFrame &frame = m_frames[i];
            frame.stream = fd >= 0 ? fdopendir(fd) : nullptr;
            if (!frame.stream) {
                if (fd >= 0)
                    close(fd);
                parentFd = -1;
                continue;
            }
            seekdir(frame.stream, frame.position);
            parentFd = dirfd(frame.stream);
        }
        m_firstOpen = first;
    }

    // Opens frame index by its full path, or, when that is too long for the kernel, by
    // opening the deepest ancestor short enough and descending name by name.
    int openPath(size_t index)
    {
        size_t base = index;
        while (base > 0 && m_frames[base].pathLength >= PATH_MAX)
            --base;
        int fd = open(m_path.substr(0, m_frames[base].pathLength).c_str(),
                      O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        for (size_t i = base + 1; i <= index && fd >= 0; ++i) {
            const int child = openChild(fd, i);
            close(fd);
            fd = child;
        }
        return fd;
    }

    int openChild(int parentFd, size_t index) const
    {
        if (parentFd < 0)
            return -1;
        size_t start = m_frames[index - 1].pathLength;
        if (m_path[start] == '/')
            ++start;
        const std::string name = m_path.substr(start, m_frames[index].pathLength - start);
        return openat(parentFd, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    }

    std::string m_path;
    const FileAction &m_action;
    std::vector<HWCWalkFrame> m_frames;
    size_t m_firstOpen = 0;
};

} // namespace

void findFilesAtPath(const QString &path, const FileAction &action)
{
    const QByteArray root = QFile::encodeName(path);
    HWCDirectoryWalk walk(std::string(root.constData(), size_t(root.size())), action);
    walk.run();
}
