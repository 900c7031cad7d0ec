#pragma once

#include "engine/mhl/HWCChecksumEntry.h"
#include "engine/records/HWCTypes.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

namespace pugi {
class xml_node;
}

class HWCASCMHLFileTable;

// An ASC MHL history: the `ascmhl` folder at the root of a card or a copy, holding numbered
// generations (`0001_<folder>_<date>.mhl`, ...) and the chain file that records each
// generation's C4 ID. Reading it checks the chain, and each nested history's manifest
// against the reference to it, and folds every generation's files into one list. Without
// its chain file nothing can be checked against, so it lists nothing (problem()). Made and
// used on one thread at a time.
class HWCASCMHLHistory {
public:
    static constexpr const char *kFolderName = "ascmhl";
    static constexpr const char *kChainFileName = "ascmhl_chain.xml";

    // A manifest that failed its check: the path relative to the history's root, the state
    // (Hash fail for one that differs from or is missing in the chain, or that is not a
    // readable manifest; Missing file for one the chain or a reference names but that is not
    // there) and the bytes read.
    struct ManifestRecord {
        QString relativePath;
        HWCFileState state = HWCFileState::HashFail;
        quint64 bytes = 0;
    };

    // Reads folder, an `ascmhl` folder; every problem found is logged as a warning.
    explicit HWCASCMHLHistory(const QString &folder);
    ~HWCASCMHLHistory();

    // The `ascmhl` folder of path, when path is one, is a file directly inside one, or is a
    // folder that holds one; empty otherwise. Any thread.
    static QString folderForPath(const QString &path);

    // The `ascmhl` folder that path stands for as a source: path is that folder, its chain
    // file or one of its generations; empty otherwise. Any thread.
    static QString folderForSource(const QString &path);

    // The folder the history's paths start from: the parent of its `ascmhl` folder.
    QString root() const { return m_root; }

    // The files, one record each (see HWCASCMHLFileTable::takeRecords()); taken once.
    std::vector<HWCChecksumEntry> takeRecords();

    int generations() const { return m_generations; }
    // Each generation's `creatorinfo/tool` with its version, once each, oldest first.
    const QStringList &tools() const { return m_tools; }
    const QList<ManifestRecord> &manifestRecords() const { return m_manifestRecords; }
    // The ignore patterns its generations record (gitignore lines), once each, oldest first.
    const QStringList &ignorePatterns() const { return m_ignorePatterns; }
    // Why the history cannot be used, in words that follow its path; empty when it can.
    QString problem() const { return m_problem; }

private:
    struct Generation;

    QList<Generation> listGenerations() const;
    // Notes each generation's C4 ID from the chain; false when the chain cannot be read.
    bool readChain(QList<Generation> &generations);
    void checkSequence(const QList<Generation> &generations);
    void readGeneration(const Generation &generation, bool chained);
    void addIgnorePatterns(pugi::xml_node hashlist);
    void checkReferences(pugi::xml_node hashlist, const QString &manifestName);
    void fail(const QString &relativePath, HWCFileState state, quint64 bytes, const QString &why);

    QString m_folder;
    QString m_root;
    int m_generations = 0;
    QStringList m_tools;
    QStringList m_ignorePatterns;
    QString m_problem;
    QList<ManifestRecord> m_manifestRecords;
    std::unique_ptr<HWCASCMHLFileTable> m_files;
};
