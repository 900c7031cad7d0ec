#pragma once

#include <QString>
#include <QStringList>

// The files under a folder that differ from what its history and the histories nested in
// it list, by name alone, without reading any content: listed files that are not there and
// files that no history lists (leaving out what each history's ignore patterns match).
// One thread at a time.
class HWCASCMHLDiff {
public:
    explicit HWCASCMHLDiff(const QString &root);

    // Walks the folder and reads its histories; false with error() when the folder has no
    // history of its own or one cannot be used.
    bool compare();

    // Paths relative to the root, sorted; after compare().
    const QStringList &missing() const { return m_missing; }
    const QStringList &added() const { return m_added; }
    QString error() const { return m_error; }

private:
    QString m_root;
    QStringList m_missing;
    QStringList m_added;
    QString m_error;
};
