#pragma once

#include "Classes/HWCExcludedNames.h"
#include "Classes/HWCMediaHashList.h"
#include "Classes/HWCVerificationOperation.h"

#include <QString>
#include <memory>

class HWCUncachedReader;

// Makes a new MHL for a source that has none: walks the source's folder, hashes every
// regular file from the medium (XXH64 unless other kinds are set) and writes the list into
// that folder. Constructed
// on the main thread like its base; main() runs on a worker thread. files() holds records
// only for files that could not be hashed.
class HWCMHLCreateOperation : public HWCVerificationOperation {
    Q_OBJECT

public:
    explicit HWCMHLCreateOperation(std::shared_ptr<HWCSource> source);
    ~HWCMHLCreateOperation() override;

    HWCActionType actionType() const override; // always HWCActionTypeCreate

    // Files the walk handed over that passed the first cancellation test (not the number
    // of records). Worker thread while running, any thread once finished.
    quint64 fileAmount() const override { return m_fileAmount; }

    // The digest kinds (element names of HWCChecksumKinds::preferred()) every entry carries,
    // in this order, each computed from the same read. Set before it is queued.
    void setDigestKinds(const QStringList &kinds) { m_digestKinds = kinds; }
    const QStringList &digestKinds() const { return m_digestKinds; }

    // Files whose names match are left out of the list. Set before it is queued.
    void setExcludedNames(const HWCExcludedNames &excludes) { m_excludes = excludes; }

    // Where the list was written; null until the write succeeded. Any thread once finished.
    QString mhlFilePath() const;

    // Why the list could not be written ("<path>: <system error>"); null when it was, or
    // when no write was tried (cancelled). Any thread once finished.
    QString mhlWriteError() const;

protected:
    void main() override;

private:
    struct FilePaths {
        QByteArray native; // as the walk gave it
        QString full;
        QString relative; // the full path without the source folder, so it starts with "/"
        QString folder;
    };

    // What hashing one file came to; made on a reader thread.
    struct FileHash {
        bool skipped = false;         // cancelled before the open: the file does not count
        bool stopped = false;         // cancelled right after the open
        bool cancelled = false;       // cancelled while reading or closing
        HWCFileState openState = 0;   // the open failed
        QList<HWCFileState> failures; // read and close failures, as they happened
        HWCFileState result = 0;
        quint64 bytes = 0;
        QList<HWCMediaHashList::Digest> digests;
    };

    // Queues one file of the walk; its outcome follows those of the files walked before it.
    void submitFile(const char *path, qint64 modified);
    // Opens, reads and closes one file. Reader thread.
    FileHash hashFile(const FilePaths &paths, HWCUncachedReader &reader) const;
    // Reads and closes one opened file; closes fd in every case. Reader thread.
    void hashOpenFile(int fd, HWCUncachedReader &reader, FileHash &hash) const;
    // Records the outcome of one file and lists it, in walk order. Worker thread.
    void finishFile(const FileHash &hash, const FilePaths &paths, qint64 modified);
    void appendFailure(const FilePaths &paths, HWCFileState state);

    std::unique_ptr<HWCMediaHashList> m_mhl;
    quint64 m_fileAmount = 0;
    QStringList m_digestKinds{QString::fromLatin1(HWCChecksumKinds::created().name)};
    HWCExcludedNames m_excludes{QStringList()};
};
