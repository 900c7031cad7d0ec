#pragma once

#include <QStringList>

// The terminal front end: verify, create and info without a display.
namespace HWCCommandLine {

// Whether the arguments ask for the command line (a command, an option such as --help, or
// more than one argument) rather than for the window (no argument, or one PATH).
bool isCommandLine(int argc, char **argv);

// Makes the application object, then runs execute(); returns the process exit code.
int run(int argc, char **argv);

// Parses the arguments (the program name first) and runs the command on the main thread of
// the existing QCoreApplication, whose events it processes until the command has ended.
// Writes to stdout and stderr; returns the exit code.
int execute(const QStringList &arguments);

// Says that the window needs a display and shows the usage; returns the exit code.
int needsDisplay(int argc, char **argv);

} // namespace HWCCommandLine
