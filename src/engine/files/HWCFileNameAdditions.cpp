#include "engine/files/HWCFileNameAdditions.h"

#include <QList>
#include <QString>
#include <algorithm>

namespace {

// Bytes in the UTF-8 sequence a lead byte starts; 0 for a byte that cannot lead one.
qsizetype sequenceLength(uchar lead)
{
    if (lead < 0x80)
        return 1;
    if (lead >= 0xC2 && lead <= 0xDF)
        return 2;
    if (lead >= 0xE0 && lead <= 0xEF)
        return 3;
    if (lead >= 0xF0 && lead <= 0xF4)
        return 4;
    return 0;
}

bool allowedInXMLText(char32_t character)
{
    // CR is legal XML but a parser turns it into LF, so it could not come back.
    if (character < 0x20)
        return character == 0x09 || character == 0x0A;
    return character != 0xFFFE && character != 0xFFFF;
}

// The length of the sequence at offset when it is valid UTF-8 of a character XML text
// keeps, else 0. Qt decides validity: it decodes overlong forms, surrogates and truncated
// sequences to U+FFFD, which then does not encode back to the same bytes.
qsizetype keptSequence(const QByteArray &name, qsizetype offset)
{
    const uchar lead = uchar(name.at(offset));
    if (lead >= 0x20 && lead < 0x80)
        return 1;
    const qsizetype length = sequenceLength(lead);
    if (length == 0 || offset + length > name.size())
        return 0;
    const QByteArray sequence = name.mid(offset, length);
    const QString decoded = QString::fromUtf8(sequence);
    if (decoded.toUtf8() != sequence || !allowedInXMLText(decoded.toUcs4().value(0)))
        return 0;
    return length;
}

QByteArray percentEncodedByte(char byte)
{
    return '%' + QByteArray(1, byte).toHex().toUpper();
}

bool hiddenInDisplay(char32_t character)
{
    return character < 0x20 || (character >= 0x7F && character < 0xA0) ||
           (character >= 0x202A && character <= 0x202E) ||
           (character >= 0x2066 && character <= 0x2069);
}

} // namespace

bool hwc_fileNameNeedsEncoding(const QByteArray &name)
{
    for (qsizetype offset = 0; offset < name.size();) {
        const qsizetype length = keptSequence(name, offset);
        if (length == 0)
            return true;
        offset += length;
    }
    return false;
}

QByteArray hwc_percentEncodedFileName(const QByteArray &name)
{
    QByteArray text;
    text.reserve(name.size());
    for (qsizetype offset = 0; offset < name.size();) {
        const qsizetype length = keptSequence(name, offset);
        if (length > 0 && name.at(offset) != '%') {
            text.append(name.constData() + offset, length);
            offset += length;
            continue;
        }
        text.append(percentEncodedByte(name.at(offset)));
        ++offset;
    }
    return text;
}

QByteArray hwc_percentDecodedFileName(const QByteArray &text)
{
    return QByteArray::fromPercentEncoding(text);
}

QString hwc_displayedName(const QString &name)
{
    const QList<uint> characters = name.toUcs4();
    if (std::none_of(characters.begin(), characters.end(), hiddenInDisplay))
        return name;
    QString text;
    for (const char32_t character : characters) {
        const QString shown = QString::fromUcs4(&character, 1);
        if (!hiddenInDisplay(character)) {
            text += shown;
            continue;
        }
        for (const char byte : shown.toUtf8())
            text += QLatin1String(percentEncodedByte(byte));
    }
    return text;
}
