#pragma once

#include <QByteArray>
#include <QString>

// File names in an MHL. A Linux name is any bytes but "/" and NUL; an XML 1.0 text holds
// only valid UTF-8 of the characters XML allows, and a parser turns every CR into LF. A
// name that XML carries as it stands is written unchanged, so that every tool reads it.
// Any other name is written percent-encoded: each byte that is not part of a valid UTF-8
// sequence of an allowed character, each CR, and each "%" becomes "%" and two upper-case
// hexadecimal digits. Such a text is marked by the attribute kHWCPercentEncodedAttribute
// ="percent" on its element, and only a marked text is decoded: lists written by other
// tools hold names with a literal "%" that must read as they always did. Any thread.

inline constexpr char kHWCPercentEncodedAttribute[] = "hashwarden-encoding";
inline constexpr char kHWCPercentEncodedValue[] = "percent";

// True when name cannot stand in XML text as it is.
bool hwc_fileNameNeedsEncoding(const QByteArray &name);

// The percent-encoded text of name, as above.
QByteArray hwc_percentEncodedFileName(const QByteArray &name);

// The name's bytes back from a marked text.
QByteArray hwc_percentDecodedFileName(const QByteArray &text);

// A name (or a one-line text naming files) as a terminal or a text report shows it: each
// control character (C0, DEL, C1) and each bidirectional embedding, override or isolate
// (U+202A to U+202E, U+2066 to U+2069) becomes the percent-encoding of its UTF-8 bytes, as
// above, so that no name can start a line of its own or reorder the text after it. Every
// other character, "%" included, is shown as it is.
QString hwc_displayedName(const QString &name);
