#pragma once

#include "Classes/HWCTypes.h"

class HWCVerificationOperation;

// The command line's exit codes. With several sources the most serious outcome decides:
// an unwritten MHL, then cancelled, then warnings, then nothing to do.
namespace HWCExitCode {

inline constexpr int kOK = 0;              // Verified OK / Created OK
inline constexpr int kWarnings = 1;        // Finished with warnings, or the log was not written
inline constexpr int kNothingToDo = 2;     // No MHL / No files found / nothing to do
inline constexpr int kCancelled = 3;       // Cancelled (Ctrl-C)
inline constexpr int kUsage = 64;          // unknown option, missing argument
inline constexpr int kUnusableSource = 66; // an ordinary file, a path that does not exist
inline constexpr int kCantCreate = 73;     // a creation's MHL could not be written

// The code of one finished operation's state. A state an operation never leaves on its own
// (Preparing: cancelled before it ran) counts as cancelled.
int forState(HWCOperationState state);

// The code of one finished operation: its state's, or kCantCreate when it is a creation
// whose list could not be written (the operation itself still ends as Created OK).
int forOperation(const HWCVerificationOperation &operation);

// The more serious of two codes.
int worse(int a, int b);

} // namespace HWCExitCode
