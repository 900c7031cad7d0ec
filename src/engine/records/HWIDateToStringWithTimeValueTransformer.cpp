#include "engine/records/HWIDateToStringWithTimeValueTransformer.h"

#include <QDateTime>
#include <QLocale>

QString HWIDateToStringWithTimeValueTransformer::transformedValue(const QVariant &value)
{
    const QDateTime date = value.toDateTime();
    if (!date.isValid())
        return {};
    // Dots between the time fields keep the text usable in a file name.
    return QLocale().toString(date.toLocalTime(), QStringLiteral("yyyy-MM-dd 'at' HH.mm.ss"));
}
