#pragma once

#include "Categories/HWCFileManagerAdditions.h"
#include "Classes/HWCExcludedNames.h"

#include <QByteArray>
#include <QSet>
#include <QStringList>

// Collects the files the lists of a source name, then finds the regular files under a
// folder that none of them names. MHL files, everything inside an "ascmhl" folder and the
// names excluded are never reported. One thread at a time.
class HWCUnlistedFiles {
public:
    explicit HWCUnlistedFiles(HWCExcludedNames excludes) : m_excludes(std::move(excludes)) {}

    // Marks the file at path (file-system bytes, absolute; "." and ".." allowed) as listed.
    void addListed(const QByteArray &path);

    // Walks folder (absolute) without following symbolic links; returns the paths of the
    // unlisted files relative to it, each starting with "/", sorted. What the walk could not
    // look into is appended to unreadable. Temporary files of a killed write are not reported.
    QStringList find(const QString &folder, QList<HWCUnreadableFolder> &unreadable) const;

private:
    HWCExcludedNames m_excludes;
    QSet<QByteArray> m_listed;
};
