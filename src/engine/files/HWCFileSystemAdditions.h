#pragma once

#include <QByteArray>
#include <QString>
#include <sys/types.h>

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

// Whether the last component of path (file-system bytes) is one of the temporary files the
// writes above make; a write that was killed leaves one behind. Any thread.
bool hwc_isTemporaryFileName(const char *path);

// Where hwc_writeNewFile() put the bytes.
struct HWCNewFile {
    QString path;      // the file written; null when it was not
    QString error;     // why nothing was written, in the system's words; null when it was
    QString syncError; // the file is complete at path, but the folder's sync failed: why
};

// Writes bytes as a new file named name (with permissions mode) in folder, and never over
// anything already there: the bytes go to a temporary file, flushed to the medium, which
// takes the name only if it is free; if it is not, "<stem> (2)<extension>", "(3)" and so on.
// The folder is then synced. On failure the temporary file is removed. Any thread.
HWCNewFile hwc_writeNewFile(const QString &folder, const QString &name, const QByteArray &bytes,
                            mode_t mode);
