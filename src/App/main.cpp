#include "CLI/HWCCommandLine.h"
#include "Classes/HWCLog.h"
#include "UI/HWCGallery.h"

namespace {

// Without a display the window cannot open; the command line's help is the answer then.
bool hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

} // namespace

int main(int argc, char **argv)
{
    HWCLog::setUp();
    if (argc == 1 && hasDisplay())
        return HWCGallery::exec(argc, argv);
    return HWCCommandLine::run(argc, argv);
}
