#pragma once

// The terminal front end: verify, create and info without a display.
namespace HWCCommandLine {

// Parses the arguments and runs the command; returns the process exit code.
int run(int argc, char **argv);

} // namespace HWCCommandLine
