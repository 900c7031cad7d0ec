#include "engine/digests/HWIDataAdditions.h"

QString hwi_hexadecimalString(const QByteArray &data)
{
    if (data.isEmpty())
        return QStringLiteral("");
    return QString::fromLatin1(data.toHex());
}

QString hwi_base58String(const QByteArray &data)
{
    static constexpr char kAlphabet[] =
        "123456789ABCDEFGHJKLMNPQRSTUVWXYZabcdefghijkmnopqrstuvwxyz";
    // Long division of the whole number by 58, repeated; each remainder is the next digit
    // from the least significant end.
    QByteArray number = data;
    QString digits;
    qsizetype start = 0;
    while (true) {
        while (start < number.size() && number[start] == 0)
            ++start;
        if (start == number.size())
            break;
        unsigned remainder = 0;
        for (qsizetype i = start; i < number.size(); ++i) {
            const unsigned value = remainder * 256 + quint8(number[i]);
            number[i] = char(value / 58);
            remainder = value % 58;
        }
        digits.prepend(QLatin1Char(kAlphabet[remainder]));
    }
    return digits;
}

QByteArray hwi_dataFromBase58(QStringView digits, qsizetype length)
{
    static constexpr QStringView kAlphabet =
        u"123456789ABCDEFGHJKLMNPQRSTUVWXYZabcdefghijkmnopqrstuvwxyz";
    QByteArray number(length, '\0');
    for (const QChar digit : digits) {
        const qsizetype value = kAlphabet.indexOf(digit);
        if (value < 0)
            return {};
        // number = number * 58 + value, from the least significant byte up.
        unsigned carry = unsigned(value);
        for (qsizetype i = length - 1; i >= 0; --i) {
            const unsigned product = quint8(number[i]) * 58u + carry;
            number[i] = char(product & 0xff);
            carry = product >> 8;
        }
        if (carry != 0)
            return {};
    }
    return number;
}
