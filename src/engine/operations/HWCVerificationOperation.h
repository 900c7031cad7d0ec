#pragma once

#include "engine/digests/HWCChecksumKinds.h"
#include "engine/operations/HWCOperation.h"
#include "engine/operations/HWCUnlistedFiles.h"
#include "engine/records/HWCTypes.h"
#include "engine/records/HWCVerifiedFile.h"

#include <QIcon>
#include <QList>
#include <QString>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

class HWCASCMHLHistory;
class HWCChecksum;
class HWCChecksumEntry;
class HWCConfinedFolder;
class HWCMediaHashList;
class HWCOperationInfo;
class HWCOrderedReads;
class HWCSource;
class HWCUncachedReader;

// Checks one source against every MHL it holds. Constructed on the main thread (its
// progress record lives there); main() runs on a worker thread and posts every change of
// the record to the main thread. files() may be read on the worker thread while running
// and on any thread once the operation has finished.
class HWCVerificationOperation : public HWCOperation {
    Q_OBJECT

public:
    explicit HWCVerificationOperation(std::shared_ptr<HWCSource> source);
    ~HWCVerificationOperation() override;

    HWCOperationInfo *info() const { return m_info; }
    std::shared_ptr<HWCSource> source() const { return m_source; }
    const QList<HWCVerifiedFile> &files() const { return m_files; }

    QList<HWCVerifiedFile> filesWithState(HWCFileState state, bool invert = false) const;

    // Cancels, then emits removeRequested() so that whoever lists it drops it. Main thread.
    void remove();

    // How many files of this operation are read at once; 1 (the default) reads them one
    // after another. Records keep the list's order either way. Set before it is queued.
    void setJobs(int jobs) { m_jobs = jobs > 1 ? jobs : 1; }
    int jobs() const { return m_jobs; }

    // The folder the files of a list are looked for in, in place of the list's own folder
    // (for a list kept apart from the media); a source folder's lists in subfolders look in
    // the same subfolders of it. Set before it is queued.
    void setRootFolder(const QString &folder) { m_rootFolder = folder; }

    // After the check, also finds the files under the folder the lists' files are looked
    // for in that no list names (unlistedFiles()). Set before it is queued.
    void searchUnlistedFiles(const HWCExcludedNames &excludes) { m_unlisted.emplace(excludes); }
    // Paths relative to that folder; read once the operation has finished. Empty when not
    // searched or when the check did not end by itself.
    const QStringList &unlistedFiles() const { return m_unlistedFiles; }
    // The folders that the source's scan or the search for unlisted files could not look
    // into, each once: MHLs or files there went unseen. Read once the operation has finished.
    const QList<HWCUnreadableFolder> &unreadableFolders() const { return m_unreadableFolders; }

    QIcon image() const;
    virtual HWCActionType actionType() const;
    virtual HWCOperationState state() const { return m_state; }
    virtual quint64 fileAmount() const;
    QString description() const;

    // The plain-text log of every record, grouped by file state, headed by the time now.
    QString failedFilesLog() const;

    // Writes failedFilesLog() as UTF-8, atomically and synced: the path holds the whole log
    // or what it held before. Returns false (and logs) when the file cannot be written.
    bool exportFailedFilesTo(const QString &path) const;

    // Loads every MHL of the source and sets the totals of info(). Called by main().
    void prepare();

    // An MHL that could not be used to check files, and why (HWCMediaHashList::problem()).
    struct UnusableList {
        QString path;
        QString reason;
    };
    // Filled by prepare() on the worker thread; read once the operation has finished.
    const QList<UnusableList> &unusableLists() const { return m_unusableLists; }

    // A run that ended Verified OK without checking a single file: every list was empty or
    // unusable. The state says success; nothing that reports to a person may.
    bool verifiedNothing() const
    {
        return state() == HWCOperationStateVerifiedOK && m_files.isEmpty();
    }

Q_SIGNALS:
    void removeRequested();

protected:
    void main() override;
    // Ends with warnings: the run did not check everything it should have.
    void mainFailed() override;

    void appendFile(const HWCVerifiedFile &file) { m_files.append(file); }
    void postToInfo(std::function<void(HWCOperationInfo *)> change) const;

    // The block handler of an uncached read: false once the operation is cancelled,
    // otherwise posts the block's bytes to the progress record. Worker thread.
    bool countBlock(quint64 length) const;

    // The file state for the errno of a failed open.
    static HWCFileState fileStateForOpenError(int error);

    // The folder that the lists' files are looked for in (the source's), for the reads that
    // stay beneath it. Opened when no one holds it, so that it is open only while files are
    // read (an open folder keeps its medium from being unmounted). Any thread.
    std::shared_ptr<const HWCConfinedFolder> sourceFolder() const;

    HWCOperationState m_state = HWCOperationStatePreparing;
    // The files being read, while main() runs.
    std::unique_ptr<HWCOrderedReads> m_reads;

private:
    struct MHLFile {
        QString relativeFolder;
        std::unique_ptr<HWCMediaHashList> list;
    };

    // What checking one listed file came to; made on a reader thread.
    struct EntryCheck {
        bool stopped = false;   // cancelled before reading: the rest of the list is abandoned
        bool cancelled = false; // cancelled while reading or closing: no record
        bool opened = false;
        HWCFileState state = 0;
        quint64 bytes = 0;
        quint64 time = 0;
        HWCVerifiedFile::Detail detail;
    };

    void verifyList(MHLFile &mhl);
    // Where the files of the source's lists are looked for: the source folder, the folder
    // of a source that is a list, or the root folder set.
    QString filesFolder() const;
    // The folder that reads of the files under root stay beneath: the source's, unless root
    // lies outside it.
    std::shared_ptr<const HWCConfinedFolder> confinedFolderFor(const QString &root) const;
    // Queues the check of one entry, trying its digest kinds in order; its record follows
    // those of the entries before it. Its file is opened beneath folder.
    void submitEntry(const HWCChecksumEntry &entry, const QString &relativeFolder,
                     const QString &root, const std::shared_ptr<const HWCConfinedFolder> &folder,
                     std::span<const HWCChecksumKinds::Kind> order);
    // Records each manifest of a history that failed its chain or reference check.
    void appendManifestRecords(const HWCASCMHLHistory &history, const QString &relativeFolder);
    // Opens, reads, closes and compares one listed file; one without a full path (a bad
    // entry: see refusalOf()) is refused unopened. Reader thread.
    EntryCheck checkEntry(const HWCChecksumEntry &entry, const QString &file, HWCChecksum &checksum,
                          const std::shared_ptr<const HWCConfinedFolder> &folder,
                          const QByteArray &fullPath, HWCUncachedReader &reader) const;
    // Reads, closes and compares one opened file; closes fd in every case. Reader thread.
    void checkOpenedFile(int fd, HWCChecksum &checksum, HWCUncachedReader &reader,
                         EntryCheck &check) const;
    // Records an entry that has no digest to check against (Unknown hash, No hash), in list
    // order. Worker thread.
    void finishUncheckedEntry(const QString &relativeFolder, const QString &file,
                              HWCFileState state);
    // Records a check, in list order. Worker thread.
    void finishEntry(const EntryCheck &check, const QString &relativeFolder, const QString &file);
    void appendRecord(const QString &relativeFolder, const QString &file, HWCFileState state,
                      quint64 bytes, quint64 time, HWCVerifiedFile::Detail detail = {});

    std::shared_ptr<HWCSource> m_source;
    HWCOperationInfo *m_info;
    QList<HWCVerifiedFile> m_files;
    std::vector<MHLFile> m_mhlFiles;
    QList<UnusableList> m_unusableLists;
    int m_jobs = 1;
    QString m_rootFolder;
    std::optional<HWCUnlistedFiles> m_unlisted;
    QStringList m_unlistedFiles;
    QList<HWCUnreadableFolder> m_unreadableFolders;
    bool m_listAbandoned = false; // the list being checked met a cancellation test
    mutable std::mutex m_sourceFolderMutex;
    mutable std::weak_ptr<const HWCConfinedFolder> m_sourceFolder;
};
