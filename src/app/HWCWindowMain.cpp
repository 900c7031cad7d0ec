#include "app/AppDelegate.h"
#include "engine/session/HWCCrashReporter.h"
#include "engine/session/HWCLog.h"

#include <dlfcn.h>

// The window library's one export (window.map), which the executable looks up by name once it has
// loaded the library: sets up the log sinks and the crash reporter of this library's engine, runs
// the window, then stops the log's thread before the statics it formats with are destroyed.
extern "C" int hashwarden_window_main(int argc, char **argv)
{
    HWCLog::setUp();
    HWCCrashReporter::install(HWCLog::stateFolder());
    Dl_info library{};
    dladdr(reinterpret_cast<void *>(&hashwarden_window_main), &library);
    const int exitCode = AppDelegate::exec(argc, argv, QString::fromLocal8Bit(library.dli_fname));
    HWCLog::shutdown();
    return exitCode;
}
