#include "ui/window/HWCFeedbackController.h"

#include "engine/session/HWCLog.h"

#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFormLayout>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QSaveFile>
#include <QVBoxLayout>

HWCFeedbackController::HWCFeedbackController(QWidget *parent)
    : QDialog(parent), m_typeButton(new QComboBox), m_name(new QLineEdit), m_email(new QLineEdit),
      m_message(new QPlainTextEdit),
      m_attach(new QCheckBox(tr("Attach log and system information"))),
      m_send(new QPushButton(tr("Send")))
{
    for (const auto type : {HWCFeedbackReport::Feedback, HWCFeedbackReport::SupportRequest,
                            HWCFeedbackReport::BugReport})
        m_typeButton->addItem(HWCFeedbackReport::typeTitle(type));
    m_typeButton->setAccessibleName(tr("Type"));
    m_name->setAccessibleName(tr("Name"));
    m_email->setAccessibleName(tr("E-mail"));
    m_email->setPlaceholderText(tr("So that we can answer"));
    m_message->setAccessibleName(tr("Message"));
    m_attach->setChecked(true);
    m_attach->setToolTip(tr("Version, build, operating system, Qt version and the last %1 lines "
                            "of the log")
                             .arg(HWCFeedbackReport::kLogLineCount));

    auto *form = new QFormLayout;
    form->addRow(tr("Type:"), m_typeButton);
    form->addRow(tr("Name:"), m_name);
    form->addRow(tr("E-mail:"), m_email);
    auto *buttons = new QDialogButtonBox;
    QPushButton *save = buttons->addButton(tr("Save Report…"), QDialogButtonBox::ActionRole);
    buttons->addButton(QDialogButtonBox::Cancel);
    buttons->addButton(m_send, QDialogButtonBox::AcceptRole);
    m_send->setDefault(true);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(m_message, 1);
    layout->addWidget(m_attach);
    layout->addWidget(buttons);

    connect(m_typeButton, &QComboBox::currentIndexChanged, this,
            &HWCFeedbackController::changeFeedbackType);
    connect(m_message, &QPlainTextEdit::textChanged, this,
            &HWCFeedbackController::updateSendButton);
    connect(save, &QPushButton::clicked, this, &HWCFeedbackController::saveReport);
    connect(buttons, &QDialogButtonBox::accepted, this, &HWCFeedbackController::send);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    changeFeedbackType();
    updateSendButton();
    resize(520, 460);
}

void HWCFeedbackController::setMessage(const QString &message)
{
    m_message->setPlainText(message);
}

HWCFeedbackReport HWCFeedbackController::report() const
{
    HWCFeedbackReport report;
    report.type = HWCFeedbackReport::Type(qMax(0, m_typeButton->currentIndex()));
    report.name = m_name->text();
    report.email = m_email->text();
    report.message = m_message->toPlainText();
    report.attachSystemInformation = m_attach->isChecked();
    return report;
}

void HWCFeedbackController::fixFeedbackType(HWCFeedbackReport::Type type)
{
    m_typeButton->setCurrentIndex(type);
    m_typeButton->setEnabled(false);
    changeFeedbackType();
}

void HWCFeedbackController::changeFeedbackType()
{
    const auto type = HWCFeedbackReport::Type(qMax(0, m_typeButton->currentIndex()));
    setWindowTitle(HWCFeedbackReport::typeTitle(type));
    setAccessibleName(HWCFeedbackReport::typeTitle(type));
    switch (type) {
    case HWCFeedbackReport::SupportRequest:
        m_message->setPlaceholderText(tr("What do you need help with?"));
        break;
    case HWCFeedbackReport::BugReport:
        m_message->setPlaceholderText(
            tr("What happened, and what did you expect? Which steps lead to it?"));
        break;
    case HWCFeedbackReport::Feedback:
        m_message->setPlaceholderText(tr("What do you like, and what should be better?"));
        break;
    }
}

void HWCFeedbackController::updateSendButton()
{
    m_send->setEnabled(!m_message->toPlainText().trimmed().isEmpty());
}

bool HWCFeedbackController::hasMailClient()
{
    // xdg-open "succeeds" for a mailto: link with no handler at all; ask for the handler.
    QProcess query;
    query.start(QStringLiteral("xdg-mime"), {QStringLiteral("query"), QStringLiteral("default"),
                                             QStringLiteral("x-scheme-handler/mailto")});
    return query.waitForFinished(3000) && query.exitCode() == 0 &&
           !query.readAllStandardOutput().trimmed().isEmpty();
}

void HWCFeedbackController::send()
{
    if (hasMailClient() && QDesktopServices::openUrl(report().mailtoUrl(m_supportAddress))) {
        m_message->clear();
        accept();
        return;
    }
    HWCLogWarning(QStringLiteral("No mail client opened for %1").arg(m_supportAddress));
    // The dialog stays open with the report: nothing was sent.
    QMessageBox box(QMessageBox::Warning, windowTitle(),
                    tr("No mail client is set up, so the report was not sent. Save it or copy "
                       "it, and send it to %1.")
                        .arg(m_supportAddress),
                    QMessageBox::Cancel, this);
    QPushButton *save = box.addButton(tr("Save Report…"), QMessageBox::ActionRole);
    QPushButton *copy = box.addButton(tr("Copy Report"), QMessageBox::ActionRole);
    box.exec();
    if (box.clickedButton() == save)
        saveReport();
    else if (box.clickedButton() == copy)
        QGuiApplication::clipboard()->setText(report().text());
}

void HWCFeedbackController::saveReport()
{
    auto *dialog = new QFileDialog(this, tr("Save Report"), QDir::homePath());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setDefaultSuffix(QStringLiteral("txt"));
    dialog->selectFile(QStringLiteral("Hashwarden %1.txt").arg(windowTitle()));
    dialog->setWindowModality(Qt::WindowModal);
    connect(dialog, &QFileDialog::fileSelected, this, &HWCFeedbackController::writeReport);
    dialog->open();
}

void HWCFeedbackController::writeReport(const QString &path)
{
    QSaveFile file(path);
    const QByteArray text = report().text().toUtf8();
    if (file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.commit())
        return;
    QMessageBox::warning(this, windowTitle(),
                         tr("The report could not be saved: %1").arg(file.errorString()));
}
