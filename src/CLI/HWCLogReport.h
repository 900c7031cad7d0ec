#pragma once

#include "CLI/HWCOutcome.h"

#include <QString>

// The --log report a production can file: per source the result, host, user, tool version,
// times, the MHLs used with their digest kinds, then every file grouped by state with its
// exact byte count and, under it, the reason when the record gives one. Main thread.
namespace HWCLogReport {

// Why a log could not be written at path (the system's words), checked before any reading:
// the folder must take a new file and the name must not be a folder. Empty when it can.
QString pathProblem(const QString &path);

// One source's block. A creation also lists every file its MHL names, with size and digest.
QString text(const HWCSourceRun &run);

// The block of a source refused before any operation ran.
QString refusedText(const QString &source, const QString &reason);

// Writes the blocks, an empty line apart, atomically; with append after what the file
// already holds. False with error set when it cannot.
bool write(const QString &path, const QStringList &blocks, bool append, QString *error);

} // namespace HWCLogReport
