#pragma once

#include "engine/ascmhl/HWCASCMHLSeal.h"
#include "engine/digests/HWCChecksumKinds.h"
#include "engine/operations/HWCOperationParameters.h"
#include "engine/operations/HWCSourceOperation.h"
#include "engine/operations/HWCUnlistedFiles.h"

#include <QList>
#include <QString>
#include <memory>
#include <optional>
#include <span>
#include <vector>

class HWCASCMHLHistory;
class HWCChecksum;
class HWCChecksumEntry;
class HWCChecksumGroup;
class HWCConfinedFolder;
class HWCMediaHashList;
class HWCOrderedReads;
class HWCUncachedReader;

// Checks one source against every MHL it holds (see HWCSourceOperation for threads). Reads
// jobs, readDepth, rootFolder, searchUnlistedFiles, excludes, seal, detectRenames and ascmhl
// of its parameters.
class HWCVerificationOperation final : public HWCSourceOperation {
    Q_OBJECT

public:
    explicit HWCVerificationOperation(const HWCOperationParameters &parameters);
    ~HWCVerificationOperation() override;

    HWCActionType actionType() const override { return HWCActionType::Verify; }
    // The records made.
    quint64 fileAmount() const override { return quint64(files().size()); }
    QString description() const;

    // Filled on the worker thread; read once the operation has finished.
    const QList<UnusableList> &unusableLists() const override { return m_unusableLists; }
    const QList<UsedList> &usedLists() const override { return m_usedLists; }
    // Read once the operation has finished.
    const QStringList &unlistedFiles() const override { return m_unlistedFiles; }
    const QList<HWCUnreadableFolder> &unreadableFolders() const override
    {
        return m_unreadableFolders;
    }
    // With seal, once finished: the generations recorded, or why they were not.
    WrittenList writtenList() const override { return m_sealed; }

protected:
    void main() override;

private:
    struct MHLFile {
        QString relativeFolder;
        std::shared_ptr<const HWCMediaHashList> list; // shared with the records of its entries
    };

    // What checking one listed file came to; made on a reader thread.
    struct EntryCheck {
        bool stopped = false;   // cancelled before reading: the rest of the list is abandoned
        bool cancelled = false; // cancelled while reading or closing: no record
        bool opened = false;
        std::optional<HWCFileState> state; // set once the file is done with
        quint64 bytes = 0;
        quint64 time = 0;
        HWCVerifiedFile::Finding finding;
        QList<HWCASCMHLSeal::CheckedDigest> digests; // each kind read, when more than one was
    };

    // Loads every MHL of the source and sets the totals of info().
    void prepare();
    void verifyList(MHLFile &mhl);
    // Looks for the files no list names, once every list was checked.
    void findUnlistedFiles();
    // Records the check in each history it read, once the check ended by itself.
    void sealHistories();
    // The folder that reads of the files under root stay beneath: the one the lists' files
    // are looked for in, unless root lies outside it.
    std::shared_ptr<const HWCConfinedFolder> confinedFolderFor(const QString &root) const;
    // Queues the check of the entry at index of origin's entries, trying its digest kinds in
    // order (with allKinds, every kind it carries is computed from the one read); its record
    // follows those of the entries before it. Its file is opened beneath folder.
    void submitEntry(const std::shared_ptr<const HWCVerifiedFile::Origin> &origin, quint32 index,
                     const QString &root, const std::shared_ptr<const HWCConfinedFolder> &folder,
                     std::span<const HWCChecksumKinds::Kind> order, bool allKinds);
    // Records each manifest of a history that failed its chain or reference check.
    void appendManifestRecords(const HWCASCMHLHistory &history, const QString &relativeFolder);
    // Opens, reads, closes and compares one listed file; one without a full path (a bad
    // entry: see HWCEntryRules::refusalOf()) is refused unopened. Reader thread.
    // The first of checksums is the kind checked. Reader thread.
    EntryCheck checkEntry(const HWCChecksumEntry &entry, const QString &file,
                          HWCChecksumGroup &checksums,
                          const std::shared_ptr<const HWCConfinedFolder> &folder,
                          const QByteArray &fullPath, HWCUncachedReader &reader) const;
    // Reads, closes and compares one opened file with the first of checksums against entry;
    // closes fd in every case. Reader thread.
    void checkOpenedFile(int fd, const HWCChecksumEntry &entry, HWCChecksumGroup &checksums,
                         HWCUncachedReader &reader, EntryCheck &check) const;
    // Compares every kind of checksums beyond the first with the entry's digest of that kind:
    // a file that fails in any kind fails, its finding naming that kind. Reader thread.
    static void checkOtherKinds(const HWCChecksumEntry &entry, const HWCChecksumGroup &checksums,
                                EntryCheck &check);
    // Records an entry that has no digest to check against (Unknown hash, No hash), in list
    // order. Worker thread.
    void finishUncheckedEntry(const std::shared_ptr<const HWCVerifiedFile::Origin> &origin,
                              quint32 index, const QString &file, HWCFileState state);
    // Records a check, in list order. Worker thread.
    void finishEntry(const EntryCheck &check,
                     const std::shared_ptr<const HWCVerifiedFile::Origin> &origin, quint32 index);
    // Counts a record as done and keeps it. Worker thread.
    void appendRecord(const HWCVerifiedFile &record);

    const int m_jobs;
    const int m_readDepth;
    const QString m_rootFolder;
    // Where the files of the source's lists are looked for: the source folder, the folder
    // of a source that is a list, or the root folder given.
    const QString m_filesFolder;
    std::optional<HWCUnlistedFiles> m_unlisted;
    std::unique_ptr<HWCASCMHLSeal> m_seal;   // with seal: what the check records
    const QStringList m_addedIgnorePatterns; // with seal: beyond those the histories record
    WrittenList m_sealed;
    // While main() runs: m_filesFolder, which the reads stay beneath, and the files being read.
    std::shared_ptr<const HWCConfinedFolder> m_sourceFolder;
    std::unique_ptr<HWCOrderedReads> m_reads;
    std::vector<MHLFile> m_mhlFiles;
    QList<UnusableList> m_unusableLists;
    QList<UsedList> m_usedLists;
    QStringList m_unlistedFiles;
    QList<HWCUnreadableFolder> m_unreadableFolders;
    bool m_listAbandoned = false; // the list being checked met a cancellation test
};
