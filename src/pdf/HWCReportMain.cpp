#include "cli/HWCCommandLine.h"
#include "engine/reports/HWCReportFile.h"
#include "engine/session/HWCCrashReporter.h"
#include "engine/session/HWCLog.h"
#include "pdf/HWCPdfReport.h"

#include <QGuiApplication>
#include <csignal>

// The report library's one export (report.map), which the executable calls in place of its
// own command line when a PDF report is asked for: the same command, run in a
// QGuiApplication (without a display) so that text can be laid out.
extern "C" int hashwarden_report_main(int argc, char **argv)
{
    HWCLog::setConsoleEnabled(false);
    HWCLog::setUp();
    HWCCrashReporter::install(HWCLog::stateFolder());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Qt's notes on the platform it starts (no runtime folder, fonts) go to the log, not
    // among the command's own messages.
    qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &message) { HWCLogInfo(message); });
    // As for any command: a reader that goes away ends the printing, not the command.
    std::signal(SIGPIPE, SIG_IGN);
    int exitCode = 0;
    {
        QGuiApplication app(argc, argv);
        HWCReportFile::setPdfRenderer(&HWCPdfReport::render);
        exitCode = HWCCommandLine::execute(QCoreApplication::arguments());
    }
    HWCLog::shutdown();
    return exitCode;
}
