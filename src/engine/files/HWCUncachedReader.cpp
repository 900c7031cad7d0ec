#include "engine/files/HWCUncachedReader.h"

#include "engine/digests/HWCChecksum.h"
#include "engine/files/HWCConfinedFolder.h"
#include "engine/files/HWCReadRing.h"
#include "engine/files/HWIFileHandleAdditions.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

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

// The file's size now, or -1 when it cannot be told.
qint64 sizeOf(int fd)
{
    struct stat status {};
    return fstat(fd, &status) == 0 ? qint64(status.st_size) : -1;
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

HWCUncachedReader::~HWCUncachedReader()
{
    dropNextFile();
}

int HWCUncachedReader::open(std::shared_ptr<const HWCConfinedFolder> folder, const QByteArray &path,
                            QString *why)
{
    m_folder = std::move(folder);
    if (m_next.fd >= 0 && !m_next.claimed && m_next.folder == m_folder && m_next.path == path) {
        m_next.claimed = true;
        return m_next.fd;
    }
    dropNextFile();
    return hwi_fileRegularReadDescriptorBeneath(*m_folder, path, why);
}

void HWCUncachedReader::setNextFile(QByteArray path)
{
    if (m_ring)
        m_nextPath = std::move(path);
}

void HWCUncachedReader::startNextFile(int half)
{
    const QByteArray path = std::exchange(m_nextPath, {});
    if (path.isEmpty() || !m_folder)
        return;
    QString why;
    const int fd = hwi_fileRegularReadDescriptorBeneath(*m_folder, path, &why);
    // Whatever kept it from opening is met again, and reported, by the caller's own open.
    if (fd < 0)
        return;
    m_next = {.folder = m_folder,
              .path = path,
              .fd = fd,
              .direct = hwi_disableCache(fd),
              .half = half,
              .size = sizeOf(fd)};
    m_next.request = requestSize(m_next.size, 0);
    m_ring->submit(fd, m_buffer.data(half), m_next.request, 0);
}

void HWCUncachedReader::dropNextFile()
{
    if (m_next.fd < 0)
        return;
    m_ring->wait();
    if (!m_next.claimed) {
        if (!m_next.direct)
            hwi_dropCache(m_next.fd);
        close(m_next.fd);
    }
    m_next = {};
}

HWCUncachedReader::Outcome HWCUncachedReader::read(int fd, HWCChecksum &checksum,
                                                   const BlockHandler &blockRead)
{
    const bool started = m_next.fd == fd && m_next.claimed;
    if (!started)
        dropNextFile();
    const NextFile next = std::exchange(m_next, {});
    bool direct = started ? next.direct : hwi_disableCache(fd);
    const qint64 size = started ? next.size : sizeOf(fd);
    checksum.reset();
    Outcome outcome;
    if (m_ring)
        readOverlapped(fd, checksum, blockRead, size, direct, outcome, started ? &next : nullptr);
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
                                       qint64 fileSize, bool &direct, Outcome &outcome,
                                       const NextFile *started)
{
    // Explicit offsets: the descriptor's own offset does not move under the ring's reads.
    quint64 first = 0;
    int half = 0;
    quint64 request;
    if (started) {
        half = started->half;
        request = started->request;
    } else {
        const off_t start = lseek(fd, 0, SEEK_CUR);
        first = start > 0 ? quint64(start) : 0;
        request = requestSize(fileSize, 0);
        m_ring->submit(fd, m_buffer.data(half), request, first);
    }
    qint64 count = m_ring->wait();
    for (;;) {
        if (count < 0) {
            outcome.ending = Ending::ReadError;
            outcome.error = int(-count);
            return;
        }
        if (count == 0) {
            startNextFile(half);
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
        request = requestSize(fileSize, next);
        m_ring->submit(fd, m_buffer.data(1 - half), request, first + next);
        // At the size fstat gave, the read just asked for comes back at once, and empty
        // unless the file grew: wait for it now, so that the next file's first read runs
        // while this last block is hashed.
        const bool atEnd = !m_nextPath.isEmpty() && fileSize >= 0 && next >= quint64(fileSize);
        const qint64 following = atEnd ? m_ring->wait() : -1;
        if (atEnd && following == 0)
            startNextFile(1 - half);
        checksum.updateWithBytes(m_buffer.data(half), quint64(count));
        outcome.bytes = next;
        if (atEnd && following == 0)
            return;
        half = 1 - half;
        count = atEnd ? following : m_ring->wait();
    }
}
