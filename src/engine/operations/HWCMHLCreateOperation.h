#pragma once

#include "engine/files/HWCExcludedNames.h"
#include "engine/mhl/HWCMHLWriter.h"
#include "engine/operations/HWCOperationParameters.h"
#include "engine/operations/HWCSourceOperation.h"

#include <QString>
#include <memory>
#include <optional>

class HWCASCMHLNewGeneration;
class HWCOrderedReads;
class HWCConfinedFolder;
class HWCUncachedReader;

// Makes a new MHL for a source that has none: walks the source's folder, hashes every
// regular file from the medium and writes the list into that folder, unless nothing could be
// listed: an MHL 1.1 list, or the first generation of an ASC MHL history (whose ignore
// patterns and nested histories leave files out). Reads jobs, readDepth, listFormat,
// digestKinds, excludes and ascmhl of its parameters (see HWCSourceOperation for
// threads). files() holds one record for each file that could not be hashed and each folder
// that could not be read, paths as a verification holds them. While it runs it holds an
// exclusive flock on the folder: a second creation of the same folder is refused at once
// rather than made to wait, since it would then list the first's list.
class HWCMHLCreateOperation final : public HWCSourceOperation {
    Q_OBJECT

public:
    explicit HWCMHLCreateOperation(const HWCOperationParameters &parameters);
    ~HWCMHLCreateOperation() override;

    HWCActionType actionType() const override { return HWCActionType::Create; }

    // Files the walk handed over that passed the first cancellation test, and folders it
    // could not read (not the number of records). Worker thread while running, any thread
    // once finished.
    quint64 fileAmount() const override { return m_fileAmount; }

    // Any thread once finished: the write error also tells a refused folder ("<folder>:
    // another creation of this folder is running").
    WrittenList writtenList() const override;

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
        bool skipped = false;               // cancelled before the open: the file does not count
        bool stopped = false;               // cancelled right after the open
        bool cancelled = false;             // cancelled while reading or closing
        std::optional<HWCFileState> result; // the first failure: open, read or close
        QString reason;                     // why, in words, where the state alone does not say
        quint64 bytes = 0;
        qint64 modified = 0; // seconds, as the file stood when it was opened
        QList<HWCMHLWriter::Digest> digests;
    };

    // Takes the lock of the folder open as folder; false, with m_refusal set, when another
    // creation holds it.
    bool lockFolder(int folder, const QString &root);
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

    // Whether the walk leaves the file out of the list.
    bool leavesOut(const char *path);
    // Writes the list of what was hashed.
    void writeList(const QString &root);

    const int m_jobs;
    const int m_readDepth;
    const HWCListFormat m_format;
    const QStringList m_digestKinds;
    const HWCExcludedNames m_excludes;
    const HWCASCMHLSettings m_ascmhl;
    // While main() runs: the source's folder, which the reads stay beneath, and the files
    // being hashed.
    std::shared_ptr<const HWCConfinedFolder> m_sourceFolder;
    std::unique_ptr<HWCOrderedReads> m_reads;
    std::unique_ptr<HWCMHLWriter> m_mhl;
    std::unique_ptr<HWCASCMHLNewGeneration> m_generation; // the history's, instead of m_mhl
    quint64 m_fileAmount = 0;
    quint64 m_listedFiles = 0;
    QString m_refusal;
};
