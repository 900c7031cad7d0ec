#pragma once

#include <QByteArray>
#include <QStringList>
#include <vector>

// Shell patterns (fnmatch(3)) on a file's name that leave it out of a new list and of the
// report of files no list names. Immutable once made; any thread.
class HWCExcludedNames {
public:
    // The files desktops leave on media: ".DS_Store", "._*", "Thumbs.db".
    static QStringList defaultPatterns();

    explicit HWCExcludedNames(const QStringList &patterns = defaultPatterns());

    // Whether the last component of path (file-system bytes) matches any pattern.
    bool matches(const QByteArray &path) const;

private:
    std::vector<QByteArray> m_patterns;
};
