#pragma once

#include "engine/records/HWCTypes.h"

#include <memory>
#include <vector>

struct io_uring;

// Hands reads to the kernel through io_uring and returns at once, so that the caller can
// hash one block while the medium reads others: up to depth reads may be in flight, each
// waited for by the ticket its prepare() returned, in any order. Reads prepared together go
// to the kernel in one call, which hands them to the device together as well (one
// notification of a virtual disk instead of one each). Made, used and destroyed on one
// thread; never destroyed while a read is in flight.
class HWCReadRing {
public:
    using Ticket = quint64;

    // Null where the kernel refuses io_uring (too old, switched off, filtered by seccomp);
    // the refusal is logged at debug level.
    static std::unique_ptr<HWCReadRing> make(unsigned depth);
    ~HWCReadRing();
    HWCReadRing(const HWCReadRing &) = delete;
    HWCReadRing &operator=(const HWCReadRing &) = delete;

    // Queues a read of up to length bytes of fd at offset into data, started by the next
    // submit() or wait(). At most the depth it was made with may be outstanding (prepared
    // and not yet waited for).
    Ticket prepare(int fd, char *data, quint64 length, quint64 offset);
    // Starts the reads prepared.
    void submit();
    // Starts the reads prepared and waits for the read of ticket: the bytes it read, 0 at the
    // end of the file, or -errno.
    qint64 wait(Ticket ticket);

private:
    struct Read {
        Ticket ticket = 0;
        int fd = -1;
        char *data = nullptr;
        quint64 length = 0;
        quint64 offset = 0;
        bool submitFailed = false; // the ring could not take it: wait() reads synchronously
        bool done = false;
        qint64 result = 0;
    };

    HWCReadRing(std::unique_ptr<io_uring> ring, unsigned depth);
    // Takes one completion from the ring into its read; false when waiting failed.
    bool reap();

    std::unique_ptr<io_uring> m_ring;
    Ticket m_lastTicket = 0;
    std::vector<Read> m_reads; // outstanding, in the order submitted
};
