#pragma once

#include "engine/records/HWCTypes.h"

#include <memory>

struct io_uring;

// Hands one read at a time to the kernel through io_uring and returns at once, so that the
// caller can hash one block while the medium reads the next. Made, used and destroyed on
// one thread; never destroyed while a read is in flight.
class HWCReadRing {
public:
    // Null where the kernel refuses io_uring (too old, switched off, filtered by seccomp);
    // the refusal is logged at debug level.
    static std::unique_ptr<HWCReadRing> make();
    ~HWCReadRing();
    HWCReadRing(const HWCReadRing &) = delete;
    HWCReadRing &operator=(const HWCReadRing &) = delete;

    // Starts reading up to length bytes of fd at offset into data.
    void submit(int fd, char *data, quint64 length, quint64 offset);
    // Waits for the read submitted last: the bytes it read, 0 at the end of the file, or
    // -errno.
    qint64 wait();

private:
    explicit HWCReadRing(std::unique_ptr<io_uring> ring);

    std::unique_ptr<io_uring> m_ring;
    // The read of the last submit(), kept for a synchronous retry.
    int m_fd = -1;
    char *m_data = nullptr;
    quint64 m_length = 0;
    quint64 m_offset = 0;
    // Set when the ring could not take the read: wait() then reads synchronously.
    bool m_submitFailed = false;
};
