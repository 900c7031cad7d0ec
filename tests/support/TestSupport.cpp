#include "support/TestSupport.h"

#include "engine/session/HWCLog.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QProcess>
#include <QThread>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pwd.h>
#include <random>
#include <spdlog/sinks/base_sink.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace TestSupport {

namespace {

uid_t nobodyUid()
{
    const passwd *entry = getpwnam("nobody");
    return entry ? entry->pw_uid : 65534;
}

class CaptureSink final : public spdlog::sinks::base_sink<std::mutex> {
public:
    std::string text()
    {
        std::lock_guard lock(mutex_);
        return m_text;
    }

protected:
    void sink_it_(const spdlog::details::log_msg &msg) override
    {
        spdlog::memory_buf_t line;
        formatter_->format(msg, line);
        m_text.append(line.data(), line.size());
    }
    void flush_() override {}

private:
    std::string m_text;
};

} // namespace

QByteArray runTool(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    EXPECT_TRUE(process.waitForFinished(120000)) << program.toStdString();
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 0)
        << program.toStdString() << ": " << process.readAllStandardError().toStdString();
    return process.readAllStandardOutput();
}

void writeFile(const QString &path, qint64 size, quint32 seed)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate)) << path.toStdString();
    std::mt19937 generator(seed);
    QByteArray chunk;
    while (size > 0) {
        const qint64 length = std::min<qint64>(size, 1 << 20);
        chunk.resize(length);
        for (qint64 i = 0; i < length; ++i)
            chunk[i] = char(generator());
        ASSERT_EQ(file.write(chunk), length);
        size -= length;
    }
}

void writeText(const QString &path, const QByteArray &contents)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate)) << path.toStdString();
    ASSERT_EQ(file.write(contents), contents.size());
}

void runOnThreads(int count, const std::function<void(int)> &work)
{
    std::vector<std::thread> threads;
    for (int index = 0; index < count; ++index)
        threads.emplace_back(work, index);
    for (std::thread &thread : threads)
        thread.join();
}

void makeSocket(const QString &path)
{
    sockaddr_un address{AF_UNIX, {}};
    qstrncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof address.sun_path);
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    close(listener);
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

bool waitUntil(const std::function<bool()> &predicate, std::chrono::milliseconds timeout)
{
    QElapsedTimer timer;
    timer.start();
    while (!predicate()) {
        if (timer.elapsed() > timeout.count())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(1);
    }
    return true;
}

FileAccessAsNobody::FileAccessAsNobody()
{
    // The raw system call changes this thread only (glibc's wrapper would too, but the
    // intent is explicit); a non-zero fs uid also clears CAP_DAC_OVERRIDE for the thread.
    m_previousUid = unsigned(syscall(SYS_setfsuid, nobodyUid()));
}

FileAccessAsNobody::~FileAccessAsNobody()
{
    syscall(SYS_setfsuid, m_previousUid);
}

LogCapture::LogCapture() : m_sink(std::make_shared<CaptureSink>())
{
    HWCLog::addSink(m_sink);
}

LogCapture::~LogCapture()
{
    HWCLog::removeSink(m_sink);
}

QStringList LogCapture::lines() const
{
    HWCLog::flush();
    const std::string text = static_cast<CaptureSink &>(*m_sink).text();
    return QString::fromStdString(text).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

bool LogCapture::contains(const QString &text) const
{
    for (const QString &line : lines()) {
        if (line.contains(text))
            return true;
    }
    return false;
}

void makeFifo(const QString &path)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    ASSERT_EQ(mkfifo(QFile::encodeName(path).constData(), 0644), 0) << path.toStdString();
}

void writeEndlessFile(const QString &path)
{
    writeText(path, {});
    ASSERT_TRUE(QFile::resize(path, qint64(4) << 40)) << path.toStdString();
}

QList<QJsonObject> readJsonLines(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<QJsonObject> objects;
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (!line.isEmpty())
            objects.append(QJsonDocument::fromJson(line).object());
    }
    return objects;
}

FileSizeLimit::FileSizeLimit(quint64 limit)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit current{};
    getrlimit(RLIMIT_FSIZE, &current);
    m_previous = current.rlim_cur;
    current.rlim_cur = limit;
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &current), 0);
}

FileSizeLimit::~FileSizeLimit()
{
    rlimit current{};
    getrlimit(RLIMIT_FSIZE, &current);
    current.rlim_cur = m_previous;
    setrlimit(RLIMIT_FSIZE, &current);
    std::signal(SIGXFSZ, SIG_DFL);
}

void blockMHLNames(const QString &folder)
{
    const QDateTime now = QDateTime::currentDateTime();
    for (int second = -1; second < 600; ++second) {
        const QString name = QStringLiteral("Hashwarden Media Hash List - %1.mhl")
                                 .arg(now.addSecs(second).toString("yyyy-MM-dd 'at' HH.mm.ss"));
        writeText(folder + QLatin1Char('/') + name + QStringLiteral("/kept"), "kept");
    }
}

QStringList filesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::System);
}

bool refuseIoUringOnThisThread()
{
    return refuseOnThisThread(__NR_io_uring_setup, ENOSYS);
}

bool refuseOnThisThread(long systemCall, int error, std::optional<quint32> count)
{
    std::vector<sock_filter> filter{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, quint32(systemCall), 0, count ? __u8(3) : __u8(1))};
    if (count) {
        // The low half of the third argument (little-endian).
        filter.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[2])));
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, *count, 0, 1));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | quint32(error)));
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    // Without the seccomp flag TSYNC the filter binds this thread and its later children only.
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

} // namespace TestSupport
