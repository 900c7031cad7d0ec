#pragma once

#include "engine/operations/HWCOperationController.h"

#include <QDateTime>
#include <QString>

class QWidget;

// Exports the logs of the operation list, each verification its own file, never one over
// another: one verification asks for a file name in a save panel, several for a folder that
// gets one file each. The panel proposes "Hashwarden Log - <card> - <date>.txt" in the
// folder the last export went to (else Documents), and a message then says where the logs
// were written, with "Show in Folder". Main thread.
namespace HWCLogExport {

// "Hashwarden Log - CARD_A - 2024-03-12 at 10.04.00.txt"
QString fileName(const HWCSourceOperation &operation, const QDateTime &date);

// The folder the panel starts in: the last export's, else the Documents folder.
QString startFolder();

// Remembers the folder of the first written file as the next export's start, then shows text
// (window-modal over parent; a warning when failed), with "Show in Folder" selecting written.
void confirm(QWidget *parent, const QString &text, const QStringList &written, bool failed);

// Writes the report of operation (the one the command line's --log writes) to path.
bool write(const std::shared_ptr<HWCSourceOperation> &operation, const QString &path);

// Opens the panel (window-modal over parent) for the verifications of list.
void exportLogs(QWidget *parent, const HWCOperationController::Operations &list);

} // namespace HWCLogExport
