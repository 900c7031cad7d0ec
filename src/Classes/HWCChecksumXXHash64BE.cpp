#include "Classes/HWCChecksumXXHash64BE.h"

HWCChecksumXXHash64BE::HWCChecksumXXHash64BE() : m_hashState(XXH64_createState())
{
    XXH64_reset(m_hashState.get(), 0);
}

HWCChecksumXXHash64BE::~HWCChecksumXXHash64BE() = default;

QString HWCChecksumXXHash64BE::name() const
{
    return QString::fromLatin1(kName);
}

void HWCChecksumXXHash64BE::reset()
{
    HWCChecksum::reset();
    XXH64_reset(m_hashState.get(), 0);
}

void HWCChecksumXXHash64BE::updateWithBytes(const void *bytes, quint64 length)
{
    HWCChecksum::updateWithBytes(bytes, length);
    XXH64_update(m_hashState.get(), bytes, length);
}

QByteArray HWCChecksumXXHash64BE::value() const
{
    XXH64_canonical_t canonical;
    XXH64_canonicalFromHash(&canonical, XXH64_digest(m_hashState.get()));
    return QByteArray(reinterpret_cast<const char *>(canonical.digest), sizeof canonical.digest);
}

bool HWCChecksumXXHash64BE::isEqualToChecksum(const QByteArray &checksum)
{
    return checksum == value();
}
