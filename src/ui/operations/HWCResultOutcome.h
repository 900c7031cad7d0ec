#pragma once

#include "engine/records/HWCTypes.h"

#include <QString>

class HWCSourceOperation;

// How an operation ended, as the window tells it apart by colour, sign and words:
// Verified (green, tick), Warnings (amber, !: every file verified, but something was left
// out: files no MHL lists, an MHL or folder that could not be read), Failed (red, cross: a
// file that did not verify, or a creation that could not read every file), Cancelled
// (grey, stop) and NothingDone (red, cross: nothing was verified, no MHL was written).
// Main thread.
namespace HWCResultOutcome {

enum Outcome { Running, Verified, Warnings, Failed, Cancelled, NothingDone };

Outcome of(const HWCSourceOperation &operation);

// The progress bar's theme (HWIProgressIndicator::gradientForTheme) of an outcome.
HWCTheme theme(Outcome outcome);

// The engine's state text (HWCOperationInfo::stateString) in the window's words, which
// spell "Cancelled.".
QString stateText(const HWCSourceOperation &operation);

// The sign drawn in the outcome's mark: ✓, !, ✕, ■, or … while running.
const char *sign(Outcome outcome);

} // namespace HWCResultOutcome
