#pragma once

#include "engine/digests/HWCChecksum.h"

#include <memory>
#include <xxhash.h>

// 32-bit xxHash, seed 0. Its MHL text is a signed decimal number, not hexadecimal.
// One thread at a time.
class HWCChecksumXXHash32 final : public HWCChecksum {
public:
    static constexpr const char *kName = "xxhash";

    HWCChecksumXXHash32();
    ~HWCChecksumXXHash32() override;

    QString name() const override;
    void reset() override;
    void updateWithBytes(const void *bytes, quint64 length) override;

    // checksum is 4 bytes holding the digest in host byte order.
    bool isEqualToChecksum(const QByteArray &checksum) override;

    // text is read like strtol(text, nullptr, 10) and truncated to its low 32 bits.
    bool isEqualToHexadecimalString(QStringView text) override;

    // The digest as an unsigned decimal number.
    QString digestText() override;

private:
    struct StateDeleter {
        void operator()(XXH32_state_t *state) const { XXH32_freeState(state); }
    };
    std::unique_ptr<XXH32_state_t, StateDeleter> m_hashState;
};
