#include "engine/digests/HWCChecksumXXH3.h"

HWCChecksumXXH3::HWCChecksumXXH3(Width width) : m_width(width), m_hashState(XXH3_createState())
{
    reset();
}

HWCChecksumXXH3::~HWCChecksumXXH3() = default;

QString HWCChecksumXXH3::name() const
{
    return QString::fromLatin1(m_width == Width::Bits64 ? kName64 : kName128);
}

void HWCChecksumXXH3::reset()
{
    HWCChecksum::reset();
    if (m_width == Width::Bits64)
        XXH3_64bits_reset(m_hashState.get());
    else
        XXH3_128bits_reset(m_hashState.get());
}

void HWCChecksumXXH3::updateWithBytes(const void *bytes, quint64 length)
{
    HWCChecksum::updateWithBytes(bytes, length);
    if (m_width == Width::Bits64)
        XXH3_64bits_update(m_hashState.get(), bytes, length);
    else
        XXH3_128bits_update(m_hashState.get(), bytes, length);
}

QByteArray HWCChecksumXXH3::value() const
{
    if (m_width == Width::Bits64) {
        XXH64_canonical_t canonical;
        XXH64_canonicalFromHash(&canonical, XXH3_64bits_digest(m_hashState.get()));
        return QByteArray(reinterpret_cast<const char *>(canonical.digest),
                          sizeof canonical.digest);
    }
    XXH128_canonical_t canonical;
    XXH128_canonicalFromHash(&canonical, XXH3_128bits_digest(m_hashState.get()));
    return QByteArray(reinterpret_cast<const char *>(canonical.digest), sizeof canonical.digest);
}

bool HWCChecksumXXH3::isEqualToChecksum(const QByteArray &checksum)
{
    return checksum == value();
}
