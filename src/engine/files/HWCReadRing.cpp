#include "engine/files/HWCReadRing.h"

#include "engine/session/HWCLog.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <liburing.h>
#include <unistd.h>

std::unique_ptr<HWCReadRing> HWCReadRing::make(unsigned depth)
{
    auto ring = std::make_unique<io_uring>();
    const int result = io_uring_queue_init(depth, ring.get(), 0);
    if (result < 0) {
        HWCLogDebug(QStringLiteral("io_uring is not available (%1); reading and hashing in turn")
                        .arg(QString::fromLocal8Bit(std::strerror(-result))));
        return nullptr;
    }
    return std::unique_ptr<HWCReadRing>(new HWCReadRing(std::move(ring), depth));
}

HWCReadRing::HWCReadRing(std::unique_ptr<io_uring> ring, unsigned depth) : m_ring(std::move(ring))
{
    m_reads.reserve(depth);
}

HWCReadRing::~HWCReadRing()
{
    io_uring_queue_exit(m_ring.get());
}

HWCReadRing::Ticket HWCReadRing::prepare(int fd, char *data, quint64 length, quint64 offset)
{
    Read &read = m_reads.emplace_back();
    read = {.ticket = ++m_lastTicket, .fd = fd, .data = data, .length = length, .offset = offset};
    io_uring_sqe *entry = io_uring_get_sqe(m_ring.get());
    if (!entry) {
        submit();
        entry = io_uring_get_sqe(m_ring.get());
    }
    read.submitFailed = entry == nullptr;
    if (entry) {
        io_uring_prep_read(entry, fd, data, unsigned(length), offset);
        io_uring_sqe_set_data64(entry, read.ticket);
    }
    return read.ticket;
}

void HWCReadRing::submit()
{
    // Reads the kernel did not take stay queued; wait() hands them over again.
    while (io_uring_submit(m_ring.get()) == -EINTR) {
    }
}

bool HWCReadRing::reap()
{
    io_uring_cqe *completion = nullptr;
    int result;
    // One call both hands over what is prepared and waits. A signal handled on this thread
    // interrupts the wait, not the read.
    while ((result = io_uring_peek_cqe(m_ring.get(), &completion)) == -EAGAIN) {
        result = io_uring_submit_and_wait(m_ring.get(), 1);
        if (result < 0 && result != -EINTR)
            return false;
    }
    if (result != 0)
        return false;
    const Ticket ticket = io_uring_cqe_get_data64(completion);
    const auto read = std::find_if(m_reads.begin(), m_reads.end(),
                                   [ticket](const Read &read) { return read.ticket == ticket; });
    if (read != m_reads.end()) {
        read->done = true;
        read->result = completion->res;
    }
    io_uring_cqe_seen(m_ring.get(), completion);
    return true;
}

qint64 HWCReadRing::wait(Ticket ticket)
{
    const auto find = [this, ticket] {
        return std::find_if(m_reads.begin(), m_reads.end(),
                            [ticket](const Read &read) { return read.ticket == ticket; });
    };
    auto read = find();
    if (read == m_reads.end())
        return -EINVAL;
    while (!read->submitFailed && !read->done && reap())
        read = find();
    Read taken = *read;
    m_reads.erase(read);
    if (taken.done && taken.result != -EAGAIN && taken.result != -EINTR)
        return taken.result;
    // The ring could not take or finish the read; do it here instead.
    ssize_t count;
    while ((count = pread(taken.fd, taken.data, taken.length, off_t(taken.offset))) < 0 &&
           errno == EINTR) {
    }
    return count < 0 ? -qint64(errno) : qint64(count);
}
