#pragma once

#include <QByteArray>
#include <QString>

// The --log file on disk. A symbolic link at its name stands for its target, which receives
// the report while the link stays. Any thread; nothing is shared but the file.
namespace HWCLogFile {

// Why a report could not go to path, checked before any file is read; empty when it can.
// The target must be a regular file or not exist yet, its folder must take a new file, and
// with append what it holds must be readable.
QString problem(const QString &path, bool append);

enum class Outcome {
    Written,
    Unwritten,  // the report could not be written; the log is as it was
    Unreadable, // with append: the old log could not be read whole, so it was left alone
};

// Writes bytes in place of the log, atomically. With append they follow what it holds, an
// empty line apart; the whole read-append-rename holds an exclusive lock on the log, so
// that runs appending to one log at once all keep their reports. Otherwise error says why.
Outcome write(const QString &path, const QByteArray &bytes, bool append, QString *error);

} // namespace HWCLogFile
