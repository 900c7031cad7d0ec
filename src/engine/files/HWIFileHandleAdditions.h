#pragma once

#include <QString>

class HWCConfinedFolder;

// Opens path (of any length) read-only for hashing without ever waiting on it: the open does not
// block (a FIFO with no writer, a device), and anything that is not a regular file, reached
// directly or through symbolic links, is refused, as is a file of a pseudo file system (procfs,
// sysfs, debugfs, ...), whose reads may block or consume what they return. Returns the
// blocking descriptor, or -1 with errno from open() (ENOENT, EACCES, ...) or EINVAL for a
// refused kind; *why then says what went wrong in words ("a FIFO, not a regular file", "not
// a file on a storage medium"). Logs nothing. Any thread.
int hwi_fileRegularReadDescriptorForPath(const char *path, QString *why);

// The same open of path beneath folder (see HWCConfinedFolder::open): a path that leaves
// the folder fails with EXDEV, *why "leaves the source".
int hwi_fileRegularReadDescriptorBeneath(const HWCConfinedFolder &folder, const QByteArray &path,
                                         QString *why);

// Makes reads of fd come from the medium instead of the page cache: direct I/O where the
// file system allows it, else dirty pages written back and the file's cached pages dropped.
// Returns true when direct I/O is on (reads must then use an aligned buffer).
bool hwi_disableCache(int fd);

// Drops the file's cached pages again after a buffered (non-direct) read.
void hwi_dropCache(int fd);
