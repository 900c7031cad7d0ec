#include "engine/session/HWCCrashReporter.h"

#include "HWCBuildInfo.h"

#include <QDir>
#include <QFile>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <execinfo.h>
#include <fcntl.h>
#include <typeinfo>
#include <unistd.h>

namespace {

constexpr int kFatalSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT};
constexpr int kMaxFrames = 64;

// Everything the signal handler needs is prepared beforehand: it may only call
// async-signal-safe functions.
char g_reportPath[4096];
char g_header[256];
std::atomic<bool> g_reported{false};
// Room for the handler when the crash is a stack overflow.
alignas(16) char g_alternateStack[64 * 1024];

QString reportPath(const QString &folder)
{
    return folder + QStringLiteral("/crash-report.txt");
}

void writeText(int fd, const char *text)
{
    size_t left = std::strlen(text);
    while (left > 0) {
        const ssize_t written = ::write(fd, text, left);
        if (written <= 0)
            return;
        text += written;
        left -= size_t(written);
    }
}

const char *signalName(int signal)
{
    switch (signal) {
    case SIGSEGV:
        return "SIGSEGV (segmentation fault)";
    case SIGBUS:
        return "SIGBUS (bus error)";
    case SIGILL:
        return "SIGILL (illegal instruction)";
    case SIGFPE:
        return "SIGFPE (arithmetic exception)";
    case SIGABRT:
        return "SIGABRT (abort)";
    default:
        return "unknown signal";
    }
}

// Writes the report once; a second fault (abort() after an uncaught exception) keeps the
// first cause.
void writeReport(const char *cause, const char *detail)
{
    if (g_reported.exchange(true))
        return;
    const int fd = ::open(g_reportPath, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0)
        return;
    writeText(fd, g_header);
    writeText(fd, cause);
    writeText(fd, detail);
    writeText(fd, "\n\nStack trace:\n");
    void *frames[kMaxFrames];
    backtrace_symbols_fd(frames, backtrace(frames, kMaxFrames), fd);
    ::close(fd);
}

void handleSignal(int signal)
{
    writeReport("Signal: ", signalName(signal));
    // SA_RESETHAND restored the default action: raising again ends the process with it.
    ::raise(signal);
}

void handleTermination()
{
    const char *what = "an exception of unknown type";
    if (const std::exception_ptr current = std::current_exception()) {
        try {
            std::rethrow_exception(current);
        } catch (const std::exception &error) {
            what = error.what();
        } catch (...) {
        }
    } else {
        what = "std::terminate without an exception";
    }
    writeReport("Uncaught exception: ", what);
    std::abort();
}

} // namespace

namespace HWCCrashReporter {

void install(const QString &folder)
{
    QDir().mkpath(folder);
    const QByteArray path = QFile::encodeName(reportPath(folder));
    std::strncpy(g_reportPath, path.constData(), sizeof g_reportPath - 1);
    std::snprintf(g_header, sizeof g_header,
                  "%s crash report\nVersion: %s (build %s)\nProcess: %d\n",
                  HWCBuildInfo::kExecutableName, HWCBuildInfo::kShortVersion,
                  HWCBuildInfo::kBuildNumber, int(::getpid()));
    // The first backtrace() loads libgcc; doing it now keeps malloc out of the handler.
    void *frame[1];
    backtrace(frame, 1);

    stack_t stack{};
    stack.ss_sp = g_alternateStack;
    stack.ss_size = sizeof g_alternateStack;
    sigaltstack(&stack, nullptr);
    struct sigaction action {};
    action.sa_handler = handleSignal;
    action.sa_flags = SA_RESETHAND | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    for (const int signal : kFatalSignals)
        sigaction(signal, &action, nullptr);
    std::set_terminate(handleTermination);
}

QString pendingReport(const QString &folder)
{
    QFile file(reportPath(folder));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll());
}

void discardPendingReport(const QString &folder)
{
    const QString old = folder + QStringLiteral("/crash-report.old.txt");
    QFile::remove(old);
    QFile::rename(reportPath(folder), old);
}

} // namespace HWCCrashReporter
