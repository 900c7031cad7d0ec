#pragma once

#include "engine/operations/HWCOperationController.h"

#include <QString>
#include <functional>

class QMessageBox;
class QWidget;

// Asks before running work is thrown away: "Stop 1 running verification?" with Stop and
// Keep Running, window-modal over the window of parent. Main thread.
namespace HWCStopConfirmation {

// The operations of the list that have not finished, queued ones included.
HWCOperationController::Operations unfinished(const HWCOperationController::Operations &list);

// "Stop 2 running creations?"; "operations" when the kinds are mixed.
QString question(const HWCOperationController::Operations &unfinished);

// The question about unfinished (not empty), window-modal over the window of parent, deleted
// when closed; not yet shown.
QMessageBox *makeQuestion(QWidget *parent, const HWCOperationController::Operations &unfinished);

// Runs stop at once when nothing of list is unfinished; otherwise shows the question and
// runs stop only if the user chooses Stop. Returns whether it asked.
bool confirm(QWidget *parent, const HWCOperationController::Operations &list,
             const std::function<void()> &stop);

} // namespace HWCStopConfirmation
