#include "engine/records/HWCStringAdditions.h"

#include <cstdlib>

QByteArray hwc_dataFromHexadecimal(QStringView text)
{
    QByteArray data;
    const qsizetype pairs = text.size() / 2;
    data.reserve(pairs);
    // Each pair goes through strtol on purpose: white space, a sign or an invalid digit
    // inside a pair must read exactly as the C library reads them.
    char scratch[3] = {0, 0, 0};
    for (qsizetype i = 0; i < pairs; ++i) {
        scratch[0] = char(text[2 * i].unicode() & 0xff);
        scratch[1] = char(text[2 * i + 1].unicode() & 0xff);
        data.append(char(std::strtol(scratch, nullptr, 16) & 0xff));
    }
    return data;
}

bool hwc_isMediaHashListPath(const QString &path)
{
    QStringView component(path);
    while (component.size() > 1 && component.endsWith(QLatin1Char('/')))
        component.chop(1);
    component = component.mid(component.lastIndexOf(QLatin1Char('/')) + 1);
    const qsizetype dot = component.lastIndexOf(QLatin1Char('.'));
    return dot >= 0 && component.mid(dot + 1) == QLatin1String("mhl");
}

QString hwc_clockDurationString(double seconds)
{
    const qint64 whole = qint64(seconds + 0.5);
    if (whole >= 3600)
        return QStringLiteral("%1:%2:%3")
            .arg(whole / 3600)
            .arg(whole / 60 % 60, 2, 10, QLatin1Char('0'))
            .arg(whole % 60, 2, 10, QLatin1Char('0'));
    return QStringLiteral("%1:%2").arg(whole / 60).arg(whole % 60, 2, 10, QLatin1Char('0'));
}
