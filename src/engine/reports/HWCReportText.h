#pragma once

#include "engine/records/HWCVerifiedFile.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <functional>

// Texts the logs a person saves share. Any thread.
namespace HWCReportText {

// "Hashwarden Log - <date>", the date as the engine's logs show it; also the name a saved
// log is proposed under.
QString logTitle(const QDateTime &date);

// Every record of files, grouped by file state in the order of the states (the successful
// ones first): for each state that has records a blank line, its name, then line() of each
// of its records in their order.
QString groupedByState(const QList<HWCVerifiedFile> &files,
                       const std::function<QString(const HWCVerifiedFile &)> &line);

} // namespace HWCReportText
