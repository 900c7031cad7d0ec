#pragma once

#include "engine/ascmhl/HWCASCMHLSettings.h"

#include <QString>

// The commands over one ASC MHL history that read no media: flatten and diff. Each prints
// its result (stdout) or why it could not run (stderr) and returns the exit code. Main thread.
namespace HWCASCMHLCommands {

// Writes one stand-alone manifest of the history at source (and those nested in it) to out:
// 0, 66 when the history cannot be used, 73 when out cannot be written.
int flatten(const QString &source, const QString &out, const HWCASCMHLSettings &settings);

// Names the files missing from and new to the history at source: 0 when there are none,
// 1 when there are, 66 when the history cannot be used.
int diff(const QString &source);

} // namespace HWCASCMHLCommands
