#pragma once

#include "engine/files/HWCReadBuffer.h"
#include "engine/files/HWCReadRing.h"

#include <QByteArray>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

class HWCConfinedFolder;

// The files a reader was told it will be asked for next, opened before it is asked and with
// their first read already in flight, so that the medium is never left waiting between
// files. With a depth of one only the next file is started, into a half of the reader's
// buffer that its current file no longer needs. With more, every small file (at most
// kSlotSize bytes) is read whole into a slot of its own while the files before it are
// hashed, up to depth files at once: a solid-state medium serves many reads together far
// faster than one after another. A larger file still takes a half of the buffer, and only
// when it is the next one. Made, used and destroyed on the reader's thread.
class HWCReadAhead {
public:
    static constexpr quint64 kSlotSize = 64 * 1024;
    static constexpr int kMaxDepth = int(HWCReadBuffer::span() / kSlotSize);

    // A file opened ahead.
    struct File {
        std::shared_ptr<const HWCConfinedFolder> folder;
        QByteArray path;
        int fd = -1;
        bool claimed = false; // handed out by claim(): the caller owns fd
        bool direct = false;
        qint64 size = -1; // when it was opened; -1 when it could not be told
        // Its first read, from offset 0, when started: into its slot or into half.
        std::optional<HWCReadRing::Ticket> ticket;
        char *data = nullptr;
        quint64 request = 0;
        int slot = -1;
        int half = -1;
    };

    // depth is clamped to 1..kMaxDepth.
    HWCReadAhead(HWCReadRing &ring, int depth);
    // Completes and drops every file still held.
    ~HWCReadAhead();
    HWCReadAhead(const HWCReadAhead &) = delete;
    HWCReadAhead &operator=(const HWCReadAhead &) = delete;

    // Adds path to the files expected, after those expected before; of more than twice the
    // depth not yet opened, the oldest is forgotten.
    void expect(QByteArray path);
    // Opens expected files beneath folder while fewer than depth are held, and starts the
    // first read of each that has a place to read into. freeHalf, when not -1, is the half of
    // buffer that the next file may read into (it is then no longer free).
    void start(const std::shared_ptr<const HWCConfinedFolder> &folder, const HWCReadBuffer &buffer,
               int &freeHalf);
    // The descriptor opened ahead for path beneath folder, or -1 when there is none; the files
    // expected before it are dropped either way, once it is among those expected.
    int claim(const std::shared_ptr<const HWCConfinedFolder> &folder, const QByteArray &path);
    // Removes the claimed file of descriptor fd and returns it, to be read from its first
    // read on; the reader then calls release() once done with its bytes.
    std::optional<File> take(int fd);
    void release(const File &file);
    // Completes and forgets the reads held in halves of the buffer, which the reader is about
    // to use for a file of its own; those files stay open, to be read from the start.
    void vacateHalves();

    // How much to ask of the read at offset done of a file of fileSize bytes (-1: unknown).
    static quint64 requestSize(qint64 fileSize, quint64 done);
    // The size of the open file now, or -1 when it cannot be told.
    static qint64 sizeOf(int fd);

private:
    void startRead(File &file, const HWCReadBuffer &buffer, int &freeHalf);
    void drop(File &file);
    int freeSlot() const;

    HWCReadRing &m_ring;
    const int m_depth;
    std::unique_ptr<HWCReadBuffer> m_slots; // with a depth above one
    std::vector<bool> m_slotUsed;
    std::deque<QByteArray> m_expected; // not opened yet
    std::deque<File> m_files;          // opened, in the order expected
};
