#pragma once

#include "Classes/HWCChecksumKinds.h"
#include "Classes/HWCOperation.h"
#include "Classes/HWCTypes.h"
#include "Classes/HWCVerifiedFile.h"

#include <QIcon>
#include <QList>
#include <QString>
#include <memory>
#include <span>
#include <vector>

class HWCASCMHLHistory;
class HWCChecksum;
class HWCChecksumEntry;
class HWCMediaHashList;
class HWCOperationInfo;
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
    static QString descriptionForFiles(const QList<HWCVerifiedFile> &files);

    // Loads every MHL of the source and sets the totals of info(). Called by main().
    void prepare();

    // An MHL that could not be used to check files, and why (HWCMediaHashList::problem()).
    struct UnusableList {
        QString path;
        QString reason;
    };
    // Filled by prepare() on the worker thread; read once the operation has finished.
    const QList<UnusableList> &unusableLists() const { return m_unusableLists; }

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

    HWCOperationState m_state = HWCOperationStatePreparing;

private:
    struct MHLFile {
        QString relativeFolder;
        std::unique_ptr<HWCMediaHashList> list;
    };

    void verifyList(MHLFile &mhl);
    // Checks one entry; false when the rest of the list is abandoned (cancelled).
    bool verifyEntry(const HWCChecksumEntry &entry, const QString &relativeFolder,
                     const QString &root, std::span<const HWCChecksumKinds::Kind> order);
    // Records each manifest of a history that failed its chain or reference check.
    void appendManifestRecords(const HWCASCMHLHistory &history, const QString &relativeFolder);
    // Reads, closes, compares and records one opened file; closes fd in every case.
    void checkOpenedFile(int fd, const HWCChecksumEntry &entry, HWCChecksum &checksum,
                         const QString &relativeFolder, const QString &file);
    void appendRecord(const QString &relativeFolder, const QString &file, HWCFileState state,
                      quint64 bytes, quint64 time);

    std::shared_ptr<HWCSource> m_source;
    HWCOperationInfo *m_info;
    QList<HWCVerifiedFile> m_files;
    std::vector<MHLFile> m_mhlFiles;
    QList<UnusableList> m_unusableLists;
    std::unique_ptr<HWCUncachedReader> m_reader; // while main() runs
};
