#include "HWCBuildInfo.h"
#include "cli/HWCCommandLine.h"
#include "engine/session/HWCCrashReporter.h"
#include "engine/session/HWCLog.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>

namespace {

bool hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

// Beside the executable in the build folder, else where an installation keeps it.
std::filesystem::path windowLibrary()
{
    std::error_code error;
    const std::filesystem::path folder =
        std::filesystem::canonical("/proc/self/exe", error).parent_path();
    const std::filesystem::path beside = folder / HWCBuildInfo::kWindowLibraryName;
    if (std::filesystem::exists(beside, error))
        return beside;
    return (folder / HWCBuildInfo::kWindowLibraryFolder / HWCBuildInfo::kWindowLibraryName)
        .lexically_normal();
}

// The window lives in a library of its own, loaded only here, so that a command never loads
// a GUI library. The library stays loaded until the process ends.
int runWindow(int argc, char **argv)
{
    using WindowMain = int (*)(int, char **);
    const std::string path = windowLibrary().string();
    void *library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    const auto windowMain =
        library ? reinterpret_cast<WindowMain>(dlsym(library, "hashwarden_window_main")) : nullptr;
    if (!windowMain) {
        std::fprintf(stderr, "hashwarden: the window cannot be opened: %s\n", dlerror());
        return EXIT_FAILURE;
    }
    return windowMain(argc, argv);
}

int runCommandLine(int argc, char **argv, bool commandLine)
{
    // A command keeps the terminal for its results: log lines reach it only with --debug,
    // which the command line turns on once it has read its options.
    if (commandLine)
        HWCLog::setConsoleEnabled(false);
    HWCLog::setUp();
    HWCCrashReporter::install(HWCLog::stateFolder());
    const int exitCode =
        commandLine ? HWCCommandLine::run(argc, argv) : HWCCommandLine::needsDisplay(argc, argv);
    HWCLog::shutdown();
    return exitCode;
}

} // namespace

// A command runs in the terminal, and so does the note that the window needs a display;
// otherwise the window opens (with a path as its source). Each path sets up the log sinks
// and the crash reporter first, and stops the log's thread before the statics it formats
// with are destroyed.
int main(int argc, char **argv)
{
    const bool commandLine = HWCCommandLine::isCommandLine(argc, argv);
    if (!commandLine && hasDisplay())
        return runWindow(argc, argv);
    return runCommandLine(argc, argv, commandLine);
}
