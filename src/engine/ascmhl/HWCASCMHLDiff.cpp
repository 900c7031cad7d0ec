#include "engine/ascmhl/HWCASCMHLDiff.h"

#include "engine/ascmhl/HWCASCMHLHistory.h"
#include "engine/ascmhl/HWCASCMHLNewGeneration.h"
#include "engine/ascmhl/HWCIgnorePatterns.h"
#include "engine/files/HWCFileManagerAdditions.h"
#include "engine/mhl/HWCChecksumEntry.h"

#include <QFile>
#include <QSet>
#include <algorithm>

namespace {

const QString kChainSuffix =
    QStringLiteral("ascmhl/") + QLatin1String(HWCASCMHLHistory::kChainFileName);

struct Listing {
    QString folder; // below the root; "" for the root
    HWCIgnorePatterns ignore;
};

QString joined(const QString &folder, const QString &path)
{
    return folder.isEmpty() ? path : folder + QLatin1Char('/') + path;
}

} // namespace

HWCASCMHLDiff::HWCASCMHLDiff(const QString &root) : m_root(root)
{
    while (m_root.size() > 1 && m_root.endsWith(QLatin1Char('/')))
        m_root.chop(1);
}

bool HWCASCMHLDiff::compare()
{
    QStringList present;
    findFilesAtPath(
        m_root,
        [&](const char *path, const struct stat *) {
            present.append(QFile::decodeName(path).mid(m_root.size() + 1));
        },
        [](const char *, int) {});
    QList<Listing> listings;
    QSet<QString> listed;
    for (const QString &file : std::as_const(present)) {
        if (file != kChainSuffix && !file.endsWith(QLatin1Char('/') + kChainSuffix))
            continue;
        const QString folder = file.chopped(kChainSuffix.size() + (file == kChainSuffix ? 0 : 1));
        HWCASCMHLHistory history(joined(m_root, folder) + QStringLiteral("/ascmhl"));
        if (!history.problem().isEmpty()) {
            m_error = QStringLiteral("%1: %2").arg(joined(m_root, folder), history.problem());
            return false;
        }
        listings.append({folder, HWCIgnorePatterns(HWCASCMHLNewGeneration::defaultIgnorePatterns() +
                                                   history.ignorePatterns())});
        for (const HWCChecksumEntry &entry : history.takeRecords())
            listed.insert(joined(folder, entry.fileText()));
    }
    if (std::none_of(listings.begin(), listings.end(),
                     [](const Listing &listing) { return listing.folder.isEmpty(); })) {
        m_error = QStringLiteral("%1: has no ASC MHL history").arg(m_root);
        return false;
    }
    QSet<QString> seen;
    for (const QString &file : std::as_const(present)) {
        const Listing *owner = nullptr;
        for (const Listing &listing : std::as_const(listings)) {
            if ((listing.folder.isEmpty() || file.startsWith(listing.folder + QLatin1Char('/'))) &&
                (!owner || listing.folder.size() > owner->folder.size()))
                owner = &listing;
        }
        const QString inHistory =
            owner->folder.isEmpty() ? file : file.mid(owner->folder.size() + 1);
        seen.insert(file);
        if (!owner->ignore.matches(inHistory) && !listed.contains(file))
            m_added.append(file);
    }
    for (const QString &file : std::as_const(listed)) {
        if (!seen.contains(file))
            m_missing.append(file);
    }
    m_missing.sort();
    m_added.sort();
    return true;
}
