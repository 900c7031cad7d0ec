#include "cli/HWCInterruptWatcher.h"

#include "cli/HWCExitCode.h"

#include <QSocketNotifier>
#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

int g_pipe[2] = {-1, -1};
std::atomic<int> g_interrupts{0};
constexpr int kSignals[] = {SIGINT, SIGTERM};

// Two buffers: the handler, on whichever thread the signal lands, reads the one published
// while the main thread fills the other.
struct LastWords {
    char bytes[512];
    size_t length = 0;
};
LastWords g_lastWords[2];
std::atomic<int> g_published{0};

void onInterrupt(int)
{
    // Only async-signal-safe calls here.
    if (g_interrupts.fetch_add(1) > 0) {
        const LastWords &words = g_lastWords[g_published.load()];
        [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, words.bytes, words.length);
        _exit(HWCExitCode::kCancelled);
    }
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = write(g_pipe[1], &byte, 1);
}

} // namespace

HWCInterruptWatcher::HWCInterruptWatcher(QObject *parent) : QObject(parent)
{
    if (pipe2(g_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    m_notifier = new QSocketNotifier(g_pipe[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &HWCInterruptWatcher::readPipe);
    struct sigaction action = {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int number : kSignals)
        sigaction(number, &action, nullptr);
}

HWCInterruptWatcher::~HWCInterruptWatcher()
{
    for (const int number : kSignals)
        signal(number, SIG_DFL);
    delete m_notifier;
    if (g_pipe[0] >= 0) {
        close(g_pipe[0]);
        close(g_pipe[1]);
    }
    g_pipe[0] = g_pipe[1] = -1;
    g_interrupts.store(0);
}

void HWCInterruptWatcher::setLastWords(const QByteArray &bytes)
{
    const int next = 1 - g_published.load();
    LastWords &words = g_lastWords[next];
    words.length = std::min(size_t(bytes.size()), sizeof words.bytes);
    std::memcpy(words.bytes, bytes.constData(), words.length);
    g_published.store(next);
}

void HWCInterruptWatcher::readPipe()
{
    char bytes[16];
    while (read(g_pipe[0], bytes, sizeof bytes) > 0) {
    }
    Q_EMIT interrupted();
}
