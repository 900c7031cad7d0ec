#pragma once

#include <QByteArray>
#include <QString>

// Two lower-case hexadecimal digits per byte, high nybble first; "" for no bytes.
QString hwi_hexadecimalString(const QByteArray &data);
