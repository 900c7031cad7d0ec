#include "app/AppDelegate.h"
#include "cli/HWCCommandLine.h"
#include "engine/session/HWCCrashReporter.h"
#include "engine/session/HWCLog.h"

namespace {

bool hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

int run(int argc, char **argv)
{
    // A command keeps the terminal for its results: log lines reach it only with --debug,
    // which the command line turns on once it has read its options.
    const bool commandLine = HWCCommandLine::isCommandLine(argc, argv);
    if (commandLine)
        HWCLog::setConsoleEnabled(false);
    HWCLog::setUp();
    HWCCrashReporter::install(HWCLog::stateFolder());
    if (commandLine)
        return HWCCommandLine::run(argc, argv);
    if (!hasDisplay())
        return HWCCommandLine::needsDisplay(argc, argv);
    return AppDelegate::exec(argc, argv);
}

} // namespace

// The log sinks and the crash reporter come first; then a command runs in the terminal, or
// the window opens (with a path as its source). The log's thread stops before the statics
// it formats with are destroyed.
int main(int argc, char **argv)
{
    const int exitCode = run(argc, argv);
    HWCLog::shutdown();
    return exitCode;
}
