#pragma once

#include "engine/files/HWCExcludedNames.h"
#include "engine/mhl/HWCMediaHashList.h"
#include "engine/operations/HWCVerificationOperation.h"

#include <QString>
#include <memory>

class HWCUncachedReader;

// Makes a new MHL for a source that has none: walks the source's folder, hashes every
// regular file from the medium (XXH64 unless other kinds are set) and writes the list into
// that folder, unless nothing could be listed. Constructed on the main thread like its base;
// main() runs on a worker thread. files() holds one record for each file that could not be
// hashed and each folder that could not be read, paths as a verification holds them. While
// it runs it holds an exclusive flock on the folder: a second creation of the same folder
// is refused at once rather than made to wait, since it would then list the first's list.
class HWCMHLCreateOperation : public HWCVerificationOperation {
    Q_OBJECT

public:
    explicit HWCMHLCreateOperation(std::shared_ptr<HWCSource> source);
    ~HWCMHLCreateOperation() override;

    HWCActionType actionType() const override; // always HWCActionTypeCreate

    // Files the walk handed over that passed the first cancellation test, and folders it
    // could not read (not the number of records). Worker thread while running, any thread once finished.
    quint64 fileAmount() const override { return m_fileAmount; }

    // The digest kinds (element names of HWCChecksumKinds::preferred()) every entry carries,
    // in this order, each computed from the same read. Set before it is queued.
    void setDigestKinds(const QStringList &kinds) { m_digestKinds = kinds; }
    const QStringList &digestKinds() const { return m_digestKinds; }

    // Files whose names match are left out of the list. Set before it is queued.
    void setExcludedNames(const HWCExcludedNames &excludes) { m_excludes = excludes; }

    // Where the list was written; null until the write succeeded. Any thread once finished.
    QString mhlFilePath() const;

    // Why the list could not be written ("<path>: <system error>", or "<folder>: another
    // creation of this folder is running"); null when it was, or when no write was tried
    // (cancelled, nothing to list). Any thread once finished.
    QString mhlWriteError() const;
    // Why the folder could not be synced after the list was written whole at mhlFilePath();
    // null otherwise. Any thread once finished.
    QString mhlSyncError() const;

protected:
    void main() override;

private:
    struct FilePaths {
        QByteArray native; // as the walk gave it
        QString full;
        QString relative; // below the source folder, without a leading "/"
    };

    // What hashing one file came to; made on a reader thread.
    struct FileHash {
        bool skipped = false;    // cancelled before the open: the file does not count
        bool stopped = false;    // cancelled right after the open
        bool cancelled = false;  // cancelled while reading or closing
        HWCFileState result = 0; // the first failure: open, read or close
        QString reason;          // why, in words, where the state alone does not say
        quint64 bytes = 0;
        qint64 modified = 0; // seconds, as the file stood when it was opened
        QList<HWCMediaHashList::Digest> digests;
    };

    // Takes the folder's lock; false, with m_refusal set, when another creation holds it.
    bool lockFolder(const QString &root);
    FilePaths pathsFor(const char *path) const;
    // Queues one file of the walk; its outcome follows those of the files walked before it.
    void submitFile(const char *path);
    // Queues the record of a folder the walk could not read, in walk order.
    void submitUnreadableFolder(const char *path, int error);
    // Opens, reads and closes one file. Reader thread.
    FileHash hashFile(const FilePaths &paths, HWCUncachedReader &reader) const;
    // Reads and closes one opened file; closes fd in every case. Reader thread.
    void hashOpenFile(int fd, HWCUncachedReader &reader, FileHash &hash) const;
    // Records the outcome of one file and lists it, in walk order. Worker thread.
    void finishFile(const FileHash &hash, const FilePaths &paths);
    // A file left out of the list, with why in words where its state alone does not say.
    void appendRecord(const FilePaths &paths, HWCFileState state, quint64 bytes,
                      const QString &reason);

    std::unique_ptr<HWCMediaHashList> m_mhl;
    quint64 m_fileAmount = 0;
    quint64 m_listedFiles = 0;
    int m_folderLock = -1;
    QString m_refusal;
    QStringList m_digestKinds{QString::fromLatin1(HWCChecksumKinds::created().name)};
    HWCExcludedNames m_excludes{QStringList()};
};
