#include "Classes/HWCChecksum.h"

#include "Categories/HWCStringAdditions.h"

QStringList HWCChecksum::types()
{
    return {QStringLiteral("xxhash64"), QStringLiteral("md5"), QStringLiteral("sha1"),
            QStringLiteral("xxhash")};
}

QString HWCChecksum::name() const
{
    return QStringLiteral("");
}

void HWCChecksum::reset()
{
    m_bytesRead = 0;
}

void HWCChecksum::updateWithBytes(const void *, quint64 length)
{
    m_bytesRead += length;
}

QByteArray HWCChecksum::value() const
{
    return QByteArray();
}

bool HWCChecksum::isEqualToChecksum(const QByteArray &)
{
    return false;
}

bool HWCChecksum::isEqualToHexadecimalString(QStringView text)
{
    return isEqualToChecksum(hwc_dataFromHexadecimal(text));
}
