#include "Classes/HWCChecksumKinds.h"

#include "Classes/HWCChecksumMD5.h"
#include "Classes/HWCChecksumSHA1.h"
#include "Classes/HWCChecksumXXHash32.h"
#include "Classes/HWCChecksumXXHash64.h"

namespace HWCChecksumKinds {

namespace {

template <typename Checksum> std::unique_ptr<HWCChecksum> makeChecksum()
{
    return std::make_unique<Checksum>();
}

constexpr Kind kPreferred[] = {
    {HWCChecksumMD5::kName, makeChecksum<HWCChecksumMD5>},
    {HWCChecksumXXHash64::kName, makeChecksum<HWCChecksumXXHash64>},
    {HWCChecksumSHA1::kName, makeChecksum<HWCChecksumSHA1>},
    {HWCChecksumXXHash32::kName, makeChecksum<HWCChecksumXXHash32>},
};

} // namespace

std::span<const Kind> preferred()
{
    return kPreferred;
}

const Kind &created()
{
    return kPreferred[1];
}

std::unique_ptr<HWCChecksum> make(std::string_view name)
{
    for (const Kind &kind : kPreferred) {
        if (name == kind.name)
            return kind.make();
    }
    return nullptr;
}

} // namespace HWCChecksumKinds
