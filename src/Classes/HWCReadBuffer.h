#pragma once

#include "Classes/HWCTypes.h"

// The 1 MiB read buffer of one operation: 2 MiB-aligned and advised to use a huge page, so
// that one direct read is one request to the device; kept out of forked children.
class HWCReadBuffer {
public:
    HWCReadBuffer();
    ~HWCReadBuffer();
    HWCReadBuffer(const HWCReadBuffer &) = delete;
    HWCReadBuffer &operator=(const HWCReadBuffer &) = delete;

    char *data() const { return m_data; }
    static constexpr quint64 size() { return kHWCReadBlockSize; }

private:
    char *m_data;
};
