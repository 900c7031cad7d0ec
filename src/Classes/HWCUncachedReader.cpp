#include "Classes/HWCUncachedReader.h"

#include "Categories/HWIFileHandleAdditions.h"
#include "Classes/HWCChecksum.h"

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

} // namespace

HWCUncachedReader::Outcome HWCUncachedReader::read(int fd, HWCChecksum &checksum,
                                                   const BlockHandler &blockRead)
{
    bool direct = hwi_disableCache(fd);
    checksum.reset();
    Outcome outcome;
    char *const data = m_buffer.data();
    struct stat status {};
    const qint64 size = fstat(fd, &status) == 0 ? qint64(status.st_size) : -1;
    for (;;) {
        const quint64 request = requestSize(size, outcome.bytes);
        const ssize_t count = ::read(fd, data, request);
        if (count < 0) {
            outcome.ending = Ending::ReadError;
            outcome.error = errno;
            break;
        }
        if (count == 0)
            break;
        if (!blockRead(quint64(count))) {
            outcome.ending = Ending::Cancelled;
            break;
        }
        checksum.updateWithBytes(data, quint64(count));
        outcome.bytes += quint64(count);
        if (direct && quint64(count) < request) {
            // A short direct read ends at an unaligned offset, where some file systems
            // refuse the next direct read instead of reporting the end of the file.
            fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_DIRECT);
            direct = false;
        }
    }
    if (!direct)
        hwi_dropCache(fd);
    return outcome;
}
