#pragma once

#include "Classes/HWCReadBuffer.h"

#include <functional>
#include <memory>

class HWCChecksum;
class HWCReadRing;

// Feeds a checksum the whole of an open file from the medium rather than the page cache,
// one block of at most 1 MiB per read, through its own aligned buffer. While one block is
// hashed the next is already being read into the other half of the buffer (io_uring);
// where the kernel refuses io_uring it reads and hashes in turn. Either way the blocks, the
// handler's calls and the outcome are the same. Made, used and destroyed on one thread.
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
    // stops the read there, that block neither hashed nor counted. No read is in flight
    // once read() has returned.
    using BlockHandler = std::function<bool(quint64 length)>;

    HWCUncachedReader();
    ~HWCUncachedReader();

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
                        qint64 fileSize, bool &direct, Outcome &outcome);

    HWCReadBuffer m_buffer;
    std::unique_ptr<HWCReadRing> m_ring;
};
