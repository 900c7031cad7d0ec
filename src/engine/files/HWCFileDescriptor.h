#pragma once

#include <unistd.h>
#include <utility>

// Owns one file descriptor (or none, when negative) and closes it when it goes; closing it
// also releases a lock taken on it. One thread at a time.
class HWCFileDescriptor {
public:
    explicit HWCFileDescriptor(int fd) : m_fd(fd) {}
    ~HWCFileDescriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    HWCFileDescriptor(const HWCFileDescriptor &) = delete;
    HWCFileDescriptor &operator=(const HWCFileDescriptor &) = delete;

    int get() const { return m_fd; }
    // Hands the descriptor over; this object then owns none.
    int release() { return std::exchange(m_fd, -1); }
    // Closes now, so that a failing close (NFS reports write errors there) is seen.
    bool close()
    {
        const int fd = release();
        return fd < 0 || ::close(fd) == 0;
    }

private:
    int m_fd;
};
