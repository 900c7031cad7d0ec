#include "engine/files/HWCReadBuffer.h"

#include <cstdint>
#include <cstring>
#include <new>
#include <sys/mman.h>

namespace {

// The buffer sits alone in one 2 MiB-aligned, 2 MiB-long mapping: a transparent huge page
// can only back a whole aligned 2 MiB range of one mapping.
constexpr std::size_t kHugePageSize = 2 * 1024 * 1024;
static_assert(2 * HWCReadBuffer::size() == kHugePageSize, "both halves fill the one page");

char *mapAligned()
{
    const std::size_t span = 2 * kHugePageSize;
    void *raw = mmap(nullptr, span, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (raw == MAP_FAILED)
        throw std::bad_alloc();
    const auto start = reinterpret_cast<std::uintptr_t>(raw);
    const std::uintptr_t aligned = (start + kHugePageSize - 1) & ~(kHugePageSize - 1);
    const std::size_t head = aligned - start;
    if (head > 0)
        munmap(raw, head);
    const std::size_t tail = span - head - kHugePageSize;
    if (tail > 0)
        munmap(reinterpret_cast<void *>(aligned + kHugePageSize), tail);
    return reinterpret_cast<char *>(aligned);
}

} // namespace

HWCReadBuffer::HWCReadBuffer() : m_data(mapAligned())
{
    // Advice only: without huge pages direct reads still work, they are just split into
    // more device requests. DONTFORK keeps a forked child from sharing pages that a
    // direct read is filling.
    madvise(m_data, kHugePageSize, MADV_HUGEPAGE);
    madvise(m_data, kHugePageSize, MADV_DONTFORK);
    // Fault the page in now rather than during the first timed read.
    std::memset(m_data, 0, kHugePageSize);
}

HWCReadBuffer::~HWCReadBuffer()
{
    munmap(m_data, kHugePageSize);
}
