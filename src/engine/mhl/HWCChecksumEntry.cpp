#include "engine/mhl/HWCChecksumEntry.h"

#include "engine/files/HWCFileNameAdditions.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr qsizetype kLengthBytes = sizeof(quint32);

QByteArrayView kindOf(QByteArrayView digest)
{
    return digest.first(digest.indexOf('\0'));
}

QByteArrayView valueOf(QByteArrayView digest)
{
    return digest.sliced(digest.indexOf('\0') + 1);
}

} // namespace

std::optional<quint64> hwc_listedSize(QByteArrayView text)
{
    const QString digits = QString::fromUtf8(text).trimmed();
    const bool decimal =
        !digits.isEmpty() && std::all_of(digits.begin(), digits.end(), [](QChar c) {
            return c >= QLatin1Char('0') && c <= QLatin1Char('9');
        });
    bool valid = false;
    const quint64 size = decimal ? digits.toULongLong(&valid) : 0;
    return valid ? std::optional(size) : std::nullopt;
}

template <typename Visit> void HWCChecksumEntry::forEach(Visit visit) const
{
    qsizetype at = 0;
    while (at < m_text.size()) {
        quint32 length = 0;
        std::memcpy(&length, m_text.constData() + at + 1, kLengthBytes);
        const qsizetype bytes = at + 1 + kLengthBytes;
        const Item item{Tag(m_text[at]), QByteArrayView(m_text.constData() + bytes, length), at,
                        bytes + qsizetype(length)};
        if (visit(item))
            return;
        at = item.end;
    }
}

void HWCChecksumEntry::append(Tag tag, QByteArrayView first, QByteArrayView second)
{
    const bool pair = tag == Tag::Digest;
    const quint32 length = quint32(first.size() + (pair ? 1 + second.size() : 0));
    m_text.append(char(tag));
    m_text.append(reinterpret_cast<const char *>(&length), kLengthBytes);
    m_text.append(first);
    if (pair)
        m_text.append('\0').append(second);
}

void HWCChecksumEntry::reserve(qsizetype count, qsizetype bytes)
{
    // Each text comes with its tag and length; a digest with the NUL after its kind.
    m_text.reserve(bytes + count * (2 + kLengthBytes));
}

void HWCChecksumEntry::set(Field field, QByteArrayView text)
{
    clear(field);
    append(Tag(field), text);
}

void HWCChecksumEntry::clear(Field field)
{
    forEach([this, field](const Item &item) {
        if (item.tag != Tag(field))
            return false;
        remove(item);
        return true;
    });
}

void HWCChecksumEntry::setDigest(QByteArrayView kind, QByteArrayView value)
{
    forEach([this, kind](const Item &item) {
        if (item.tag != Tag::Digest || kindOf(item.bytes) != kind)
            return false;
        remove(item);
        return true;
    });
    append(Tag::Digest, kind, value);
}

void HWCChecksumEntry::addUnknownKind(QByteArrayView kind)
{
    bool known = false;
    forEach([&known, kind](const Item &item) {
        known = item.tag == Tag::Unknown && item.bytes == kind;
        return known;
    });
    if (!known)
        append(Tag::Unknown, kind);
}

QByteArrayView HWCChecksumEntry::text(Field field) const
{
    QByteArrayView found;
    forEach([&found, field](const Item &item) {
        if (item.tag != Tag(field))
            return false;
        found = item.bytes;
        return true;
    });
    return found;
}

QByteArray HWCChecksumEntry::fileName() const
{
    const QByteArray file = text(Field::File).toByteArray();
    return m_fileEncoded ? hwc_percentDecodedFileName(file) : file;
}

QByteArrayView HWCChecksumEntry::digest(QByteArrayView kind) const
{
    QByteArrayView found;
    forEach([&found, kind](const Item &item) {
        if (item.tag != Tag::Digest || kindOf(item.bytes) != kind)
            return false;
        found = valueOf(item.bytes);
        return true;
    });
    return found;
}

QList<QByteArrayView> HWCChecksumEntry::digestKinds() const
{
    QList<QByteArrayView> kinds;
    forEach([&kinds](const Item &item) {
        if (item.tag == Tag::Digest)
            kinds.append(kindOf(item.bytes));
        return false;
    });
    return kinds;
}

bool HWCChecksumEntry::listsNoDigest() const
{
    bool digest = false;
    forEach([&digest](const Item &item) {
        digest = item.tag == Tag::Digest || item.tag == Tag::Unknown;
        return digest;
    });
    return !digest;
}
