#pragma once

#include <QString>

// The file system a path lies on, as a card is known by: its label and UUID, from the mount
// table and the links under /dev/disk/by-label and /dev/disk/by-uuid. Any thread.
struct HWCVolumeIdentity {
    QString label; // empty when the file system has none, or it is not a block device
    QString uuid;

    static HWCVolumeIdentity of(const QString &path);
};
