#pragma once

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
// handler's calls and the outcome are the same. Told which file comes next, it opens that
// file and starts its first read while the last block of the current one is hashed, so that
// small files do not leave the medium idle between them. Made, used and destroyed on one
// thread.
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
    // in flight once read() has returned (one of the next file may be).
    using BlockHandler = std::function<bool(quint64 length)>;

    HWCUncachedReader();
    // Waits for a read of the next file still in flight.
    ~HWCUncachedReader();

    // Opens path beneath folder for read() as a regular file (see
    // hwi_fileRegularReadDescriptorBeneath): the descriptor already opened for it when it was
    // named by setNextFile(), else a new one. The descriptor must be read by read() or closed
    // before the next open().
    int open(std::shared_ptr<const HWCConfinedFolder> folder, const QByteArray &path, QString *why);
    // Names the file that the open() after the next read() will most likely ask for (none
    // when empty), beneath the folder of the last open(): its open and first read start as
    // that read ends. Without io_uring, or when it cannot be opened then, it is simply opened
    // later; one that is never asked for has its read completed and discarded.
    void setNextFile(QByteArray path);

    // Resets checksum and reads fd from its current offset to the end. Direct I/O where the
    // file system takes it, else buffered reads with the file's cached pages dropped before
    // and after. Leaves fd open, its offset unspecified.
    Outcome read(int fd, HWCChecksum &checksum, const BlockHandler &blockRead);

    // Whether blocks are read while the previous one is hashed.
    bool isOverlapped() const { return m_ring != nullptr; }

private:
    // The next file, opened and with its first block in flight, until read() takes it.
    struct NextFile {
        std::shared_ptr<const HWCConfinedFolder> folder;
        QByteArray path;
        int fd = -1;
        bool claimed = false; // handed out by open(): the caller owns fd
        bool direct = false;
        int half = 0;
        quint64 request = 0;
        qint64 size = -1;
    };

    void startNextFile(int half);
    // Completes and discards the next file's read; closes it unless it was handed out.
    void dropNextFile();
    void readInTurn(int fd, HWCChecksum &checksum, const BlockHandler &blockRead, qint64 fileSize,
                    bool &direct, Outcome &outcome);
    void readOverlapped(int fd, HWCChecksum &checksum, const BlockHandler &blockRead,
                        qint64 fileSize, bool &direct, Outcome &outcome, const NextFile *started);

    HWCReadBuffer m_buffer;
    std::unique_ptr<HWCReadRing> m_ring;
    std::shared_ptr<const HWCConfinedFolder> m_folder; // of the last open()
    QByteArray m_nextPath;                             // named, not yet started
    NextFile m_next;
};
