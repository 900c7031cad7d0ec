#pragma once

#include "engine/ascmhl/HWCASCMHLManifest.h"
#include "engine/ascmhl/HWCASCMHLSettings.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

// One stand-alone manifest (process "flatten") of a whole history and the histories nested
// in it: for each file its earliest digest of each kind, never a failed one, and the
// previousPath of a renamed file. It is not added to the history. One thread at a time.
class HWCASCMHLFlattener {
public:
    // root: the folder that holds the history.
    HWCASCMHLFlattener(const QString &root, const HWCASCMHLSettings &settings);

    // Reads every generation; false with error() when the history cannot be used (as
    // HWCASCMHLHistory::problem() and its manifest checks tell).
    bool read();

    // The manifest as UTF-8 text; after read().
    QByteArray bytes() const;

    QString error() const { return m_error; }
    qsizetype fileCount() const { return m_files.size(); }

private:
    struct File {
        QString path;
        QString previousPath;
        quint64 size = 0;
        QString modified;
        QList<HWCASCMHLManifest::Digest> digests;
    };

    // Folds in the history at folder ("" for the root), nested ones included.
    bool readHistory(const QString &folder);
    void addHash(pugi::xml_node hash, const QString &prefix);

    QString m_root;
    HWCASCMHLSettings m_settings;
    QStringList m_ignorePatterns;
    QList<File> m_files;
    QHash<QString, qsizetype> m_indexByPath;
    QString m_error;
};
