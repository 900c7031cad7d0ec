#pragma once

#include <QByteArray>
#include <QString>

// Two lower-case hexadecimal digits per byte, high nybble first; "" for no bytes.
QString hwi_hexadecimalString(const QByteArray &data);

// The bytes as one big-endian number in base 58 (digits and letters without 0, O, I and l),
// most significant digit first, without leading zero digits; "" for a number that is zero.
QString hwi_base58String(const QByteArray &data);
