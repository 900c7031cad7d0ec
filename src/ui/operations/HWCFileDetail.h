#pragma once

#include <QString>

class HWCSourceOperation;
class HWCVerifiedFile;

// What the result tells of one file that did not verify, beyond its state: the digests
// compared, the size found against the size listed, and the MHL that lists it. Main thread.
namespace HWCFileDetail {

// The names of the MHL files of the operation that sit in the file's list folder, comma
// separated; empty for a creation's record.
QString listedIn(const HWCSourceOperation &operation, const HWCVerifiedFile &file);

// The size found, or empty when the file was not found or not opened (no "0 Bytes").
QString sizeText(const HWCVerifiedFile &file);

// Several lines: "<state>: <path>", the reason, "<kind> listed <digest>", "<kind> computed
// <digest>", "Size found … bytes, listed … bytes (truncated)", "Listed in <MHL>".
QString text(const HWCVerifiedFile &file, const QString &listedIn);

} // namespace HWCFileDetail
