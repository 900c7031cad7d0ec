#include "Classes/HWCUncachedReader.h"

#include "Categories/HWIFileHandleAdditions.h"
#include "Classes/HWCChecksum.h"
#include "Classes/HWCReadRing.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// How much to ask of the next read. A direct read that reaches past the end of the file
// makes the kernel zero the rest of the request in the buffer (nearly 1 MiB for a small
// file), so the last block asks only for what the file holds, rounded up to the alignment
// direct reads need. A file that grew is read on in whole blocks.
quint64 requestSize(qint64 fileSize, quint64 done)
{
    constexpr quint64 kAlignment = 4096;
    if (fileSize < 0 || quint64(fileSize) <= done)
        return kHWCReadBlockSize;
    const quint64 remaining = quint64(fileSize) - done;
    if (remaining >= kHWCReadBlockSize)
        return kHWCReadBlockSize;
    return (remaining + kAlignment - 1) / kAlignment * kAlignment;
}

// A short direct read ends at an unaligned offset, where some file systems refuse the next
// direct read instead of reporting the end of the file: read on through the cache.
void leaveDirectAfterShortRead(int fd, quint64 count, quint64 request, bool &direct)
{
    if (direct && count < request) {
        fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_DIRECT);
        direct = false;
    }
}

} // namespace

HWCUncachedReader::HWCUncachedReader() : m_ring(HWCReadRing::make())
{
}

HWCUncachedReader::~HWCUncachedReader() = default;

HWCUncachedReader::Outcome HWCUncachedReader::read(int fd, HWCChecksum &checksum,
                                                   const BlockHandler &blockRead)
{
    bool direct = hwi_disableCache(fd);
    checksum.reset();
    Outcome outcome;
    struct stat status {};
    const qint64 size = fstat(fd, &status) == 0 ? qint64(status.st_size) : -1;
    if (m_ring)
        readOverlapped(fd, checksum, blockRead, size, direct, outcome);
    else
        readInTurn(fd, checksum, blockRead, size, direct, outcome);
    if (!direct)
        hwi_dropCache(fd);
    return outcome;
}

void HWCUncachedReader::readInTurn(int fd, HWCChecksum &checksum, const BlockHandler &blockRead,
                                   qint64 fileSize, bool &direct, Outcome &outcome)
{
    char *const data = m_buffer.data();
    for (;;) {
        const quint64 request = requestSize(fileSize, outcome.bytes);
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
                                       qint64 fileSize, bool &direct, Outcome &outcome)
{
    // Explicit offsets: the descriptor's own offset does not move under the ring's reads.
    const off_t start = lseek(fd, 0, SEEK_CUR);
    const quint64 first = start > 0 ? quint64(start) : 0;
    int half = 0;
    quint64 request = requestSize(fileSize, 0);
    m_ring->submit(fd, m_buffer.data(half), request, first);
    for (;;) {
        const qint64 count = m_ring->wait();
        if (count < 0) {
            outcome.ending = Ending::ReadError;
            outcome.error = int(-count);
            return;
        }
        if (count == 0)
            return;
        // A block that arrives after a cancel was read in full and is dropped here, before
        // anything more is asked of the medium.
        if (!blockRead(quint64(count))) {
            outcome.ending = Ending::Cancelled;
            return;
        }
        leaveDirectAfterShortRead(fd, quint64(count), request, direct);
        const quint64 next = outcome.bytes + quint64(count);
        request = requestSize(fileSize, next);
        m_ring->submit(fd, m_buffer.data(1 - half), request, first + next);
        checksum.updateWithBytes(m_buffer.data(half), quint64(count));
        outcome.bytes = next;
        half = 1 - half;
    }
}
