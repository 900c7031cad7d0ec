#pragma once

#include "engine/digests/HWCChecksum.h"

#include <memory>
#include <vector>

// Several digests of the same bytes from one read: every block goes to each member in turn.
// One thread at a time.
class HWCChecksumGroup final : public HWCChecksum {
public:
    explicit HWCChecksumGroup(std::vector<std::unique_ptr<HWCChecksum>> members);
    ~HWCChecksumGroup() override;

    void reset() override;
    void updateWithBytes(const void *bytes, quint64 length) override;

    const std::vector<std::unique_ptr<HWCChecksum>> &members() const { return m_members; }

private:
    std::vector<std::unique_ptr<HWCChecksum>> m_members;
};
