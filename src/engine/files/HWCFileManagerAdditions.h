#pragma once

#include <QString>
#include <functional>
#include <sys/stat.h>

// Called with the full path (file-system bytes) and the lstat record of one regular file;
// both are valid only during the call.
using FileAction = std::function<void(const char *path, const struct stat *status)>;

// Called with the path (file-system bytes) of a folder the walk could not open or list to
// its end (path itself included), or of an entry it could not stat, and the errno that
// said why; the path is valid only during the call.
using FolderFailure = std::function<void(const char *path, int error)>;

// Reports every regular file under path, depth first in directory-stream order, on the
// calling thread. Symbolic links are neither reported nor followed. Whatever the walk
// cannot look into goes to failure, so that no part of the tree is left out in silence.
// What a walk could not look into: the path (as QFile::decodeName gives it) and why (errno).
struct HWCUnreadableFolder {
    QString path;
    int error = 0;
    bool operator==(const HWCUnreadableFolder &) const = default;
};

void findFilesAtPath(const QString &path, const FileAction &action, const FolderFailure &failure);
