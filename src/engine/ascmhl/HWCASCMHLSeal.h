#pragma once

#include "engine/ascmhl/HWCASCMHLSettings.h"
#include "engine/ascmhl/HWCIgnorePatterns.h"
#include "engine/records/HWCVerifiedFile.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

class HWCASCMHLManifest;
class HWCASCMHLDirectoryHashes;

// Records one verification of the histories under a source as a new generation of each, all
// with one time stamp, each with the ignore patterns of the histories above it too: "verified" for
// each digest that matched, "failed" for each that did not, "original" for files no generation
// lists yet (hashed here with the kinds the history uses); a file new under the name of a missing
// one's content is recorded as renamed when asked. A parent references its nested histories' new
// generations. One thread at a time.
class HWCASCMHLSeal {
public:
    // What became of one history's new generation.
    struct Outcome {
        QString root;
        QString path;          // the generation written; null when it was not
        QString error;         // "<path>: <reason>"; null when it was written
        bool readOnly = false; // the volume or folder cannot be written to: not a failure
        QString syncError;
        QStringList added; // the new files it records, as addNewFile() was given them
    };

    // One kind a verification computed of a file, and whether it matched the history's.
    struct CheckedDigest {
        QString kind; // HWCChecksumKinds name
        QString actual;
        bool matches = false;
    };

    // source: the folder every relative folder below starts from.
    HWCASCMHLSeal(const QString &source, const HWCASCMHLSettings &settings, bool detectRenames);
    ~HWCASCMHLSeal();

    // A history that was verified: its root below the source ("" for the source itself) and
    // the ignore patterns it records.
    void addHistory(const QString &relativeFolder, const QStringList &ignorePatterns);
    // Every kind one read of the file at relativePath computed, when it computed more than
    // the kind its record names; given before that record.
    void addDigests(const QString &relativeFolder, const QString &relativePath,
                    const QList<CheckedDigest> &digests);
    // One record of the verification of the history at relativeFolder.
    void addRecord(const HWCVerifiedFile &record);
    // A file that no history lists, relative to the source; left out when the patterns of
    // its history, with those of the settings, ignore it.
    void addNewFile(const QString &relativePath);

    // Writes every history's generation, the deepest first.
    QList<Outcome> write();

private:
    struct History;
    struct Entry;

    // The deepest history that relativePath lies below (not the one whose root it is).
    History *historyFor(const QString &relativePath);
    // A nested history records its parents' ignore patterns too; what they leave out of it
    // is not added.
    void inheritIgnorePatterns();
    void hashNewFile(History &history, Entry &entry) const;
    void fill(History &history, HWCASCMHLManifest &manifest, HWCASCMHLDirectoryHashes *folders);
    Outcome writeHistory(History &history);

    QString m_source;
    HWCASCMHLSettings m_settings;
    bool m_detectRenames;
    QDateTime m_created;
    QList<History> m_histories;
    QHash<QString, QList<CheckedDigest>> m_digests; // by folder and path (key())
};
