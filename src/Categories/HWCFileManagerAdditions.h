#pragma once

#include <QString>

#include <functional>
#include <sys/stat.h>

// Called with the full path (file-system bytes) and the lstat record of one regular file;
// both are valid only during the call.
using FileAction = std::function<void(const char *path, const struct stat *status)>;

// Reports every regular file under path, depth first in directory-stream order, on the
// calling thread. Symbolic links are neither reported nor followed; unreadable directories
// and entries that cannot be stat'ed are skipped silently.
void findFilesAtPath(const QString &path, const FileAction &action);
