#pragma once

#include "engine/records/HWCTypes.h"

class HWCSourceOperation;
struct HWCSourceRun;

// The command line's exit codes. With several sources the most serious outcome decides:
// an unwritten MHL, then cancelled, then warnings, then nothing to do.
namespace HWCExitCode {

inline constexpr int kOK = 0;          // Verified OK / Created OK
inline constexpr int kWarnings = 1;    // Finished with warnings, an unusable MHL, or no log written
inline constexpr int kNothingToDo = 2; // No MHL / No files found / nothing checked
inline constexpr int kCancelled = 3;   // Cancelled (Ctrl-C)
inline constexpr int kUsage = 64;      // unknown option, missing argument
inline constexpr int kUnusableSource = 66; // an ordinary file, a path that does not exist
inline constexpr int kCantCreate = 73;     // a creation's MHL could not be written

// The code of one finished operation's state. A state an operation never leaves on its own
// (Preparing: cancelled before it ran) counts as cancelled.
int forState(HWCOperationState state);

// The code of one finished operation: that of its state, but a creation whose list could not
// be written gives kCantCreate (the operation itself still ends as Created OK), a
// verification that checked no file at all is not a success, and one that met a list it
// could not use has warnings.
int forOperation(const HWCSourceOperation &operation);

// The code of a finished run: its operation's, made kWarnings by files no list names and by
// folders that could not be read when the run is strict.
int forRun(const HWCSourceRun &run);

// The more serious of two codes.
int worse(int a, int b);

} // namespace HWCExitCode
