#pragma once

#include "engine/history/HWCHistoryEntry.h"

#include <QString>

// Where every ended operation is recorded, whichever front end ran it: the operation
// controller calls record() once per operation when it reports the operation's completion.
namespace HWCHistoryRecorder {

// How long entries are kept unless the setting "HistoryRetentionDays" says otherwise.
inline constexpr int kDefaultRetentionDays = 365;

// Adds the environment to entry, stores it in the history at path, then removes the
// entries older than the retention. A database that cannot be written stops nothing:
// returns why the entry could not be recorded, empty when it was. Any thread.
QString record(HWCHistoryEntry entry, const QString &path);

// The setting, at least one day.
int retentionDays();

} // namespace HWCHistoryRecorder
