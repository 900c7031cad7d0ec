#pragma once

#include <QString>

// The device that a path's files are read from, as the kernel describes it in sysfs: which
// sources share it, and how many reads to give it at once. Any thread; of() reads the file
// system's status, /proc/self/mountinfo and /sys when called, and never blocks on a medium
// beyond the stat of the path itself.
class HWCMedium {
public:
    // Files read at once from a medium that does not seek.
    static constexpr int kDeepQueue = 32;

    static HWCMedium of(const QString &path);

    // Names the device: the whole disk beneath a partition ("vda" for vda1 and vda2) or
    // beneath a device-mapper volume of one member, else the file system's own device number
    // ("0:53" for a tmpfs); empty when the path cannot be looked up.
    const QString &device() const { return m_device; }
    // Whether reads seek across a spinning disk: the disk says it rotates and is no
    // paravirtual disk (virtio, Xen), whose flag is the kernel's default rather than anything
    // the hardware told; a virtual disk is a file or volume on the host, not a platter.
    bool seeks() const { return m_seeks; }
    // How many files to read at once: one where reads seek (seeking between files would cost
    // more than the queue gains), else kDeepQueue.
    int queueDepth() const { return m_seeks ? 1 : kDeepQueue; }

private:
    QString m_device;
    bool m_seeks = false;
};
