#include "ui/operations/HWCLogExport.h"

#include "engine/files/HWCPathAdditions.h"
#include "engine/operations/HWCSourceOperation.h"
#include "engine/records/HWCOperationInfo.h"
#include "engine/records/HWIDateToStringWithTimeValueTransformer.h"
#include "engine/reports/HWCLogReport.h"
#include "engine/session/HWCLog.h"
#include "ui/window/HWCWorkspaceAdditions.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QSettings>
#include <QStandardPaths>

namespace {

const QString kLastFolderKey = QStringLiteral("Export/lastFolder");

QString tr(const char *text)
{
    return QCoreApplication::translate("Hashwarden", text);
}

QSettings settings()
{
    return QSettings(QStringLiteral("Hashwarden"), QStringLiteral("Hashwarden"));
}

// A name not yet taken in folder: two cards of the same name get "… 2.txt".
QString freePath(const QDir &folder, const QString &name)
{
    QString path = folder.filePath(name);
    const QString base = QFileInfo(name).completeBaseName();
    for (int number = 2; QFileInfo::exists(path); ++number)
        path = folder.filePath(QStringLiteral("%1 %2.txt").arg(base).arg(number));
    return path;
}

} // namespace

QString HWCLogExport::fileName(const HWCSourceOperation &operation, const QDateTime &date)
{
    return QStringLiteral("Hashwarden Log - %1 - %2.txt")
        .arg(hwc_lastPathComponent(operation.info()->path()),
             HWIDateToStringWithTimeValueTransformer::transformedValue(date));
}

QString HWCLogExport::startFolder()
{
    const QString last = settings().value(kLastFolderKey).toString();
    if (!last.isEmpty() && QFileInfo(last).isDir())
        return last;
    const QStringList documents =
        QStandardPaths::standardLocations(QStandardPaths::DocumentsLocation);
    return documents.value(documents.size() - 1, QDir::homePath());
}

void HWCLogExport::confirm(QWidget *parent, const QString &text, const QStringList &written,
                           bool failed)
{
    if (!written.isEmpty())
        settings().setValue(kLastFolderKey, QFileInfo(written.first()).absolutePath());
    auto *box = new QMessageBox(failed ? QMessageBox::Warning : QMessageBox::Information,
                                tr("Export"), text, QMessageBox::Ok, parent->window());
    if (!written.isEmpty()) {
        QPushButton *show = box->addButton(tr("Show in Folder"), QMessageBox::ActionRole);
        QObject::connect(show, &QPushButton::clicked, box,
                         [written] { hwc_activateFileViewerSelecting(written); });
    }
    box->setWindowModality(Qt::WindowModal);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

bool HWCLogExport::write(const std::shared_ptr<HWCSourceOperation> &operation, const QString &path)
{
    return HWCLogReport::writeTo({operation, operation->startDate(), operation->endDate()}, path);
}

void HWCLogExport::exportLogs(QWidget *parent, const HWCOperationController::Operations &list)
{
    HWCOperationController::Operations verifications;
    for (const auto &operation : list) {
        if (operation->actionType() == HWCActionType::Verify)
            verifications.append(operation);
    }
    if (verifications.isEmpty())
        return;
    const QDateTime now = QDateTime::currentDateTime();
    const bool one = verifications.size() == 1;
    auto *panel = new QFileDialog(parent->window(), one ? tr("Export Log") : tr("Export Logs"),
                                  startFolder());
    panel->setAcceptMode(one ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    panel->setFileMode(one ? QFileDialog::AnyFile : QFileDialog::Directory);
    // Qt's own panel, which follows the window's dark look on every desktop.
    panel->setOption(QFileDialog::DontUseNativeDialog);
    panel->setLabelText(QFileDialog::Accept, tr("Export"));
    if (one) {
        panel->setDefaultSuffix(QStringLiteral("txt"));
        panel->selectFile(fileName(*verifications.first(), now));
    }
    panel->setWindowModality(Qt::WindowModal);
    panel->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(
        panel, &QFileDialog::finished, parent,
        [parent, panel = QPointer<QFileDialog>(panel), verifications, now, one](int result) {
            if (result != QDialog::Accepted || !panel || panel->selectedFiles().isEmpty()) {
                HWCLogError(QStringLiteral("Export was cancelled."));
                return;
            }
            const QString chosen = panel->selectedFiles().constFirst();
            QStringList written;
            QStringList failed;
            for (const auto &operation : verifications) {
                const QString path =
                    one ? chosen : freePath(QDir(chosen), fileName(*operation, now));
                (write(operation, path) ? written : failed) << path;
            }
            QString text = written.size() == 1
                               ? tr("The log was written to %1.").arg(written.first())
                               : tr("%1 logs were written to %2.")
                                     .arg(written.size())
                                     .arg(QFileInfo(written.value(0)).absolutePath());
            if (!failed.isEmpty())
                text = tr("These logs could not be written: %1")
                           .arg(failed.join(QStringLiteral(", ")));
            confirm(parent, text, written, !failed.isEmpty());
        });
    panel->open();
}
