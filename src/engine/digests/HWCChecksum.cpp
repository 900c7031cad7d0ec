#include "engine/digests/HWCChecksum.h"

#include "engine/digests/HWCChecksumKinds.h"
#include "engine/digests/HWIDataAdditions.h"
#include "engine/records/HWCStringAdditions.h"

QStringList HWCChecksum::types()
{
    // The kind new lists are written with first, then the others by preference.
    const HWCChecksumKinds::Kind &created = HWCChecksumKinds::created();
    QStringList names{QString::fromLatin1(created.name)};
    for (const HWCChecksumKinds::Kind &kind : HWCChecksumKinds::preferred()) {
        if (&kind != &created)
            names.append(QString::fromLatin1(kind.name));
    }
    return names;
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

QString HWCChecksum::digestText()
{
    return hwi_hexadecimalString(value());
}
