#include "Categories/HWIDataAdditions.h"

QString hwi_hexadecimalString(const QByteArray &data)
{
    if (data.isEmpty())
        return QStringLiteral("");
    return QString::fromLatin1(data.toHex());
}
