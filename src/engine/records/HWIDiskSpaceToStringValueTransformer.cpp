#include "engine/records/HWIDiskSpaceToStringValueTransformer.h"

#include <QCoreApplication>
#include <QLocale>

namespace {

struct HWIDiskSpaceUnit {
    double bytes;
    const char *pattern;
};

constexpr HWIDiskSpaceUnit kHWIDiskSpaceUnits[] = {
    {1e12, QT_TRANSLATE_NOOP("Hashwarden", "%1 TB")},
    {1e9, QT_TRANSLATE_NOOP("Hashwarden", "%1 GB")},
    {1e6, QT_TRANSLATE_NOOP("Hashwarden", "%1 MB")},
    {1e3, QT_TRANSLATE_NOOP("Hashwarden", "%1 KB")},
};

// One fraction digit at most, rounded to nearest, no grouping: 999.999 gives "1000".
QString formattedQuotient(float quotient)
{
    QLocale locale;
    locale.setNumberOptions(QLocale::OmitGroupSeparator);
    QString text = locale.toString(double(quotient), 'f', 1);
    const QString zeroFraction = locale.decimalPoint() + locale.zeroDigit();
    if (text.endsWith(zeroFraction))
        text.chop(zeroFraction.size());
    return text;
}

} // namespace

QString HWIDiskSpaceToStringValueTransformer::transformedValue(const QVariant &value)
{
    const qint64 bytes = value.toLongLong();
    const double size = double(bytes);
    for (const HWIDiskSpaceUnit &unit : kHWIDiskSpaceUnits) {
        // The unit is chosen on the truncated single-precision quotient while the text is
        // rounded, so 999,999 bytes reads "1000 KB": the settled behaviour.
        const float quotient = float(size / unit.bytes);
        if (qint32(quotient) != 0)
            return QCoreApplication::translate("Hashwarden", unit.pattern)
                .arg(formattedQuotient(quotient));
    }
    return QCoreApplication::translate("Hashwarden", "%1 Bytes").arg(bytes);
}
