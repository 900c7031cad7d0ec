#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

// Pairs of characters parsed as strtol base-16 numbers, one byte each; a trailing odd
// character is ignored and invalid digits never fail the conversion.
QByteArray hwc_dataFromHexadecimal(QStringView text);

// True when the text after the last "." of the last path component is exactly "mhl".
bool hwc_isMediaHashListPath(const QString &path);

// A time left as a clock shows it: "m:ss" below an hour, "h:mm:ss" from one hour on;
// seconds rounded to the nearest whole one.
QString hwc_clockDurationString(double seconds);
