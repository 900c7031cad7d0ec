#include "engine/digests/HWCChecksumXXHash64.h"

#include <QtEndian>

HWCChecksumXXHash64::HWCChecksumXXHash64(ByteOrder order)
    : m_order(order), m_hashState(XXH64_createState())
{
    XXH64_reset(m_hashState.get(), 0);
}

HWCChecksumXXHash64::~HWCChecksumXXHash64() = default;

QString HWCChecksumXXHash64::name() const
{
    return QString::fromLatin1(m_order == ByteOrder::Little ? kName : kBigEndianName);
}

void HWCChecksumXXHash64::reset()
{
    HWCChecksum::reset();
    XXH64_reset(m_hashState.get(), 0);
}

void HWCChecksumXXHash64::updateWithBytes(const void *bytes, quint64 length)
{
    HWCChecksum::updateWithBytes(bytes, length);
    XXH64_update(m_hashState.get(), bytes, length);
}

QByteArray HWCChecksumXXHash64::value() const
{
    QByteArray bytes(sizeof(XXH64_hash_t), Qt::Uninitialized);
    if (m_order == ByteOrder::Little)
        qToLittleEndian<quint64>(XXH64_digest(m_hashState.get()), bytes.data());
    else
        qToBigEndian<quint64>(XXH64_digest(m_hashState.get()), bytes.data());
    return bytes;
}

bool HWCChecksumXXHash64::isEqualToChecksum(const QByteArray &checksum)
{
    return checksum == value();
}
