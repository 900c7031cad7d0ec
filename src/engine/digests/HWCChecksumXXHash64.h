#pragma once

#include "engine/digests/HWCChecksum.h"

#include <memory>
#include <xxhash.h>

// 64-bit xxHash, seed 0. MHL 1.1's "xxhash64" stores its bytes least significant first, which
// is not xxHash's canonical text order; "xxhash64be" (ASC MHL histories and many MHL 1.1
// writers) stores them in the canonical big-endian order that `xxhsum -H1` prints. One thread
// at a time.
class HWCChecksumXXHash64 final : public HWCChecksum {
public:
    static constexpr const char *kName = "xxhash64";
    static constexpr const char *kBigEndianName = "xxhash64be";

    enum class ByteOrder { Little, Big };
    explicit HWCChecksumXXHash64(ByteOrder order = ByteOrder::Little);
    ~HWCChecksumXXHash64() override;

    QString name() const override;
    void reset() override;
    void updateWithBytes(const void *bytes, quint64 length) override;

    // The digest so far as 8 bytes in this checksum's byte order; the running state is left
    // as it is.
    QByteArray value() const override;

    // checksum is 8 bytes holding the digest in this checksum's byte order.
    bool isEqualToChecksum(const QByteArray &checksum) override;

private:
    struct StateDeleter {
        void operator()(XXH64_state_t *state) const { XXH64_freeState(state); }
    };
    ByteOrder m_order;
    std::unique_ptr<XXH64_state_t, StateDeleter> m_hashState;
};
