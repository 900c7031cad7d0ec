#include "engine/digests/HWCChecksumXXHash32.h"

#include <cstdlib>
#include <cstring>

HWCChecksumXXHash32::HWCChecksumXXHash32() : m_hashState(XXH32_createState())
{
    XXH32_reset(m_hashState.get(), 0);
}

HWCChecksumXXHash32::~HWCChecksumXXHash32() = default;

QString HWCChecksumXXHash32::name() const
{
    return QString::fromLatin1(kName);
}

void HWCChecksumXXHash32::reset()
{
    HWCChecksum::reset();
    XXH32_reset(m_hashState.get(), 0);
}

void HWCChecksumXXHash32::updateWithBytes(const void *bytes, quint64 length)
{
    HWCChecksum::updateWithBytes(bytes, length);
    XXH32_update(m_hashState.get(), bytes, length);
}

bool HWCChecksumXXHash32::isEqualToChecksum(const QByteArray &checksum)
{
    if (checksum.size() != sizeof(XXH32_hash_t))
        return false;
    XXH32_hash_t stored = 0;
    std::memcpy(&stored, checksum.constData(), sizeof stored);
    return XXH32_digest(m_hashState.get()) == stored;
}

bool HWCChecksumXXHash32::isEqualToHexadecimalString(QStringView text)
{
    const QByteArray digits = text.toUtf8();
    const auto stored = XXH32_hash_t(std::strtol(digits.constData(), nullptr, 10));
    QByteArray checksum(sizeof stored, Qt::Uninitialized);
    std::memcpy(checksum.data(), &stored, sizeof stored);
    return isEqualToChecksum(checksum);
}

QString HWCChecksumXXHash32::digestText()
{
    return QString::number(XXH32_digest(m_hashState.get()));
}
