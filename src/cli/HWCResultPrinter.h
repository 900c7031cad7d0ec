#pragma once

#include <QString>

class HWCSourceOperation;
class QTextStream;
struct HWCHistoryEntry;

// Turns an operation into the texts the command line prints on stdout; the long ones are
// written to a stream as they are made, so that a million records are never one text. Any thread,
// once the operation has finished and its progress record has received every update, except for
// unfinishedSummary(). Names are shown as hwc_displayedName() shows them.
namespace HWCResultPrinter {

// The human summary: source, action and outcome, counts, then one section per file state
// other than "File read successfully", in the order of the states, naming each file, with
// the reason in words when the record has one; a "Hash fail" with the digests compared and
// the size found against the size listed; then the files not listed.
void summary(const HWCSourceOperation &operation, QTextStream &out);
// The same of a run the history kept; one of more files than it keeps every record of lists
// only its failures, as the summary does.
void summary(const HWCHistoryEntry &entry, QTextStream &out);

// One line per record, "<source>/<path>: OK" or "<source>/<path>: <file state>", in list
// order; with problemsOnly, only the records that did not read successfully.
void fileLines(const HWCSourceOperation &operation, bool problemsOnly, QTextStream &out);

// What --quiet prints: nothing for an operation whose exit code is 0 and that left no file
// unlisted, otherwise its first summary line, fileLines() of its problems and the files not
// listed.
void problems(const HWCSourceOperation &operation, QTextStream &out);

// "MHL could not be written: <path>: <reason>" for a creation whose list was not written,
// "History could not be recorded: …" for a verification whose generation was not; empty
// otherwise.
QString mhlWriteFailure(const HWCSourceOperation &operation);

// For an operation still running when the command had to end: what its progress record
// shows. Main thread; reads nothing the worker writes.
QString unfinishedSummary(const HWCSourceOperation &operation);

} // namespace HWCResultPrinter
