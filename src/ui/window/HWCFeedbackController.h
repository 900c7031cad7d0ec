#pragma once

#include "ui/window/HWCFeedbackReport.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;

// The feedback dialog: a type pop-up (feedback, support request, bug report), name, e-mail
// and message fields and "Attach log and system information". Send hands the report to the
// desktop's mail client, addressed to the support address; "Save Report…" writes the same text
// to a file. The application fixes the type per command. Main thread.
class HWCFeedbackController : public QDialog {
    Q_OBJECT

public:
    explicit HWCFeedbackController(QWidget *parent = nullptr);

    QComboBox *feedbackTypeButton() const { return m_typeButton; }
    void setSupportAddress(const QString &address) { m_supportAddress = address; }

    // Fills the message, as with a crash report found at start-up.
    void setMessage(const QString &message);

    // The report as the fields say now.
    HWCFeedbackReport report() const;

    // Selects type, disables the pop-up so that it cannot change, and adapts the dialog.
    void fixFeedbackType(HWCFeedbackReport::Type type);

public Q_SLOTS:
    // Adapts the title, the prompt and the Send button to the selected type.
    void changeFeedbackType();
    // Opens the mail client with the report; when there is none, says so and offers to save
    // or copy the report instead, leaving the dialog open.
    void send();
    // Whether the desktop names a handler for mailto: links.
    static bool hasMailClient();
    // Asks for a file and writes the report's text to it.
    void saveReport();

private:
    void updateSendButton();
    void writeReport(const QString &path);

    QString m_supportAddress;
    QComboBox *m_typeButton;
    QLineEdit *m_name;
    QLineEdit *m_email;
    QPlainTextEdit *m_message;
    QCheckBox *m_attach;
    QPushButton *m_send;
};
