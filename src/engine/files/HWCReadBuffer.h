#pragma once

#include "engine/records/HWCTypes.h"

// The read buffer of one reader: two halves of 1 MiB in one 2 MiB-aligned mapping advised to
// use a huge page, so that one direct read is one request to the device and the next block
// can be read into one half while the other is hashed; kept out of forked children.
class HWCReadBuffer {
public:
    HWCReadBuffer();
    ~HWCReadBuffer();
    HWCReadBuffer(const HWCReadBuffer &) = delete;
    HWCReadBuffer &operator=(const HWCReadBuffer &) = delete;

    // half is 0 or 1; each half holds size() bytes and is aligned for direct reads.
    char *data(int half = 0) const { return m_data + half * size(); }
    static constexpr quint64 size() { return kHWCReadBlockSize; }

private:
    char *m_data;
};
