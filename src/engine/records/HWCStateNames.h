#pragma once

#include "engine/records/HWCTypes.h"

#include <QString>

// The one table of names for each enumeration, used by the value transformers, the
// analytics events and the command line. Any thread.

// The short, untranslated name of an operation state ("Verified OK", "Cancelled", ...);
// "" above 8.
QString HWCOperationStateName(HWCOperationState state);

// A file state's description ("Hash fail", ...), translated; null outside 1 to 9.
QString HWCFileStateName(HWCFileState state);

// An action type as its verb ("Create", "Verify"), translated; null for any other value.
QString HWCActionTypeName(HWCActionType type);
