#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

// Two lower-case hexadecimal digits per byte, high nybble first; "" for no bytes.
QString hwi_hexadecimalString(const QByteArray &data);

// The bytes as one big-endian number in base 58 (digits and letters without 0, O, I and l),
// most significant digit first, without leading zero digits; "" for a number that is zero.
QString hwi_base58String(const QByteArray &data);

// The number that base-58 digits (as hwi_base58String writes them) stand for, big-endian in
// length bytes; a null array for a character outside the alphabet or a number that does not
// fit.
QByteArray hwi_dataFromBase58(QStringView digits, qsizetype length);
