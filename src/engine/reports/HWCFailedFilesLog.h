#pragma once

#include "engine/records/HWCVerifiedFile.h"

#include <QList>
#include <QString>

// The plain-text log a person saves from a finished operation: every record, grouped by
// file state, the successful ones first, headed by the time now and the source. Any thread.
namespace HWCFailedFilesLog {

QString text(const QString &source, const QList<HWCVerifiedFile> &files);

} // namespace HWCFailedFilesLog
