#pragma once

#include "engine/reports/HWCSourceRun.h"

#include <QString>

// The --log report a production can file: per source the result, host, user, tool version,
// times, the MHLs used with their digest kinds, then every file grouped by state with its
// exact byte count and, under it, the reason when the record gives one. Names are shown as
// hwc_displayedName() shows them. The terminal writes it with --log; the window will export
// it too. Main thread.
namespace HWCLogReport {

// One source's block. A creation also lists every file its MHL names, with size and digest.
QString text(const HWCSourceRun &run);

// The block of a source refused before any operation ran.
QString refusedText(const QString &source, const QString &reason);

} // namespace HWCLogReport
