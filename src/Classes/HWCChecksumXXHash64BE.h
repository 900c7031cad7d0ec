#pragma once

#include "Classes/HWCChecksum.h"

#include <memory>
#include <xxhash.h>

// 64-bit xxHash, seed 0, stored and compared in xxHash's canonical big-endian order (the text
// `xxhsum -H1` prints). ASC MHL histories and many MHL 1.1 writers use this order, unlike
// HWCChecksumXXHash64. One thread at a time.
class HWCChecksumXXHash64BE final : public HWCChecksum {
public:
    static constexpr const char *kName = "xxhash64be";

    HWCChecksumXXHash64BE();
    ~HWCChecksumXXHash64BE() override;

    QString name() const override;
    void reset() override;
    void updateWithBytes(const void *bytes, quint64 length) override;

    // The digest so far as 8 big-endian bytes; the running state is left as it is.
    QByteArray value() const override;
    bool isEqualToChecksum(const QByteArray &checksum) override;

private:
    struct StateDeleter {
        void operator()(XXH64_state_t *state) const { XXH64_freeState(state); }
    };
    std::unique_ptr<XXH64_state_t, StateDeleter> m_hashState;
};
