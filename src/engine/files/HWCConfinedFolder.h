#pragma once

#include <QByteArray>

// A folder whose files are opened only beneath it: a path that climbs out of it through
// "..", or through a symbolic link that points outside it, is refused; links that stay
// inside are followed, relative or absolute. The folder itself is opened once, when it is
// made, so that each open resolves only the path below it. Immutable once made; open() may
// be called on any thread.
class HWCConfinedFolder {
public:
    // path (file-system bytes, of any length) is the folder as given; links on the way to
    // it are followed.
    explicit HWCConfinedFolder(const QByteArray &path);
    ~HWCConfinedFolder();
    HWCConfinedFolder(const HWCConfinedFolder &) = delete;
    HWCConfinedFolder &operator=(const HWCConfinedFolder &) = delete;

    const QByteArray &path() const { return m_path; }

    // Opens path like openat(2) with flags (without O_CREAT). path is relative to the folder,
    // or absolute and starting with path(). Returns the descriptor, or -1 with errno: EXDEV
    // when the path leaves the folder, the folder's own open error when it could not be
    // opened, else the error of the open that failed. Where the kernel does not confine the
    // lookup itself (no openat2, an absolute link, a path longer than PATH_MAX) the path is
    // walked one name at a time without following links implicitly.
    int open(const QByteArray &path, int flags) const;

private:
    int openByNames(const QByteArray &relativePath, int flags) const;
    // The part of an absolute link target below the folder, or nothing if it is outside.
    bool targetBelow(const QByteArray &target, QByteArray &below) const;

    QByteArray m_path;
    QByteArray m_realPath; // without links, to recognise absolute links into the folder
    int m_fd;
    int m_error = 0; // why the folder could not be opened
};
