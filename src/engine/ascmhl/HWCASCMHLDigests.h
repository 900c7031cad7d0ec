#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

// The digest elements of an ASC MHL manifest (c4, md5, sha1, xxh128, xxh3, xxh64) and the
// kinds HWCChecksumKinds computes them with; their byte form for hashes of hashes. Any thread.
namespace HWCASCMHLDigests {

// The element names in the order the manifest schema puts them.
const QStringList &elements();

// The kind (HWCChecksumKinds) for an element, and back; "" for a name it does not know.
QString kindForElement(const QString &element);
QString elementForKind(const QString &kind);

// kinds (HWCChecksumKinds names) sorted into element order; unknown names are dropped.
QStringList inElementOrder(const QStringList &kinds);

// The bytes a digest text stands for: hexadecimal, or for c4 the SHA-512 digest its base-58
// number encodes; a null array for text that is neither.
QByteArray bytesForText(const QString &element, const QString &text);

// The digest text of bytes in the kind of element.
QString digestOf(const QString &element, const QByteArray &bytes);

} // namespace HWCASCMHLDigests
