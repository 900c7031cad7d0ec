#pragma once

#include <QString>
#include <QStringList>
#include <memory>

namespace spdlog::sinks {
class sink;
}

// Leveled log lines: "LEVEL   TIME -[Classes/HWCFile method][Line N] message".
// Errors are written synchronously, everything else through a background thread.
// Any thread may log.

using HWCLogFlag = unsigned;
inline constexpr HWCLogFlag kHWCLogFlagError = 1;
inline constexpr HWCLogFlag kHWCLogFlagWarning = 2;
inline constexpr HWCLogFlag kHWCLogFlagInfo = 4;
inline constexpr HWCLogFlag kHWCLogFlagDebug = 8;
inline constexpr HWCLogFlag kHWCLogFlagVerbose = 16;

// Errors, warnings and information; debug and verbose lines are dropped.
inline constexpr HWCLogFlag kHWCLogLevel = 7;

namespace HWCLog {

// Installs the system-log sink and the rotating log file in stateFolder(). Called once by
// main(); logging before it (or without it, as in tests) goes to the console only.
void setUp();

// Where the log file and crash reports live: $XDG_STATE_HOME/hashwarden, or
// ~/.local/state/hashwarden when the variable is unset. Any thread.
QString stateFolder();

// Adds the rotating file sink writing folder/hashwarden.log (1 MiB per file, three files
// kept), making the folder. False, with nothing added, when the file cannot be opened.
// Once per process.
bool addFileSink(const QString &folder);

// The last count lines of the log file, oldest first, after flushing; empty without one.
QStringList recentLines(int count);

// Whether lines also go to stderr (the default). The command line turns this off unless
// asked, so that its own messages are all a terminal shows. Any thread.
void setConsoleEnabled(bool enabled);

// Adds a sink that receives every line (tests read log lines through this).
void addSink(std::shared_ptr<spdlog::sinks::sink> sink);
void removeSink(const std::shared_ptr<spdlog::sinks::sink> &sink);

// Waits until every asynchronous line has reached the sinks.
void flush();

// Writes every queued line and stops the background thread, so that no line is formatted
// while the process's static data is being destroyed; lines logged afterwards are written
// synchronously. Called on every way out of the process (a return from main(), exit(),
// _Exit()) before any static destructor runs. Any thread.
void shutdown();

// The seven-character label of a level flag ("ERROR  ", ..., seven blanks for others).
QString label(HWCLogFlag flag);

// The source file as log lines have always named it, by the layer it belongs to and its
// name without extension: ".../src/engine/operations/HWCX.cpp" gives "Classes/HWCX", an
// engine's "...Additions" file "Categories/HWCXAdditions", ".../src/ui/window/HWCY.cpp"
// "UI/HWCY"; "App/" and "CLI/" likewise. Any other file keeps its path below src/.
QString fileTail(const char *file);

void write(HWCLogFlag flag, const char *file, const char *function, int line,
           const QString &message);

} // namespace HWCLog

#define HWC_LOG(flag, message)                                                                     \
    do {                                                                                           \
        if ((flag)&kHWCLogLevel)                                                                   \
            HWCLog::write((flag), __FILE__, __func__, __LINE__, (message));                        \
    } while (0)

#define HWCLogError(message) HWC_LOG(kHWCLogFlagError, message)
#define HWCLogWarning(message) HWC_LOG(kHWCLogFlagWarning, message)
#define HWCLogInfo(message) HWC_LOG(kHWCLogFlagInfo, message)
#define HWCLogDebug(message) HWC_LOG(kHWCLogFlagDebug, message)
#define HWCLogVerbose(message) HWC_LOG(kHWCLogFlagVerbose, message)
