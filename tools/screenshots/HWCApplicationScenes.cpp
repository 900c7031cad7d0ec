#include "HWCApplicationScenes.h"

#include "app/HWCInstallPrompt.h"
#include "ui/window/HWCAboutWindowController.h"
#include "ui/window/HWCFeedbackController.h"

#include <QLineEdit>
#include <QMessageBox>

namespace {

QWidget *feedbackDialog(HWCFeedbackReport::Type type, const QString &message)
{
    auto *dialog = new HWCFeedbackController;
    dialog->fixFeedbackType(type);
    dialog->setMessage(message);
    if (!message.isEmpty()) {
        const QList<QLineEdit *> fields = dialog->findChildren<QLineEdit *>();
        fields.at(0)->setText(QStringLiteral("Ada Lovelace"));
        fields.at(1)->setText(QStringLiteral("ada@example.org"));
    }
    // A window paints its background itself; rendered alone it needs to be told.
    dialog->setAutoFillBackground(true);
    dialog->resize(520, 460);
    dialog->setFixedSize(dialog->size());
    return dialog;
}

} // namespace

QList<HWCGalleryEntry> applicationScenes()
{
    const QString section = QStringLiteral("Application");
    return {
        {section, QStringLiteral("About window"),
         [] {
             auto *about = new HWCAboutWindowController;
             about->setAutoFillBackground(true);
             about->setFixedSize(about->size());
             return static_cast<QWidget *>(about);
         }},
        {section, QStringLiteral("Send Feedback"),
         [] { return feedbackDialog(HWCFeedbackReport::Feedback, {}); }},
        {section, QStringLiteral("Get Support"),
         [] {
             return feedbackDialog(HWCFeedbackReport::SupportRequest,
                                   QStringLiteral("How do I verify two cards at once?"));
         }},
        {section, QStringLiteral("Report a Bug"),
         [] {
             return feedbackDialog(
                 HWCFeedbackReport::BugReport,
                 QStringLiteral("What were you doing when Hashwarden quit?\n\n\n"
                                "Hashwarden crash report\nVersion: 1.0 (build 1)\n"
                                "Signal: SIGSEGV (segmentation fault)"));
         }},
        {section, QStringLiteral("Install offer"),
         [] {
             QWidget *box = HWCInstallPrompt::makeMessageBox().release();
             box->setAutoFillBackground(true);
             return box;
         }},
    };
}
