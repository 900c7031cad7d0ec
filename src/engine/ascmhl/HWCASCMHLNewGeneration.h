#pragma once

#include "engine/ascmhl/HWCASCMHLSettings.h"
#include "engine/ascmhl/HWCIgnorePatterns.h"
#include "engine/mhl/HWCChecksumEntry.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

class HWCASCMHLDirectoryHashes;
class HWCASCMHLHistoryWriter;
class HWCASCMHLManifest;

// The first generation of a new history for a folder, made "in-place": which files it
// leaves out (ignore patterns, and files under a sub-folder that holds its own history,
// which it references instead), the files hashed, their folders' hashes, and the write.
// One thread at a time.
class HWCASCMHLNewGeneration {
public:
    using Digest = QPair<QString, QString>; // HWCChecksumKinds name, digest text

    // root: the folder; kinds: the HWCChecksumKinds names every file is hashed with.
    HWCASCMHLNewGeneration(const QString &root, const QStringList &kinds,
                           const HWCASCMHLSettings &settings);
    ~HWCASCMHLNewGeneration();

    // The patterns every generation records unless told otherwise: ".DS_Store", "ascmhl",
    // "ascmhl/". Any thread.
    static QStringList defaultIgnorePatterns();

    // Locks the history for the run. False, with error(), when it cannot take a generation;
    // a root that already holds a history is refused (it is sealed, not created again).
    bool open();

    // Whether the walk leaves the file at relativePath ("/"-separated, below the root) out.
    bool leavesOut(const QString &relativePath);

    void addFile(const QString &relativePath, quint64 size, const QDateTime &modified,
                 const QList<Digest> &digests);

    // Whether it would list nothing: no file and no nested history.
    bool isEmpty() const { return m_files == 0 && m_nested.isEmpty(); }

    // Writes the generation and its chain entry; false with error().
    bool write();

    QString path() const;
    // What it states of each file added, in order, as a list's records (HWCMHLWriter::records()).
    std::shared_ptr<const std::vector<HWCChecksumEntry>> records() const { return m_records; }
    QString error() const;
    QString syncError() const;

private:
    // The folder below the root that holds its own history and relativePath lies in, or "".
    QString nestedFolderOf(const QString &relativePath);
    void addNested(HWCASCMHLManifest &manifest, const QString &folder);

    QString m_root;
    QStringList m_elements;
    HWCASCMHLSettings m_settings;
    QStringList m_patterns;
    HWCIgnorePatterns m_ignore;
    QDateTime m_created;
    std::unique_ptr<HWCASCMHLHistoryWriter> m_writer;
    std::unique_ptr<HWCASCMHLManifest> m_manifest;
    std::unique_ptr<HWCASCMHLDirectoryHashes> m_folders;
    QHash<QString, bool> m_holdsHistory; // folder below the root to whether it has a chain
    QStringList m_nested;
    std::shared_ptr<std::vector<HWCChecksumEntry>> m_records;
    quint64 m_files = 0;
    QString m_refusal;
};
