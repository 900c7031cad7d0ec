#include "engine/operations/HWCUnlistedFiles.h"

#include "engine/files/HWCFileManagerAdditions.h"
#include "engine/files/HWCFileSystemAdditions.h"
#include "engine/mhl/HWCChecksumEntry.h"
#include "engine/records/HWCStringAdditions.h"

#include <QFile>
#include <QHash>

namespace {

// The path without empty and "." components, each ".." taking away the one before it.
QByteArray cleanedPath(const QByteArray &path)
{
    // Nearly every path is clean already, and a card may hold a million.
    if (path.startsWith('/') && !path.contains("//") && !path.contains("/./") &&
        !path.contains("/../") && !path.endsWith("/.") && !path.endsWith("/..") &&
        (path.size() == 1 || !path.endsWith('/')))
        return path;
    QList<QByteArray> kept;
    for (const QByteArray &component : path.split('/')) {
        if (component == "..") {
            if (!kept.isEmpty())
                kept.removeLast();
        } else if (!component.isEmpty() && component != ".") {
            kept.append(component);
        }
    }
    return '/' + kept.join('/');
}

// relativePath starts with "/".
bool isInHistoryFolder(const QByteArray &relativePath)
{
    return relativePath.contains("/ascmhl/");
}

} // namespace

void HWCUnlistedFiles::addListed(const QByteArray &root,
                                 std::shared_ptr<const std::vector<HWCChecksumEntry>> entries)
{
    m_listed.append({root, std::move(entries)});
}

void HWCUnlistedFiles::addIgnored(const QByteArray &root, const HWCIgnorePatterns &patterns)
{
    if (!patterns.isEmpty())
        m_ignored.append({cleanedPath(root), patterns});
}

bool HWCUnlistedFiles::isIgnored(const QByteArray &path) const
{
    for (const auto &[root, patterns] : m_ignored) {
        const QByteArray folder = root == "/" ? root : root + '/';
        if (path.startsWith(folder) && patterns.matches(QFile::decodeName(path.mid(folder.size()))))
            return true;
    }
    return false;
}

QStringList HWCUnlistedFiles::find(const QString &folder,
                                   QList<HWCUnreadableFolder> &unreadable) const
{
    const QByteArray base = cleanedPath(QFile::encodeName(folder));
    const qsizetype prefix = base == "/" ? 0 : base.size();
    // Found files by full path, with their name relative to folder.
    QHash<QByteArray, QString> found;
    const auto foundFile = [&](const char *path, const struct stat *) {
        const QByteArray full = cleanedPath(QByteArray(path));
        const QByteArray relative = full.mid(prefix);
        if (isInHistoryFolder(relative) || m_excludes.matches(full) || isIgnored(full) ||
            hwc_isTemporaryFileName(path))
            return;
        const QString name = QFile::decodeName(relative);
        if (!hwc_isMediaHashListPath(name))
            found.insert(full, name);
    };
    findFilesAtPath(QFile::decodeName(base), foundFile, [&](const char *path, int error) {
        unreadable.append({QFile::decodeName(path), error});
    });
    for (const auto &[root, entries] : m_listed) {
        for (auto entry = entries->begin(); entry != entries->end() && !found.isEmpty(); ++entry)
            found.remove(cleanedPath(root + '/' + entry->fileName()));
    }
    QStringList unlisted = found.values();
    unlisted.sort();
    return unlisted;
}
