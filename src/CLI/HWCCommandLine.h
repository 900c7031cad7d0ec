#pragma once

// The terminal front end: verify, create and info without a display.
namespace HWCCommandLine {

// Whether the arguments ask for the command line (a command, or an option such as --help)
// rather than for the window.
bool isCommandLine(int argc, char **argv);

// Parses the arguments and runs the command; returns the process exit code.
int run(int argc, char **argv);

// Says that the window needs a display and shows the usage; returns the exit code.
int needsDisplay(int argc, char **argv);

} // namespace HWCCommandLine
