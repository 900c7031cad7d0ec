#include "engine/files/HWCMedium.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace {

QString numbers(dev_t device)
{
    return QStringLiteral("%1:%2").arg(major(device)).arg(minor(device));
}

// A file system without a block device number of its own (btrfs, or one on device mapper
// seen through an anonymous device) may still be mounted from a block device: the one
// /proc/self/mountinfo names as its source.
dev_t blockDeviceOfMount(dev_t device)
{
    QFile mounts(QStringLiteral("/proc/self/mountinfo"));
    if (!mounts.open(QIODevice::ReadOnly))
        return device;
    const QByteArray wanted = numbers(device).toLatin1();
    for (const QByteArray &line : mounts.readAll().split('\n')) {
        const QList<QByteArray> fields = line.split(' ');
        const qsizetype separator = fields.indexOf("-");
        if (fields.size() < 3 || fields[2] != wanted || separator < 0 ||
            separator + 2 >= fields.size())
            continue;
        struct stat source {};
        if (stat(fields[separator + 2].constData(), &source) == 0 && S_ISBLK(source.st_mode))
            return source.st_rdev;
        return device;
    }
    return device;
}

// The whole disk that a block device's folder in /sys stands for: a partition's disk, and
// beneath a device-mapper or RAID device of a single member (LVM, dm-crypt), that member's.
QString wholeDisk(QString device)
{
    if (QFileInfo::exists(device + QStringLiteral("/partition")))
        device = QFileInfo(device).path();
    const QStringList members =
        QDir(device + QStringLiteral("/slaves")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    if (members.size() != 1)
        return device;
    const QString member =
        QFileInfo(device + QStringLiteral("/slaves/") + members.first()).canonicalFilePath();
    return member.isEmpty() ? device : wholeDisk(member);
}

QByteArray firstLine(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readLine().trimmed() : QByteArray();
}

} // namespace

HWCMedium HWCMedium::of(const QString &path)
{
    HWCMedium medium;
    struct stat status {};
    if (stat(QFile::encodeName(path).constData(), &status) != 0)
        return medium;
    dev_t device = status.st_dev;
    if (major(device) == 0)
        device = blockDeviceOfMount(device);
    medium.m_device = numbers(device);
    // /sys/dev/block/M:m leads to the device's folder.
    const QString top =
        QFileInfo(QStringLiteral("/sys/dev/block/") + numbers(device)).canonicalFilePath();
    if (top.isEmpty())
        return medium;
    const QString disk = wholeDisk(top);
    medium.m_device = QFileInfo(disk).fileName();
    const bool paravirtual = disk.contains(QStringLiteral("/virtio")) ||
                             disk.contains(QStringLiteral("/xen")) ||
                             disk.contains(QStringLiteral("/vbd-"));
    medium.m_seeks = firstLine(disk + QStringLiteral("/queue/rotational")) == "1" && !paravirtual;
    return medium;
}
