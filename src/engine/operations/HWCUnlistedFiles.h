#pragma once

#include "engine/ascmhl/HWCIgnorePatterns.h"
#include "engine/files/HWCExcludedNames.h"
#include "engine/files/HWCFileManagerAdditions.h"

#include <QByteArray>
#include <QList>
#include <QSet>
#include <QStringList>
#include <utility>

// Collects the files the lists of a source name, then finds the regular files under a
// folder that none of them names. MHL files, everything inside an "ascmhl" folder, the
// names excluded and what a history's ignore patterns cover are never reported. One thread
// at a time.
class HWCUnlistedFiles {
public:
    explicit HWCUnlistedFiles(HWCExcludedNames excludes) : m_excludes(std::move(excludes)) {}

    // Marks the file at path (file-system bytes, absolute; "." and ".." allowed) as listed.
    void addListed(const QByteArray &path);

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
    QSet<QByteArray> m_listed;
};
