#include "HWCBuildInfo.h"
#include "cli/HWCCommandLine.h"
#include "engine/session/HWCCrashReporter.h"
#include "engine/session/HWCLog.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <string_view>
#include <strings.h>

namespace {

bool hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

// Beside the executable in the build folder, else where an installation keeps it.
std::filesystem::path libraryPath(const char *name)
{
    std::error_code error;
    const std::filesystem::path folder =
        std::filesystem::canonical("/proc/self/exe", error).parent_path();
    const std::filesystem::path beside = folder / name;
    if (std::filesystem::exists(beside, error))
        return beside;
    return (folder / HWCBuildInfo::kWindowLibraryFolder / name).lexically_normal();
}

// The window, and the command line that writes PDF reports, live in libraries of their own,
// loaded only here, so that no other command loads a GUI library. The library stays loaded
// until the process ends; its entry takes over main().
int runLibrary(const char *name, const char *entry, const char *purpose, int argc, char **argv)
{
    using Main = int (*)(int, char **);
    const std::string path = libraryPath(name).string();
    void *library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    const auto libraryMain = library ? reinterpret_cast<Main>(dlsym(library, entry)) : nullptr;
    if (!libraryMain) {
        std::fprintf(stderr, "hashwarden: %s: %s\n", purpose, dlerror());
        return EXIT_FAILURE;
    }
    return libraryMain(argc, argv);
}

// Whether a --report FILE (or --report=FILE) names a PDF.
bool asksForPdf(int argc, char **argv)
{
    const auto isPdf = [](std::string_view name) {
        return name.size() > 4 && strcasecmp(name.data() + name.size() - 4, ".pdf") == 0;
    };
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--report" && i + 1 < argc && isPdf(argv[i + 1]))
            return true;
        if (argument.starts_with("--report=") && isPdf(argument))
            return true;
    }
    return false;
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
        return runLibrary(HWCBuildInfo::kWindowLibraryName, "hashwarden_window_main",
                          "the window cannot be opened", argc, argv);
    if (commandLine && asksForPdf(argc, argv))
        return runLibrary(HWCBuildInfo::kReportLibraryName, "hashwarden_report_main",
                          "a PDF report cannot be written", argc, argv);
    return runCommandLine(argc, argv, commandLine);
}
