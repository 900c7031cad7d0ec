#include "engine/session/HWCLog.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QHash>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <shared_mutex>
#include <spdlog/async.h>
#include <spdlog/async_logger.h>
#include <spdlog/sinks/dist_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/sinks/syslog_sink.h>
#include <spdlog/spdlog.h>

namespace {

spdlog::level::level_enum levelForFlag(HWCLogFlag flag)
{
    switch (flag) {
    case kHWCLogFlagError:
        return spdlog::level::err;
    case kHWCLogFlagWarning:
        return spdlog::level::warn;
    case kHWCLogFlagInfo:
        return spdlog::level::info;
    case kHWCLogFlagDebug:
        return spdlog::level::debug;
    case kHWCLogFlagVerbose:
        return spdlog::level::trace;
    default:
        return spdlog::level::critical;
    }
}

HWCLogFlag flagForLevel(spdlog::level::level_enum level)
{
    switch (level) {
    case spdlog::level::err:
        return kHWCLogFlagError;
    case spdlog::level::warn:
        return kHWCLogFlagWarning;
    case spdlog::level::info:
        return kHWCLogFlagInfo;
    case spdlog::level::debug:
        return kHWCLogFlagDebug;
    case spdlog::level::trace:
        return kHWCLogFlagVerbose;
    default:
        return 0;
    }
}

// Prepends the level label and the time stamp; the rest of the line is composed by write().
class LineFormatter final : public spdlog::formatter {
public:
    void format(const spdlog::details::log_msg &msg, spdlog::memory_buf_t &dest) override
    {
        const QByteArray head = (HWCLog::label(flagForLevel(msg.level)) + QLatin1Char(' ') +
                                 timeStamp(msg.time) + QLatin1Char(' '))
                                    .toUtf8();
        dest.append(head.constData(), head.constData() + head.size());
        dest.append(msg.payload.begin(), msg.payload.end());
        dest.push_back('\n');
    }

    std::unique_ptr<spdlog::formatter> clone() const override
    {
        return std::make_unique<LineFormatter>();
    }

private:
    static QString timeStamp(spdlog::log_clock::time_point time)
    {
        const auto ms =
            std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
        return QDateTime::fromMSecsSinceEpoch(ms).toString(
            QStringLiteral("yyyy/MM/dd HH:mm:ss.zzz"));
    }
};

// The last sink of the asynchronous logger: counts the lines that have passed every other
// sink, so that flush() can wait for a known line count (spdlog's own async flush only
// queues a request).
class ProgressSink final : public spdlog::sinks::sink {
public:
    void log(const spdlog::details::log_msg &) override
    {
        std::lock_guard lock(m_mutex);
        ++m_written;
        m_condition.notify_all();
    }
    void flush() override {}
    void set_pattern(const std::string &) override {}
    void set_formatter(std::unique_ptr<spdlog::formatter>) override {}

    void waitFor(quint64 count)
    {
        std::unique_lock lock(m_mutex);
        m_condition.wait(lock, [&] { return m_written >= count; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    quint64 m_written = 0;
};

struct Loggers {
    std::shared_ptr<spdlog::sinks::dist_sink_mt> sinks;
    std::shared_ptr<spdlog::sinks::sink> console;
    std::shared_ptr<spdlog::logger> sync;
    std::shared_ptr<spdlog::async_logger> async;
    std::shared_ptr<ProgressSink> progress;
    std::atomic<quint64> submitted{0};
    // Held shared while a line goes to the asynchronous logger, exclusively while it stops.
    std::shared_mutex stopping;
    bool stopped = false;

    Loggers()
    {
        sinks = std::make_shared<spdlog::sinks::dist_sink_mt>();
        console = std::make_shared<spdlog::sinks::stderr_sink_mt>();
        sinks->add_sink(console);
        sinks->set_formatter(std::make_unique<LineFormatter>());

        sync = std::make_shared<spdlog::logger>("hashwarden", sinks);
        auto pool = std::make_shared<spdlog::details::thread_pool>(8192, 1);
        progress = std::make_shared<ProgressSink>();
        // Block rather than drop: a log line is never lost.
        const spdlog::sinks_init_list asyncSinks{sinks, progress};
        async = std::make_shared<spdlog::async_logger>("hashwarden-async", asyncSinks, pool,
                                                       spdlog::async_overflow_policy::block);
        m_pool = pool;
        for (const auto &logger : {sync, std::static_pointer_cast<spdlog::logger>(async)}) {
            logger->set_level(spdlog::level::trace);
            logger->flush_on(spdlog::level::err);
        }
    }

    void applyFormatter(const std::shared_ptr<spdlog::sinks::sink> &sink)
    {
        sink->set_formatter(std::make_unique<LineFormatter>());
    }

    // The pool's destructor lets its thread write every queued line, then joins it.
    void stopAsync()
    {
        std::unique_lock lock(stopping);
        stopped = true;
        async.reset();
        m_pool.reset();
    }

private:
    std::shared_ptr<spdlog::details::thread_pool> m_pool;
};

Loggers &loggers()
{
    static Loggers instance;
    return instance;
}

constexpr size_t kLogFileSize = 1024 * 1024;
constexpr size_t kLogFilesKept = 3;

QString &filePath()
{
    static QString path;
    return path;
}

} // namespace

namespace HWCLog {

void setUp()
{
    static std::once_flag once;
    std::call_once(once, [] {
        auto syslog =
            std::make_shared<spdlog::sinks::syslog_sink_mt>("Hashwarden", LOG_PID, LOG_USER, false);
        addSink(syslog);
        addFileSink(stateFolder());
    });
}

QString stateFolder()
{
    QString base = qEnvironmentVariable("XDG_STATE_HOME");
    if (!QDir::isAbsolutePath(base))
        base = QDir::homePath() + QStringLiteral("/.local/state");
    return base + QStringLiteral("/hashwarden");
}

bool addFileSink(const QString &folder)
{
    const QString path = folder + QStringLiteral("/hashwarden.log");
    try {
        QDir().mkpath(folder);
        addSink(std::make_shared<spdlog::sinks::rotating_file_sink_mt>(
            QFile::encodeName(path).toStdString(), kLogFileSize, kLogFilesKept));
    } catch (const spdlog::spdlog_ex &error) {
        HWCLogWarning(QStringLiteral("No log file at %1: %2").arg(path, error.what()));
        return false;
    }
    filePath() = path;
    return true;
}

QStringList recentLines(int count)
{
    flush();
    loggers().sinks->flush();
    QFile file(filePath());
    if (filePath().isEmpty() || !file.open(QIODevice::ReadOnly))
        return {};
    // The tail holds the lines asked for: the file never exceeds kLogFileSize.
    const QStringList lines =
        QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    return lines.mid(qMax(0, int(lines.size()) - count));
}

void setConsoleEnabled(bool enabled)
{
    // Off by level rather than by removal: a line already queued still finds its sink.
    loggers().console->set_level(enabled ? spdlog::level::trace : spdlog::level::off);
}

void addSink(std::shared_ptr<spdlog::sinks::sink> sink)
{
    loggers().applyFormatter(sink);
    loggers().sinks->add_sink(std::move(sink));
}

void removeSink(const std::shared_ptr<spdlog::sinks::sink> &sink)
{
    loggers().sinks->remove_sink(sink);
}

void flush()
{
    Loggers &all = loggers();
    all.progress->waitFor(all.submitted.load());
    all.sync->flush();
}

void shutdown()
{
    loggers().stopAsync();
    flush();
}

QString label(HWCLogFlag flag)
{
    switch (flag) {
    case kHWCLogFlagError:
        return QStringLiteral("ERROR  ");
    case kHWCLogFlagWarning:
        return QStringLiteral("WARNING");
    case kHWCLogFlagInfo:
        return QStringLiteral("INFO   ");
    case kHWCLogFlagDebug:
        return QStringLiteral("DEBUG  ");
    case kHWCLogFlagVerbose:
        return QStringLiteral("VERBOSE");
    default:
        return QStringLiteral("       ");
    }
}

QString fileTail(const char *file)
{
    QString path = QString::fromUtf8(file);
    const qsizetype src = path.lastIndexOf(QLatin1String("/src/"));
    if (src >= 0)
        path = path.mid(src + 5);
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    const qsizetype dot = path.lastIndexOf(QLatin1Char('.'));
    if (dot > slash)
        path.truncate(dot);
    const QString name = path.mid(slash + 1);
    const QString layer = path.section(QLatin1Char('/'), 0, 0);
    if (layer == QLatin1String("engine"))
        return (name.endsWith(QLatin1String("Additions")) ? QStringLiteral("Categories/")
                                                          : QStringLiteral("Classes/")) +
               name;
    static const QHash<QString, QString> kLayerNames = {
        {QStringLiteral("ui"), QStringLiteral("UI")},
        {QStringLiteral("app"), QStringLiteral("App")},
        {QStringLiteral("cli"), QStringLiteral("CLI")}};
    const auto known = kLayerNames.constFind(layer);
    return known == kLayerNames.cend() ? path : *known + QLatin1Char('/') + name;
}

void write(HWCLogFlag flag, const char *file, const char *function, int line,
           const QString &message)
{
    const QByteArray text = QStringLiteral("-[%1 %2][Line %3] %4")
                                .arg(fileTail(file), QString::fromUtf8(function))
                                .arg(line)
                                .arg(message)
                                .toUtf8();
    const spdlog::string_view_t view(text.constData(), size_t(text.size()));
    Loggers &all = loggers();
    std::shared_lock lock(all.stopping);
    if (flag == kHWCLogFlagError || all.stopped)
        all.sync->log(levelForFlag(flag), view);
    else {
        all.submitted.fetch_add(1);
        all.async->log(levelForFlag(flag), view);
    }
}

} // namespace HWCLog
