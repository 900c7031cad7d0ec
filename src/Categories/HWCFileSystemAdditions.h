#pragma once

#include <QByteArray>
#include <QString>

// Replaces the file at path with bytes so that path holds either what it held before or
// every one of bytes, never a part: the bytes go to a temporary file in the same folder,
// which is flushed to the medium and then renamed over path, and the folder is synced so
// that the rename survives a power cut too. A regular file or a symbolic link at path is
// replaced; anything else there (a folder, a device, a FIFO) is left alone and the write
// fails. On failure the temporary file is removed and error (when given) says why in the
// system's words. Any thread.
bool hwc_writeFileAtomically(const QString &path, const QByteArray &bytes,
                             QString *error = nullptr);

// Opens path like open(2), also when it is longer than the kernel takes in one call
// (PATH_MAX): such a path is opened folder by folder from its longest prefixes that fit.
// Returns the descriptor, or -1 with errno set. Any thread.
int hwc_openLongPath(const QByteArray &path, int flags);
