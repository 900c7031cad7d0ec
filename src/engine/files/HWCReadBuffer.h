#pragma once

#include "engine/records/HWCTypes.h"

// The read buffer of one reader: two halves of 1 MiB in one 2 MiB-aligned mapping advised to
// use a huge page, so that one direct read is one request to the device and the next block
// can be read into one half while the other is hashed; kept out of forked children. The same
// 2 MiB also serve as slots for small files read ahead (bytes()).
class HWCReadBuffer {
public:
    HWCReadBuffer();
    ~HWCReadBuffer();
    HWCReadBuffer(const HWCReadBuffer &) = delete;
    HWCReadBuffer &operator=(const HWCReadBuffer &) = delete;

    // half is 0 or 1; each half holds size() bytes and is aligned for direct reads.
    char *data(int half = 0) const { return m_data + half * size(); }
    static constexpr quint64 size() { return kHWCReadBlockSize; }
    // The whole mapping, span() bytes, aligned for direct reads.
    char *bytes() const { return m_data; }
    static constexpr quint64 span() { return 2 * size(); }

private:
    char *m_data;
};
