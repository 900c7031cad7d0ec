#include "ui/window/HWCFeedbackReport.h"

#include "HWCBuildInfo.h"
#include "engine/session/HWCLog.h"
#include "engine/session/HWCSession.h"

#include <QCoreApplication>
#include <QSysInfo>

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("Hashwarden", text);
}

} // namespace

QString HWCFeedbackReport::typeTitle(Type type)
{
    switch (type) {
    case SupportRequest:
        return tr("Support Request");
    case BugReport:
        return tr("Bug Report");
    case Feedback:
        break;
    }
    return tr("Feedback");
}

QString HWCFeedbackReport::systemInformation()
{
    const HWCSession &session = HWCSession::sharedSession();
    return QStringLiteral("Version: %1\nBuild: %2\nRelease type: %3\nOS: %4 (%5 %6, %7)\n"
                          "Qt: %8 (built with %9)\n")
        .arg(QString::fromUtf8(HWCBuildInfo::kShortVersion),
             QString::fromUtf8(HWCBuildInfo::kBuildNumber), session.releaseType(),
             QSysInfo::prettyProductName(), QSysInfo::kernelType(), QSysInfo::kernelVersion(),
             QSysInfo::currentCpuArchitecture(), QString::fromLatin1(qVersion()),
             QStringLiteral(QT_VERSION_STR));
}

QString HWCFeedbackReport::subject() const
{
    return QStringLiteral("%1 %2: %3")
        .arg(QString::fromUtf8(HWCBuildInfo::kExecutableName),
             QString::fromUtf8(HWCBuildInfo::kShortVersion), typeTitle(type));
}

QString HWCFeedbackReport::text() const
{
    QString text = QStringLiteral("Type: %1\nFrom: %2 <%3>\n\n%4\n")
                       .arg(typeTitle(type), name.trimmed(), email.trimmed(), message.trimmed());
    if (!attachSystemInformation)
        return text;
    text += QStringLiteral("\n-- System information --\n") + systemInformation();
    const QStringList lines = HWCLog::recentLines(kLogLineCount);
    text += QStringLiteral("\n-- Last %1 log lines --\n").arg(lines.size());
    for (const QString &line : lines)
        text += line + QLatin1Char('\n');
    return text;
}

QUrl HWCFeedbackReport::mailtoUrl(const QString &address) const
{
    QUrl url;
    url.setScheme(QStringLiteral("mailto"));
    url.setPath(address);
    // Every reserved character encoded, so that '&', '+' and line breaks in the text survive
    // the mail client's parsing.
    const auto encoded = [](const QString &value) { return QUrl::toPercentEncoding(value); };
    url.setQuery(QString::fromLatin1("subject=" + encoded(subject()) + "&body=" + encoded(text())),
                 QUrl::StrictMode);
    return url;
}
