#pragma once

#include <QString>
#include <QUrl>

// What a feedback message, support request or bug report says, and the e-mail that carries
// it to the support address. Plain values; any thread.
struct HWCFeedbackReport {
    // The entries of the feedback dialog's type pop-up, in its order.
    enum Type { Feedback = 0, SupportRequest = 1, BugReport = 2 };

    // The log lines that go with an attached report.
    static constexpr int kLogLineCount = 40;

    Type type = Feedback;
    QString name;
    QString email;
    QString message;
    // Adds systemInformation() and the last kLogLineCount lines of the log file.
    bool attachSystemInformation = true;

    // "Feedback", "Support Request", "Bug Report".
    static QString typeTitle(Type type);

    // Version, build, release type, operating system and Qt version, one per line.
    static QString systemInformation();

    // The whole report as the e-mail body and the saved file hold it.
    QString text() const;
    QString subject() const;

    // A mailto: URL to address with subject() and text().
    QUrl mailtoUrl(const QString &address) const;
};
