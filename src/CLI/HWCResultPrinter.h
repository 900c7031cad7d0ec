#pragma once

#include <QJsonObject>
#include <QString>

class HWCVerificationOperation;

// Turns a finished operation into the texts the command line prints. Any thread, once the
// operation has finished and its progress record has received every update.
namespace HWCResultPrinter {

// The human summary: source, action and outcome, counts, then every file that did not read
// successfully, grouped by file state in the order of the states; a "Hash fail" with the
// digests compared and the size found against the size listed; then the files not listed.
QString summary(const HWCVerificationOperation &operation);

// {"source", "action", "state", "exitCode", "files", "filesTotal", "bytes", "bytesTotal",
//  "warnings", "tools", "records": [{"path", "state", "stateCode", "bytes", "digestKind",
//  "expected", "actual", "expectedSize"}], "mhl", "mhlError", "skipped": [{"list", "reason"}],
//  "unlisted"}
// where records are those whose state is not "File read successfully" (each of their last
// four only when known), bytes are those read (for a creation: hashed), mhl is the list a
// creation wrote ("" otherwise), mhlError why a creation's list could not be written (""
// otherwise), skipped names the lists that could not be used and unlisted (a verification's
// only) the files under the source that no list names.
QJsonObject json(const HWCVerificationOperation &operation);

// "MHL could not be written: <path>: <reason>" for a creation whose list was not written;
// empty otherwise.
QString mhlWriteFailure(const HWCVerificationOperation &operation);

// For an operation still running when the command had to end: what its progress record
// shows. Main thread; reads nothing the worker writes.
QString unfinishedSummary(const HWCVerificationOperation &operation);
QJsonObject unfinishedJson(const HWCVerificationOperation &operation);

} // namespace HWCResultPrinter
