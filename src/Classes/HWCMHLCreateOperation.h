#pragma once

#include "Classes/HWCVerificationOperation.h"

#include <QString>
#include <memory>

class HWCUncachedReader;
struct stat;

// Makes a new MHL for a source that has none: walks the source's folder, hashes every
// regular file with XXH64 from the medium and writes the list into that folder. Constructed
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

    // Where the list was written; null until the write succeeded. Any thread once finished.
    QString mhlFilePath() const;

    // Why the list could not be written ("<path>: <system error>"); null when it was, or
    // when no write was tried (cancelled). Any thread once finished.
    QString mhlWriteError() const;

protected:
    void main() override;

private:
    struct FilePaths {
        QString full;
        QString relative; // the full path without the source folder, so it starts with "/"
        QString folder;
    };

    void hashFile(const char *path, const struct stat &status);
    // Reads, closes and records a failure of one opened file; closes fd in every case.
    HWCFileState hashOpenFile(int fd, const FilePaths &paths, quint64 &bytes, QByteArray &digest);
    void appendFailure(const FilePaths &paths, HWCFileState state);

    std::unique_ptr<HWCMediaHashList> m_mhl;
    std::unique_ptr<HWCUncachedReader> m_reader; // while main() runs
    quint64 m_fileAmount = 0;
};
