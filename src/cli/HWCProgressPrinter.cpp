#include "cli/HWCProgressPrinter.h"

#include "cli/HWCInterruptWatcher.h"
#include "engine/files/HWCFileNameAdditions.h"
#include "engine/files/HWCPathAdditions.h"
#include "engine/operations/HWCSourceOperation.h"
#include "engine/records/HWCOperationInfo.h"
#include "engine/records/HWCStringAdditions.h"
#include "engine/reports/HWCOutcome.h"
#include "engine/session/HWCLog.h"

#include <mutex>
#include <spdlog/sinks/base_sink.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr int kRedrawIntervalMs = 100;

// Counts the log lines written; the console sink writes them to the terminal just before.
class LogLineCounter final : public spdlog::sinks::base_sink<std::mutex> {
public:
    explicit LogLineCounter(std::shared_ptr<std::atomic<quint64>> count) : m_count(std::move(count))
    {
    }

protected:
    void sink_it_(const spdlog::details::log_msg &) override { m_count->fetch_add(1); }
    void flush_() override {}

private:
    std::shared_ptr<std::atomic<quint64>> m_count;
};

// Moves the cursor up over lines lines and clears them, and first the cursor's own line,
// which may hold what the terminal echoed, such as "^C".
QByteArray erasure(int lines)
{
    return lines > 0 ? "\r\033[K" + QByteArray("\033[A\r\033[K").repeated(lines) : QByteArray();
}

// Keeps both ends of a path, which tell the folder and the file, and drops its middle.
QString shortenedInTheMiddle(const QString &path, qsizetype width)
{
    const QLatin1String ellipsis("...");
    if (path.size() <= width)
        return path;
    if (width <= ellipsis.size())
        return QString();
    const qsizetype kept = width - ellipsis.size();
    return path.left(kept / 2) + ellipsis + path.right(kept - kept / 2);
}

} // namespace

HWCProgressPrinter::HWCProgressPrinter(std::FILE *stream, QObject *parent)
    : QObject(parent), m_stream(stream), m_logLines(std::make_shared<std::atomic<quint64>>(0))
{
    m_logSink = std::make_shared<LogLineCounter>(m_logLines);
    HWCLog::addSink(m_logSink);
    m_timer.setInterval(kRedrawIntervalMs);
    connect(&m_timer, &QTimer::timeout, this, &HWCProgressPrinter::redraw);
    m_timer.start();
}

HWCProgressPrinter::~HWCProgressPrinter()
{
    HWCLog::removeSink(m_logSink);
}

void HWCProgressPrinter::watch(const std::shared_ptr<HWCSourceOperation> &operation)
{
    m_watched.append({operation, QElapsedTimer(), 0});
}

void HWCProgressPrinter::finish()
{
    m_timer.stop();
    erase();
}

QString HWCProgressPrinter::line(const HWCSourceOperation &operation, std::optional<double> rate,
                                 int width)
{
    const HWCOperationInfo *info = operation.info();
    const quint64 done = info->bytesVerified();
    const quint64 total = info->bytesTotal();
    // Joined rather than given to arg(): a "%1" in the name would be taken for a place holder.
    QString text =
        QLatin1String(operation.actionType() == HWCActionType::Create ? "create " : "verify ") +
        hwc_displayedName(hwc_lastPathComponent(info->path())) +
        QStringLiteral(" %1%  %2/%3 files  %4 of %5")
            .arg(info->progressValue(), 5, 'f', 1)
            .arg(QString::number(info->filesDone()), QString::number(info->filesTotal()),
                 HWCOutcome::sizeText(done), HWCOutcome::sizeText(total));
    if (rate) {
        text += QStringLiteral("  %1/s").arg(HWCOutcome::sizeText(quint64(*rate)));
        if (*rate > 0 && total > done)
            text += QStringLiteral("  %1 left")
                        .arg(hwc_clockDurationString(double(total - done) / *rate));
    }
    text += QStringLiteral("  ");
    const QString current = hwc_displayedName(info->currentRelativeFilePath());
    return (text + shortenedInTheMiddle(current, width - text.size())).left(width);
}

void HWCProgressPrinter::redraw()
{
    const quint64 logLines = m_logLines->load();
    if (logLines != m_logLinesSeen) {
        // Keep what was logged: the old block stays above it, the new one goes below.
        m_logLinesSeen = logLines;
        m_drawnLines = 0;
    }
    erase();
    const int width = terminalWidth();
    for (Watched &watched : m_watched) {
        const HWCSourceOperation &operation = *watched.operation;
        if (!operation.isExecuting() || operation.isFinished())
            continue;
        const quint64 done = operation.info()->bytesVerified();
        if (!watched.running.isValid()) {
            watched.running.start();
            watched.bytesAtStart = done;
        }
        const double seconds = watched.running.elapsed() / 1000.0;
        std::optional<double> rate;
        if (seconds > 0)
            rate = double(done - watched.bytesAtStart) / seconds;
        // A wrapped line would throw the cursor arithmetic of erase() off.
        std::fputs(line(operation, rate, width - 1).toUtf8().constData(), m_stream);
        std::fputs("\n", m_stream);
        ++m_drawnLines;
    }
    std::fflush(m_stream);
    // A second Ctrl-C ends the process at once; it erases the block on its way out.
    HWCInterruptWatcher::setLastWords(erasure(m_drawnLines));
}

void HWCProgressPrinter::erase()
{
    std::fputs(erasure(m_drawnLines).constData(), m_stream);
    std::fflush(m_stream);
    m_drawnLines = 0;
    HWCInterruptWatcher::setLastWords({});
}

int HWCProgressPrinter::terminalWidth() const
{
    winsize size = {};
    if (ioctl(fileno(m_stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 10)
        return size.ws_col;
    return 80;
}
