#include "engine/files/HWCReadRing.h"

#include "engine/session/HWCLog.h"

#include <cerrno>
#include <cstring>
#include <liburing.h>
#include <unistd.h>

namespace {

// One read in flight, and one being hashed from the other half of the buffer.
constexpr unsigned kRingDepth = 2;

} // namespace

std::unique_ptr<HWCReadRing> HWCReadRing::make()
{
    auto ring = std::make_unique<io_uring>();
    const int result = io_uring_queue_init(kRingDepth, ring.get(), 0);
    if (result < 0) {
        HWCLogDebug(QStringLiteral("io_uring is not available (%1); reading and hashing in turn")
                        .arg(QString::fromLocal8Bit(std::strerror(-result))));
        return nullptr;
    }
    return std::unique_ptr<HWCReadRing>(new HWCReadRing(std::move(ring)));
}

HWCReadRing::HWCReadRing(std::unique_ptr<io_uring> ring) : m_ring(std::move(ring))
{
}

HWCReadRing::~HWCReadRing()
{
    io_uring_queue_exit(m_ring.get());
}

void HWCReadRing::submit(int fd, char *data, quint64 length, quint64 offset)
{
    m_fd = fd;
    m_data = data;
    m_length = length;
    m_offset = offset;
    io_uring_sqe *entry = io_uring_get_sqe(m_ring.get());
    m_submitFailed = entry == nullptr;
    if (m_submitFailed)
        return;
    io_uring_prep_read(entry, fd, data, unsigned(length), offset);
    m_submitFailed = io_uring_submit(m_ring.get()) != 1;
}

qint64 HWCReadRing::wait()
{
    qint64 result = -EAGAIN;
    if (!m_submitFailed) {
        io_uring_cqe *completion = nullptr;
        int waited;
        // A signal handled on this thread interrupts the wait, not the read.
        while ((waited = io_uring_wait_cqe(m_ring.get(), &completion)) == -EINTR) {
        }
        if (waited == 0) {
            result = completion->res;
            io_uring_cqe_seen(m_ring.get(), completion);
        } else {
            result = waited;
        }
    }
    if (result != -EAGAIN && result != -EINTR)
        return result;
    // The ring could not take or finish the read; do it here instead.
    ssize_t count;
    while ((count = pread(m_fd, m_data, m_length, off_t(m_offset))) < 0 && errno == EINTR) {
    }
    return count < 0 ? -qint64(errno) : qint64(count);
}
