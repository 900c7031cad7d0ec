#pragma once

#include "Classes/HWCReadBuffer.h"

#include <functional>

class HWCChecksum;

// Feeds a checksum the whole of an open file from the medium rather than the page cache,
// one block of at most 1 MiB per read, through its own aligned buffer. Made, used and
// destroyed on one worker thread.
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
    // stops the read there, that block neither hashed nor counted.
    using BlockHandler = std::function<bool(quint64 length)>;

    // Resets checksum and reads fd from its current offset to the end. Direct I/O where the
    // file system takes it, else buffered reads with the file's cached pages dropped before
    // and after. Leaves fd open.
    Outcome read(int fd, HWCChecksum &checksum, const BlockHandler &blockRead);

private:
    HWCReadBuffer m_buffer;
};
