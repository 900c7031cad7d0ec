#include "CLI/HWCCommandLine.h"
#include "Classes/HWCLog.h"

int main(int argc, char **argv)
{
    HWCLog::setUp();
    return HWCCommandLine::run(argc, argv);
}
