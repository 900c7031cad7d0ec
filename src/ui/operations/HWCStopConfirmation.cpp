#include "ui/operations/HWCStopConfirmation.h"

#include "engine/operations/HWCSourceOperation.h"

#include <QCoreApplication>
#include <QMessageBox>
#include <QPushButton>

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("Hashwarden", text);
}

} // namespace

HWCOperationController::Operations
HWCStopConfirmation::unfinished(const HWCOperationController::Operations &list)
{
    HWCOperationController::Operations running;
    for (const auto &operation : list) {
        if (!operation->isFinished())
            running.append(operation);
    }
    return running;
}

QString HWCStopConfirmation::question(const HWCOperationController::Operations &unfinished)
{
    qsizetype creations = 0;
    for (const auto &operation : unfinished)
        creations += operation->actionType() == HWCActionType::Create ? 1 : 0;
    const qsizetype count = unfinished.size();
    const bool one = count == 1;
    QString kind = one ? tr("operation") : tr("operations");
    if (creations == count)
        kind = one ? tr("creation") : tr("creations");
    else if (creations == 0)
        kind = one ? tr("verification") : tr("verifications");
    return tr("Stop %1 running %2?").arg(count).arg(kind);
}

QMessageBox *HWCStopConfirmation::makeQuestion(QWidget *parent,
                                               const HWCOperationController::Operations &running)
{
    bool creates = false;
    for (const auto &operation : running)
        creates = creates || operation->actionType() == HWCActionType::Create;
    auto *box = new QMessageBox(QMessageBox::Warning, tr("Hashwarden"), question(running),
                                QMessageBox::NoButton, parent ? parent->window() : nullptr);
    box->setInformativeText(creates ? tr("A stopped creation writes no MHL.")
                                    : tr("The files not yet read stay unverified."));
    box->addButton(tr("Stop"), QMessageBox::DestructiveRole);
    QPushButton *keep = box->addButton(tr("Keep Running"), QMessageBox::RejectRole);
    box->setDefaultButton(keep);
    box->setEscapeButton(keep);
    box->setWindowModality(Qt::WindowModal);
    box->setAttribute(Qt::WA_DeleteOnClose);
    return box;
}

bool HWCStopConfirmation::confirm(QWidget *parent, const HWCOperationController::Operations &list,
                                  const std::function<void()> &stop)
{
    const HWCOperationController::Operations running = unfinished(list);
    if (running.isEmpty()) {
        stop();
        return false;
    }
    QMessageBox *box = makeQuestion(parent, running);
    QObject::connect(box, &QMessageBox::buttonClicked, box, [box, stop](QAbstractButton *button) {
        if (box->buttonRole(button) == QMessageBox::DestructiveRole)
            stop();
    });
    box->open();
    return true;
}
