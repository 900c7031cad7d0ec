#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QStringView>

// A streaming digest. reset() must be called before the first updateWithBytes().
// One object is used by one thread at a time.
class HWCChecksum {
public:
    HWCChecksum() = default;
    virtual ~HWCChecksum() = default;
    HWCChecksum(const HWCChecksum &) = delete;
    HWCChecksum &operator=(const HWCChecksum &) = delete;

    // The names of every supported kind: "xxhash64", "md5", "sha1", "xxhash".
    static QStringList types();

    // The kind's name, also its element name in an MHL; "" for the base class.
    virtual QString name() const;

    // False when the kind cannot be computed here (a library that does not provide it).
    virtual bool isAvailable() const { return true; }

    virtual void reset();
    virtual void updateWithBytes(const void *bytes, quint64 length);

    // The digest so far, for the xxHash kinds but XXH32 (XXH64 little-endian, the others in
    // canonical order); a null array for the others.
    virtual QByteArray value() const;

    // Compares with a stored digest. A wrong length compares unequal. MD5 and SHA-1
    // finalise their state here: no update may follow until reset().
    virtual bool isEqualToChecksum(const QByteArray &checksum);

    // Compares with the digest text of an MHL (hexadecimal; decimal for XXH32).
    virtual bool isEqualToHexadecimalString(QStringView text);

    // The digest in the text form an MHL holds: lower-case hexadecimal of value(), decimal
    // for XXH32, the ID for C4; empty when it cannot be had. Finalises MD5 and SHA-1 like a
    // comparison does, but may follow one.
    virtual QString digestText();

    quint64 bytesRead() const { return m_bytesRead; }

private:
    quint64 m_bytesRead = 0;
};
