#pragma once

#include "Classes/HWCChecksum.h"

#include <memory>
#include <xxhash.h>

// 64-bit xxHash, seed 0. Its bytes are stored and compared least significant first, which is
// not xxHash's canonical text order. One thread at a time.
class HWCChecksumXXHash64 final : public HWCChecksum {
public:
    static constexpr const char *kName = "xxhash64";

    HWCChecksumXXHash64();
    ~HWCChecksumXXHash64() override;

    QString name() const override;
    void reset() override;
    void updateWithBytes(const void *bytes, quint64 length) override;

    // The digest so far as 8 little-endian bytes; the running state is left as it is.
    QByteArray value() const override;

    // checksum is 8 bytes holding the digest little-endian.
    bool isEqualToChecksum(const QByteArray &checksum) override;

private:
    struct StateDeleter {
        void operator()(XXH64_state_t *state) const { XXH64_freeState(state); }
    };
    std::unique_ptr<XXH64_state_t, StateDeleter> m_hashState;
};
