#pragma once

#include "engine/files/HWCFileManagerAdditions.h"
#include "engine/mhl/HWCChecksumEntry.h"
#include "engine/operations/HWCOperation.h"
#include "engine/records/HWCTypes.h"
#include "engine/records/HWCVerifiedFile.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <vector>

class HWCOperationInfo;
class HWCSource;

// One source's verification or creation, as the controller, the operation list and the
// reports see it. Constructed on the main thread (its progress record lives there); main()
// runs on a worker thread and posts every change of the record to the main thread. files()
// and state() may be read on the worker thread while running and on any thread once the
// operation has finished; so may everything a report reads.
class HWCSourceOperation : public HWCOperation {
    Q_OBJECT

public:
    ~HWCSourceOperation() override;

    HWCOperationInfo *info() const { return m_info; }
    std::shared_ptr<HWCSource> source() const { return m_source; }
    const QList<HWCVerifiedFile> &files() const { return m_files; }
    QList<HWCVerifiedFile> filesWithState(HWCFileState state, bool invert = false) const;
    // How many files() filesWithState() would give, without copying them.
    qsizetype countWithState(HWCFileState state, bool invert = false) const;

    // Cancels, then emits removeRequested() so that whoever lists it drops it. Main thread.
    void remove();

    // The source whose operation reads the same device and runs first: this one starts when
    // that one has ended (HWCOperationController); null when it does not wait. Main thread.
    const std::shared_ptr<HWCSource> &waitingFor() const { return m_waitingFor; }
    // Set by the controller that queued it; emits waitingForChanged(). Main thread.
    void setWaitingFor(std::shared_ptr<HWCSource> source);

    HWCOperationState state() const { return m_state; }
    virtual HWCActionType actionType() const = 0;
    // How many files the run came to (see each kind for what counts).
    virtual quint64 fileAmount() const = 0;

    // A run that ended Verified OK without checking a single file: every list was empty or
    // unusable. The state says success; nothing that reports to a person may.
    bool verifiedNothing() const
    {
        return m_state == HWCOperationState::VerifiedOK && m_files.isEmpty();
    }

    // An MHL that could not be used to check files, and why (HWCMediaHashList::problem()).
    struct UnusableList {
        QString path;
        QString reason;
    };
    // The lists a verification could not use; none for a creation.
    virtual const QList<UnusableList> &unusableLists() const;
    // An MHL a verification read and checked files against, as the reports describe it.
    struct UsedList {
        QString path;
        QStringList digestKinds; // those its records carry, in the order verification tries them
    };
    // In the order read; none for a creation.
    virtual const QList<UsedList> &usedLists() const;
    // Paths, relative to the folder a verification looked for the listed files in, of the
    // files there that no list names nor a generation of the run records (recordedNew);
    // empty when not searched, when the check did not end by itself, and for a creation.
    virtual const QStringList &unlistedFiles() const;
    // The folders that a verification's scan or search for unlisted files could not look
    // into, each once; a creation records those among files() instead.
    virtual const QList<HWCUnreadableFolder> &unreadableFolders() const;

    // The MHL a creation wrote, or why it could not: path and errors null for a creation that
    // tried no write (cancelled, nothing to list); everything empty for a verification.
    struct WrittenList {
        QString path;            // where it was written; null unless the write succeeded
        QString writeError;      // "<path>: <system error>", or why the write was refused
        QString syncError;       // why the folder could not be synced after a whole write
        QStringList digestKinds; // the kinds every entry carries, in order
        // A sealed verification: the generations it added to histories, deepest first, and
        // why it could not add one to a volume that cannot be written (not a failure); a
        // creation of an ASC MHL history: its generation.
        QStringList recorded;
        QString notRecorded;
        // A sealed verification: the files new since the last generation that one of its
        // generations records, named as unlistedFiles() names them (which then leaves them out).
        QStringList recordedNew;
        // What the list states of each file, in its order; null for a verification.
        std::shared_ptr<const std::vector<HWCChecksumEntry>> files;
    };
    virtual WrittenList writtenList() const;

Q_SIGNALS:
    void removeRequested();
    void waitingForChanged();

protected:
    explicit HWCSourceOperation(std::shared_ptr<HWCSource> source);

    // Ends with warnings: the run did not do everything it should have.
    void mainFailed() override;

    // Worker thread while running.
    void setState(HWCOperationState state) { m_state = state; }
    // Sets the state and posts it to the progress record.
    void publishState(HWCOperationState state);
    void appendFile(const HWCVerifiedFile &file) { m_files.append(file); }
    // Makes room for count records in all, so that a long list's records are not moved as
    // they grow.
    void reserveFiles(qsizetype count) { m_files.reserve(count); }

    // Runs change on the main thread with the progress record. Any thread.
    void postToInfo(std::function<void(HWCOperationInfo *)> change) const;

    // Posts the file now being read to the progress record, at most once per interval: a
    // path set sooner is shown by a later post, at the latest with the next block read or
    // state published. Any thread.
    void postCurrentFile(const QString &relativePath) const;

    // The block handler of an uncached read: false once the operation is cancelled,
    // otherwise posts the block's bytes to the progress record. Reader thread.
    bool countBlock(quint64 length) const;

    // The file state for the errno of a failed open.
    static HWCFileState fileStateForOpenError(int error);
    // How many files to read ahead from the medium beneath folder (HWCMedium), logged at
    // debug level. Worker thread.
    static int readDepthFor(const QString &folder);

private:
    struct CurrentFile;

    // Posts the latest path unless it is shown or on its way.
    void flushCurrentFile() const;
    // Posts the post that shows the latest path, once marked as on its way.
    void showCurrentFile() const;

    std::shared_ptr<HWCSource> m_source;
    std::shared_ptr<HWCSource> m_waitingFor;
    HWCOperationInfo *m_info;
    // Shared with the post that carries it, which may run after the operation is gone.
    std::shared_ptr<CurrentFile> m_currentFile;
    QList<HWCVerifiedFile> m_files;
    HWCOperationState m_state = HWCOperationState::Preparing;
};
