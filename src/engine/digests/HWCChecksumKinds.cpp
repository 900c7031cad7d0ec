#include "engine/digests/HWCChecksumKinds.h"

#include "engine/digests/HWCChecksumC4.h"
#include "engine/digests/HWCChecksumMD5.h"
#include "engine/digests/HWCChecksumSHA1.h"
#include "engine/digests/HWCChecksumXXH3.h"
#include "engine/digests/HWCChecksumXXHash32.h"
#include "engine/digests/HWCChecksumXXHash64.h"

namespace HWCChecksumKinds {

namespace {

template <typename Checksum> std::unique_ptr<HWCChecksum> makeChecksum()
{
    return std::make_unique<Checksum>();
}

template <HWCChecksumXXH3::Width width> std::unique_ptr<HWCChecksum> makeXXH3()
{
    return std::make_unique<HWCChecksumXXH3>(width);
}

constexpr Kind kMD5{HWCChecksumMD5::kName, makeChecksum<HWCChecksumMD5>};
constexpr Kind kSHA1{HWCChecksumSHA1::kName, makeChecksum<HWCChecksumSHA1>};
std::unique_ptr<HWCChecksum> makeXXHash64BigEndian()
{
    return std::make_unique<HWCChecksumXXHash64>(HWCChecksumXXHash64::ByteOrder::Big);
}

constexpr Kind kXXHash64BE{HWCChecksumXXHash64::kBigEndianName, makeXXHash64BigEndian};

constexpr Kind kListOrder[] = {
    kMD5,        {HWCChecksumXXHash64::kName, makeChecksum<HWCChecksumXXHash64>},
    kSHA1,       {HWCChecksumXXHash32::kName, makeChecksum<HWCChecksumXXHash32>},
    kXXHash64BE,
};

constexpr Kind kHistoryOrder[] = {
    {HWCChecksumXXH3::kName64, makeXXH3<HWCChecksumXXH3::Width::Bits64>},
    {HWCChecksumXXH3::kName128, makeXXH3<HWCChecksumXXH3::Width::Bits128>},
    kXXHash64BE,
    kSHA1,
    kMD5,
    {HWCChecksumC4::kName, makeChecksum<HWCChecksumC4>},
};

std::unique_ptr<HWCChecksum> makeFrom(std::span<const Kind> kinds, std::string_view name)
{
    for (const Kind &kind : kinds) {
        if (name == kind.name)
            return kind.make();
    }
    return nullptr;
}

} // namespace

std::span<const Kind> preferred()
{
    return std::span<const Kind>(kListOrder).first(4);
}

std::span<const Kind> listOrder()
{
    return kListOrder;
}

std::span<const Kind> historyOrder()
{
    return kHistoryOrder;
}

const Kind &created()
{
    return kListOrder[1];
}

std::unique_ptr<HWCChecksum> make(std::string_view name)
{
    std::unique_ptr<HWCChecksum> checksum = makeFrom(kListOrder, name);
    return checksum ? std::move(checksum) : makeFrom(kHistoryOrder, name);
}

} // namespace HWCChecksumKinds
