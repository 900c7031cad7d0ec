#include "CLI/HWCCommandLine.h"
#include "Classes/HWCLog.h"
#include "Classes/HWCOperationController.h"
#include "HWCBuildInfo.h"
#include "UI/HWCMainWindowController.h"

#include <QApplication>

namespace {

// Without a display the window cannot open; the command line's help is the answer then.
bool hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

// The window with its first screen; the application quits when the window closes.
int runWindow(int argc, char **argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QString::fromUtf8(HWCBuildInfo::kExecutableName));
    QApplication::setApplicationVersion(QString::fromUtf8(HWCBuildInfo::kShortVersion));
    HWCOperationController operations;
    HWCMainWindowController windowController;
    windowController.setOperationController(&operations);
    windowController.showWindow();
    return app.exec();
}

} // namespace

int main(int argc, char **argv)
{
    HWCLog::setUp();
    if (argc == 1 && hasDisplay())
        return runWindow(argc, argv);
    return HWCCommandLine::run(argc, argv);
}
