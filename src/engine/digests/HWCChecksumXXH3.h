#pragma once

#include "engine/digests/HWCChecksum.h"

#include <memory>
#include <xxhash.h>

// XXH3 (64-bit) or XXH128 (XXH3's 128-bit form), seed 0, stored and compared in xxHash's
// canonical big-endian order, the text `xxhsum -H3` and `-H2` print. Both share one
// streaming state; the width picks the digest. One thread at a time.
class HWCChecksumXXH3 final : public HWCChecksum {
public:
    // The names of the two widths, as in ASC MHL manifests.
    static constexpr const char *kName64 = "xxh3";
    static constexpr const char *kName128 = "xxh128";

    enum class Width { Bits64, Bits128 };
    explicit HWCChecksumXXH3(Width width);
    ~HWCChecksumXXH3() override;

    QString name() const override;

    void reset() override;
    void updateWithBytes(const void *bytes, quint64 length) override;

    // The digest so far in canonical order (8 or 16 bytes); the running state is left as it
    // is.
    QByteArray value() const override;
    bool isEqualToChecksum(const QByteArray &checksum) override;

private:
    struct StateDeleter {
        void operator()(XXH3_state_t *state) const { XXH3_freeState(state); }
    };
    Width m_width;
    std::unique_ptr<XXH3_state_t, StateDeleter> m_hashState;
};
