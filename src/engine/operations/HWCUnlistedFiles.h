#pragma once

#include "engine/ascmhl/HWCIgnorePatterns.h"
#include "engine/files/HWCExcludedNames.h"
#include "engine/files/HWCFileManagerAdditions.h"

#include <QByteArray>
#include <QList>
#include <QStringList>
#include <memory>
#include <utility>
#include <vector>

class HWCChecksumEntry;

// Collects the lists of a source, then finds the regular files under a folder that none of
// them names. MHL files, everything inside an "ascmhl" folder, the
// names excluded and what a history's ignore patterns cover are never reported. One thread
// at a time.
class HWCUnlistedFiles {
public:
    explicit HWCUnlistedFiles(HWCExcludedNames excludes) : m_excludes(std::move(excludes)) {}

    // Marks the files that entries name beneath root (file-system bytes, absolute; "." and
    // ".." allowed in both) as listed. The entries are only looked at when files are found,
    // so that a list of a million missing files costs nothing here.
    void addListed(const QByteArray &root,
                   std::shared_ptr<const std::vector<HWCChecksumEntry>> entries);

    // Leaves out the files under root (file-system bytes, absolute) that patterns cover.
    void addIgnored(const QByteArray &root, const HWCIgnorePatterns &patterns);

    // Walks folder (absolute) without following symbolic links; returns the paths of the
    // unlisted files relative to it, each starting with "/", sorted. What the walk could not
    // look into is appended to unreadable. Temporary files of a killed write are not reported.
    QStringList find(const QString &folder, QList<HWCUnreadableFolder> &unreadable) const;

private:
    bool isIgnored(const QByteArray &path) const;

    HWCExcludedNames m_excludes;
    QList<std::pair<QByteArray, HWCIgnorePatterns>> m_ignored; // root and its patterns
    QList<std::pair<QByteArray, std::shared_ptr<const std::vector<HWCChecksumEntry>>>> m_listed;
};
