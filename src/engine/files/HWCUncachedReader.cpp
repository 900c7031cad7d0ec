#include "engine/files/HWCUncachedReader.h"

#include "engine/digests/HWCChecksum.h"
#include "engine/files/HWCConfinedFolder.h"
#include "engine/files/HWCReadRing.h"
#include "engine/files/HWIFileHandleAdditions.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace {

// A short direct read ends at an unaligned offset, where some file systems refuse the next
// direct read instead of reporting the end of the file: read on through the cache.
void leaveDirectAfterShortRead(int fd, quint64 count, quint64 request, bool &direct)
{
    if (direct && count < request) {
        fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_DIRECT);
        direct = false;
    }
}

// Reads in flight at once: two halves of the buffer and every slot of the files read ahead.
unsigned ringDepthFor(int depth)
{
    return 2 + unsigned(depth > 1 ? std::min(depth, HWCReadAhead::kMaxDepth) : 0);
}

} // namespace

HWCUncachedReader::HWCUncachedReader(int depth) : m_ring(HWCReadRing::make(ringDepthFor(depth)))
{
    if (m_ring)
        m_ahead = std::make_unique<HWCReadAhead>(*m_ring, depth);
}

HWCUncachedReader::~HWCUncachedReader()
{
    // Its reads use the ring and the buffer.
    m_ahead.reset();
}

int HWCUncachedReader::open(std::shared_ptr<const HWCConfinedFolder> folder, const QByteArray &path,
                            QString *why)
{
    m_folder = std::move(folder);
    const int claimed = m_ahead ? m_ahead->claim(m_folder, path) : -1;
    return claimed >= 0 ? claimed : hwi_fileRegularReadDescriptorBeneath(*m_folder, path, why);
}

void HWCUncachedReader::expectFile(QByteArray path)
{
    if (m_ahead)
        m_ahead->expect(std::move(path));
}

void HWCUncachedReader::startAhead(int half)
{
    m_ahead->start(m_folder, m_buffer, half);
}

HWCUncachedReader::Outcome HWCUncachedReader::read(int fd, HWCChecksum &checksum,
                                                   const BlockHandler &blockRead)
{
    std::optional<HWCReadAhead::File> started = m_ahead ? m_ahead->take(fd) : std::nullopt;
    if (started && !started->ticket)
        started.reset(); // opened ahead, but its read had no place to go yet
    // Both halves of the buffer are this file's, unless its first read already holds one.
    if (m_ahead && !(started && started->half >= 0))
        m_ahead->vacateHalves();
    bool direct = started ? started->direct : hwi_disableCache(fd);
    const qint64 size = started ? started->size : HWCReadAhead::sizeOf(fd);
    checksum.reset();
    Outcome outcome;
    if (m_ring)
        readOverlapped(fd, checksum, blockRead, size, direct, outcome,
                       started ? &*started : nullptr);
    else
        readInTurn(fd, checksum, blockRead, size, direct, outcome);
    if (started)
        m_ahead->release(*started);
    if (!direct)
        hwi_dropCache(fd);
    // The slot just hashed from is free for a file further on.
    if (m_ahead && outcome.ending == Ending::EndOfFile)
        startAhead(-1);
    return outcome;
}

void HWCUncachedReader::readInTurn(int fd, HWCChecksum &checksum, const BlockHandler &blockRead,
                                   qint64 fileSize, bool &direct, Outcome &outcome)
{
    char *const data = m_buffer.data();
    for (;;) {
        const quint64 request = HWCReadAhead::requestSize(fileSize, outcome.bytes);
        const ssize_t count = ::read(fd, data, request);
        if (count < 0) {
            outcome.ending = Ending::ReadError;
            outcome.error = errno;
            return;
        }
        if (count == 0)
            return;
        if (!blockRead(quint64(count))) {
            outcome.ending = Ending::Cancelled;
            return;
        }
        checksum.updateWithBytes(data, quint64(count));
        outcome.bytes += quint64(count);
        leaveDirectAfterShortRead(fd, quint64(count), request, direct);
    }
}

void HWCUncachedReader::readOverlapped(int fd, HWCChecksum &checksum, const BlockHandler &blockRead,
                                       qint64 fileSize, bool &direct, Outcome &outcome,
                                       const HWCReadAhead::File *started)
{
    // Explicit offsets: the descriptor's own offset does not move under the ring's reads.
    quint64 first = 0;
    // The block being read: into a slot (half -1) or into a half of the buffer.
    int half = 0;
    char *data = m_buffer.data(0);
    quint64 request;
    HWCReadRing::Ticket ticket;
    if (started) {
        half = started->half;
        data = started->data;
        request = started->request;
        ticket = *started->ticket;
    } else {
        const off_t start = lseek(fd, 0, SEEK_CUR);
        first = start > 0 ? quint64(start) : 0;
        request = HWCReadAhead::requestSize(fileSize, 0);
        ticket = m_ring->prepare(fd, data, request, first);
    }
    qint64 count = m_ring->wait(ticket);
    for (;;) {
        if (count < 0) {
            outcome.ending = Ending::ReadError;
            outcome.error = int(-count);
            return;
        }
        if (count == 0) {
            startAhead(half < 0 ? 0 : half);
            return;
        }
        // A block that arrives after a cancel was read in full and is dropped here, before
        // anything more is asked of the medium.
        if (!blockRead(quint64(count))) {
            outcome.ending = Ending::Cancelled;
            return;
        }
        leaveDirectAfterShortRead(fd, quint64(count), request, direct);
        const quint64 next = outcome.bytes + quint64(count);
        const int nextHalf = half < 0 ? 0 : 1 - half;
        request = HWCReadAhead::requestSize(fileSize, next);
        ticket = m_ring->prepare(fd, m_buffer.data(nextHalf), request, first + next);
        // At the size fstat gave, the read just asked for comes back at once, and empty
        // unless the file grew: wait for it now, so that the files expected are read while
        // this last block is hashed.
        const bool atEnd = fileSize >= 0 && next >= quint64(fileSize);
        if (!atEnd)
            m_ring->submit();
        const qint64 following = atEnd ? m_ring->wait(ticket) : -1;
        if (atEnd && following == 0)
            startAhead(nextHalf);
        checksum.updateWithBytes(data, quint64(count));
        outcome.bytes = next;
        if (atEnd && following == 0)
            return;
        half = nextHalf;
        data = m_buffer.data(half);
        count = atEnd ? following : m_ring->wait(ticket);
    }
}
