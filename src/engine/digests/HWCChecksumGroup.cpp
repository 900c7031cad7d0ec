#include "engine/digests/HWCChecksumGroup.h"

HWCChecksumGroup::HWCChecksumGroup(std::vector<std::unique_ptr<HWCChecksum>> members)
    : m_members(std::move(members))
{
}

HWCChecksumGroup::~HWCChecksumGroup() = default;

void HWCChecksumGroup::reset()
{
    HWCChecksum::reset();
    for (const std::unique_ptr<HWCChecksum> &member : m_members)
        member->reset();
}

void HWCChecksumGroup::updateWithBytes(const void *bytes, quint64 length)
{
    HWCChecksum::updateWithBytes(bytes, length);
    for (const std::unique_ptr<HWCChecksum> &member : m_members)
        member->updateWithBytes(bytes, length);
}
