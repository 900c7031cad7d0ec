#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <optional>

// A `size` text read as every check and report reads it: decimal digits, with white space
// around them; nullopt for anything else (a sign, a unit, an overflow). Any thread.
std::optional<quint64> hwc_listedSize(QByteArrayView text);

// One file as a list records it, copied out of the list so that it outlives the reading:
// the `file` text, size and dates as the list states them (UTF-8), and its digests by kind.
// A field the list leaves out reads as a null view, one it leaves empty as an empty one.
// Every text sits in one buffer, so that a list of a million files stays small. A plain
// value: any thread.
class HWCChecksumEntry {
public:
    enum class Field : char { File, Size, CreationDate, LastModificationDate, HashDate };

    // Setting a field, or the digest of a kind, again replaces the earlier value.
    void set(Field field, QByteArrayView text);
    void clear(Field field);
    // kind is HWCChecksumKinds' name, or for an MHL 1.1 list any element that does not
    // describe the file.
    void setDigest(QByteArrayView kind, QByteArrayView value);
    // A digest kind of a history that the program does not know.
    void addUnknownKind(QByteArrayView kind);
    // The `file` text is percent-encoded and marked so (HWCFileNameAdditions).
    void setFileEncoded(bool encoded) { m_fileEncoded = encoded; }
    // Makes room for count texts of bytes in all, so that setting them allocates once.
    void reserve(qsizetype count, qsizetype bytes);

    QByteArrayView text(Field field) const;
    bool isFileEncoded() const { return m_fileEncoded; }
    // The `file` text decoded from UTF-8, a percent-encoded name as it stands; null when
    // there is no `file`.
    QString fileText() const { return QString::fromUtf8(text(Field::File)); }
    // The file's name as file-system bytes; empty when there is no `file`.
    QByteArray fileName() const;
    // The size, when the list states it as a non-negative decimal number of bytes.
    std::optional<quint64> listedSize() const { return hwc_listedSize(text(Field::Size)); }

    bool contains(QByteArrayView kind) const { return !digest(kind).isNull(); }
    // The digest of kind; null when the record has none of that kind.
    QByteArrayView digest(QByteArrayView kind) const;
    QString digestText(QByteArrayView kind) const { return QString::fromUtf8(digest(kind)); }
    // The kinds of the digests, in the order they were set.
    QList<QByteArrayView> digestKinds() const;

    // True when the record only describes the file and carries no digest of any kind,
    // usable or not.
    bool listsNoDigest() const;

private:
    // Each value is a tag, its length and its bytes; a digest's are its kind, NUL, value.
    enum class Tag : char {
        File,
        Size,
        CreationDate,
        LastModificationDate,
        HashDate,
        Digest,
        Unknown
    };
    struct Item {
        Tag tag;
        QByteArrayView bytes;
        qsizetype start; // of the tag
        qsizetype end;   // after the bytes
    };
    template <typename Visit> void forEach(Visit visit) const;
    void remove(const Item &item) { m_text.remove(item.start, item.end - item.start); }
    void append(Tag tag, QByteArrayView first, QByteArrayView second = {});

    QByteArray m_text;
    bool m_fileEncoded = false;
};
