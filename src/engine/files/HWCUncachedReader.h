#pragma once

#include "engine/files/HWCReadAhead.h"
#include "engine/files/HWCReadBuffer.h"

#include <QByteArray>
#include <QString>
#include <functional>
#include <memory>

class HWCChecksum;
class HWCConfinedFolder;
class HWCReadRing;

// Feeds a checksum the whole of an open file from the medium rather than the page cache,
// one block of at most 1 MiB per read, through its own aligned buffer. While one block is
// hashed the next is already being read into the other half of the buffer (io_uring);
// where the kernel refuses io_uring it reads and hashes in turn. Either way the blocks, the
// handler's calls and the outcome are the same. Told which files come next, it opens them
// and starts their first reads before they are asked for (HWCReadAhead): the next one while
// the last block of the current one is hashed, or with a depth above one up to that many
// small files at once, so that small files do not leave the medium idle between them.
// Made, used and destroyed on one thread.
class HWCUncachedReader {
public:
    enum class Ending {
        EndOfFile,
        ReadError, // a read failed; error holds its errno
        Cancelled, // the block handler asked to stop
    };

    struct Outcome {
        Ending ending = Ending::EndOfFile;
        quint64 bytes = 0; // bytes hashed
        int error = 0;
    };

    // Called with the length of each block just read, before it is hashed; returning false
    // stops the read there, that block neither hashed nor counted. No read of this file is
    // in flight once read() has returned (some of the files expected may be).
    using BlockHandler = std::function<bool(quint64 length)>;

    // depth: how many files expected may be open and read ahead at once (1 to
    // HWCReadAhead::kMaxDepth).
    explicit HWCUncachedReader(int depth = 1);
    // Waits for the reads of expected files still in flight.
    ~HWCUncachedReader();

    // Opens path beneath folder for read() as a regular file (see
    // hwi_fileRegularReadDescriptorBeneath): the descriptor already opened for it when it was
    // expected, else a new one. The descriptor must be read by read() or closed before the
    // next open().
    int open(std::shared_ptr<const HWCConfinedFolder> folder, const QByteArray &path, QString *why);
    // Adds path to the files that the open()s after the next read() will most likely ask
    // for, in order, beneath the folder of the last open(): they are opened and their reads
    // started as reads end. Without io_uring, or when one cannot be opened then, it is simply
    // opened when asked for; one that is never asked for has its read completed and
    // discarded once a later one is asked for, or when the reader is destroyed.
    void expectFile(QByteArray path);

    // Resets checksum and reads fd from its current offset to the end. Direct I/O where the
    // file system takes it, else buffered reads with the file's cached pages dropped before
    // and after. Leaves fd open, its offset unspecified.
    Outcome read(int fd, HWCChecksum &checksum, const BlockHandler &blockRead);

    // Whether blocks are read while the previous one is hashed.
    bool isOverlapped() const { return m_ring != nullptr; }

private:
    void readInTurn(int fd, HWCChecksum &checksum, const BlockHandler &blockRead, qint64 fileSize,
                    bool &direct, Outcome &outcome);
    void readOverlapped(int fd, HWCChecksum &checksum, const BlockHandler &blockRead,
                        qint64 fileSize, bool &direct, Outcome &outcome,
                        const HWCReadAhead::File *started);
    // Opens and starts the files expected; half, when not -1, is free for the next one.
    void startAhead(int half);

    HWCReadBuffer m_buffer;
    std::unique_ptr<HWCReadRing> m_ring;
    std::unique_ptr<HWCReadAhead> m_ahead;             // with a ring
    std::shared_ptr<const HWCConfinedFolder> m_folder; // of the last open()
};
