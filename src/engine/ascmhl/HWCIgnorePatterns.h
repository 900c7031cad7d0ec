#pragma once

#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <vector>

// The ignore patterns an ASC MHL history records, each one line of gitignore syntax: "*.tmp"
// at any depth, "/build" at the top only, "dir/" for folders only, "**/cache", "a/**/b",
// "!keep" to take a file back. Immutable once made; any thread.
class HWCIgnorePatterns {
public:
    explicit HWCIgnorePatterns(const QStringList &lines = {});

    bool isEmpty() const { return m_patterns.empty(); }

    // Whether the file at relativePath ("/"-separated, from the history's root, no leading
    // "/") is ignored: by a pattern on it, or by one on a folder it lies in. A folder left
    // out cannot be taken back by a later "!" pattern on what it holds.
    bool matches(const QString &relativePath) const;

private:
    struct Pattern {
        QRegularExpression expression;
        bool negated = false;
        bool foldersOnly = false;
    };

    // The last pattern that matches decides, as in gitignore.
    bool decides(const QString &path, bool isFolder) const;

    std::vector<Pattern> m_patterns;
};
