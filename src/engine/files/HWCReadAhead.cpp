#include "engine/files/HWCReadAhead.h"

#include "engine/files/HWCConfinedFolder.h"
#include "engine/files/HWCMedium.h"
#include "engine/files/HWIFileHandleAdditions.h"

#include <QString>
#include <algorithm>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

static_assert(HWCMedium::kDeepQueue <= HWCReadAhead::kMaxDepth, "a slot for every file ahead");

HWCReadAhead::HWCReadAhead(HWCReadRing &ring, int depth)
    : m_ring(ring), m_depth(std::clamp(depth, 1, kMaxDepth))
{
    if (m_depth > 1) {
        m_slots = std::make_unique<HWCReadBuffer>();
        m_slotUsed.assign(std::size_t(m_depth), false);
    }
}

HWCReadAhead::~HWCReadAhead()
{
    for (File &file : m_files)
        drop(file);
}

quint64 HWCReadAhead::requestSize(qint64 fileSize, quint64 done)
{
    // A direct read that reaches past the end of the file makes the kernel zero the rest of
    // the request in the buffer (nearly 1 MiB for a small file), so the last block asks only
    // for what the file holds, rounded up to the alignment direct reads need. A file that
    // grew is read on in whole blocks.
    constexpr quint64 kAlignment = 4096;
    if (fileSize < 0 || quint64(fileSize) <= done)
        return kHWCReadBlockSize;
    const quint64 remaining = quint64(fileSize) - done;
    if (remaining >= kHWCReadBlockSize)
        return kHWCReadBlockSize;
    return (remaining + kAlignment - 1) / kAlignment * kAlignment;
}

qint64 HWCReadAhead::sizeOf(int fd)
{
    struct stat status {};
    return fstat(fd, &status) == 0 ? qint64(status.st_size) : -1;
}

void HWCReadAhead::expect(QByteArray path)
{
    m_expected.push_back(std::move(path));
    // Once nothing is read any more (a cancelled creation walks on to the end of its tree),
    // files go on being expected and are never asked for: the oldest are forgotten.
    if (m_expected.size() > 2 * std::size_t(m_depth) + 2)
        m_expected.pop_front();
}

void HWCReadAhead::start(const std::shared_ptr<const HWCConfinedFolder> &folder,
                         const HWCReadBuffer &buffer, int &freeHalf)
{
    // Only the next file may take a half: reading it on takes the other one.
    bool next = true;
    const auto startUnlessStarted = [&](File &file) {
        int none = -1;
        if (!file.ticket)
            startRead(file, buffer, next ? freeHalf : none);
        next = false;
    };
    for (File &file : m_files) {
        if (!file.claimed)
            startUnlessStarted(file);
    }
    // New files are opened a batch at a time, so that their reads reach the device together.
    const bool room = m_depth - int(m_files.size()) >= std::max(1, m_depth / 4);
    while (room && folder && int(m_files.size()) < m_depth && !m_expected.empty()) {
        const QByteArray path = std::move(m_expected.front());
        m_expected.pop_front();
        QString why;
        const int fd = hwi_fileRegularReadDescriptorBeneath(*folder, path, &why);
        // Whatever kept it from opening is met again, and reported, by the caller's own open.
        if (fd < 0)
            continue;
        File &file = m_files.emplace_back();
        file.folder = folder;
        file.path = path;
        file.fd = fd;
        file.direct = hwi_disableCache(fd);
        file.size = sizeOf(fd);
        startUnlessStarted(file);
    }
    m_ring.submit();
}

void HWCReadAhead::startRead(File &file, const HWCReadBuffer &buffer, int &freeHalf)
{
    file.request = requestSize(file.size, 0);
    const int slot = file.size >= 0 && quint64(file.size) <= kSlotSize ? freeSlot() : -1;
    if (slot >= 0) {
        m_slotUsed[std::size_t(slot)] = true;
        file.slot = slot;
        file.data = m_slots->bytes() + quint64(slot) * kSlotSize;
        file.request = std::min(file.request, kSlotSize);
    } else if (freeHalf >= 0) {
        file.half = std::exchange(freeHalf, -1);
        file.data = buffer.data(file.half);
    } else {
        return;
    }
    file.ticket = m_ring.prepare(file.fd, file.data, file.request, 0);
}

int HWCReadAhead::freeSlot() const
{
    const auto free = std::find(m_slotUsed.begin(), m_slotUsed.end(), false);
    return free == m_slotUsed.end() ? -1 : int(free - m_slotUsed.begin());
}

int HWCReadAhead::claim(const std::shared_ptr<const HWCConfinedFolder> &folder,
                        const QByteArray &path)
{
    const auto opened = std::find_if(m_files.begin(), m_files.end(), [&](const File &file) {
        return !file.claimed && file.folder == folder && file.path == path;
    });
    if (opened != m_files.end()) {
        // Expected before it and never asked for: the caller went past them.
        const auto skipped = opened - m_files.begin();
        for (auto i = 0; i < skipped; ++i) {
            drop(m_files.front());
            m_files.pop_front();
        }
        m_files.front().claimed = true;
        return m_files.front().fd;
    }
    const auto expected = std::find(m_expected.begin(), m_expected.end(), path);
    if (expected != m_expected.end()) {
        m_expected.erase(m_expected.begin(), expected + 1);
        for (File &file : m_files)
            drop(file);
        m_files.clear();
    }
    return -1;
}

std::optional<HWCReadAhead::File> HWCReadAhead::take(int fd)
{
    const auto claimed = std::find_if(m_files.begin(), m_files.end(), [fd](const File &file) {
        return file.claimed && file.fd == fd;
    });
    if (claimed == m_files.end())
        return std::nullopt;
    File file = std::move(*claimed);
    m_files.erase(claimed);
    return file;
}

void HWCReadAhead::release(const File &file)
{
    if (file.slot >= 0)
        m_slotUsed[std::size_t(file.slot)] = false;
}

void HWCReadAhead::vacateHalves()
{
    for (File &file : m_files) {
        if (file.half < 0)
            continue;
        m_ring.wait(*file.ticket);
        file.ticket.reset();
        file.half = -1;
        file.data = nullptr;
    }
}

void HWCReadAhead::drop(File &file)
{
    if (file.ticket)
        m_ring.wait(*file.ticket);
    release(file);
    if (!file.claimed) {
        if (!file.direct)
            hwi_dropCache(file.fd);
        close(file.fd);
    }
}
