#include "engine/history/HWCVolumeIdentity.h"

#include <QDir>
#include <QFileInfo>
#include <QStorageInfo>

namespace {

// The name of the link in folder that leads to device; empty when none does.
QString linkTo(const QString &folder, const QString &device)
{
    const QDir links(folder);
    for (const QFileInfo &link : links.entryInfoList(QDir::System | QDir::Files)) {
        if (link.canonicalFilePath() == device)
            return link.fileName();
    }
    return {};
}

// udev escapes characters of a label that a file name cannot hold as \xNN.
QString unescaped(const QString &name)
{
    QByteArray bytes = name.toUtf8();
    for (qsizetype at = bytes.indexOf("\\x"); at >= 0 && at + 3 < bytes.size();
         at = bytes.indexOf("\\x", at + 1)) {
        bool valid = false;
        const char value = char(bytes.mid(at + 2, 2).toInt(&valid, 16));
        if (valid)
            bytes.replace(at, 4, QByteArray(1, value));
    }
    return QString::fromUtf8(bytes);
}

} // namespace

HWCVolumeIdentity HWCVolumeIdentity::of(const QString &path)
{
    const QStorageInfo storage(path);
    const QString device = QFileInfo(QString::fromLocal8Bit(storage.device())).canonicalFilePath();
    if (!storage.isValid() || !device.startsWith(QLatin1String("/dev/")))
        return {};
    return {unescaped(linkTo(QStringLiteral("/dev/disk/by-label"), device)),
            linkTo(QStringLiteral("/dev/disk/by-uuid"), device)};
}
