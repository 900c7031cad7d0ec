#pragma once

#include "engine/reports/HWCSourceRun.h"

#include <QString>

// The --log report a production can file: per source the result, host, user, tool version,
// times, the MHLs used with their digest kinds, the MHL or history generations written (or
// why not), then every file grouped by state with its exact byte count and, under it, the
// reason when the record gives one; the files a generation records as new, and those no list
// names. Names are shown as
// hwc_displayedName() shows them. The terminal writes it with --log, the window exports it.
// Main thread.
namespace HWCLogReport {

// One source's block. A creation also lists every file its MHL or generation names, with size
// and digests.
QString text(const HWCSourceRun &run);

// Writes text(run) to path as UTF-8, atomically and synced: the path holds the whole report
// or what it held before. Returns false (and logs why) when it cannot.
bool writeTo(const HWCSourceRun &run, const QString &path);

// The block of a source refused before any operation ran.
QString refusedText(const QString &source, const QString &reason);

} // namespace HWCLogReport
