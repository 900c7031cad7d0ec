#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <ostream>

namespace spdlog::sinks {
class sink;
}

namespace TestSupport {

// Runs an independent tool and returns its standard output; fails the test on a non-zero
// exit status.
QByteArray runTool(const QString &program, const QStringList &arguments);

// Writes size pseudo-random bytes (deterministic for a seed) to path, creating folders.
void writeFile(const QString &path, qint64 size, quint32 seed = 1);
void writeText(const QString &path, const QByteArray &contents);

// The whole contents of the file at path; empty (and a test failure) when it cannot be read.
QByteArray readFile(const QString &path);

// Runs work(0) ... work(count - 1), each on a thread of its own, all at once; returns when
// every one has ended.
void runOnThreads(int count, const std::function<void(int)> &work);

// Makes a Unix-domain socket at path, bound and then closed: an entry nothing can open.
void makeSocket(const QString &path);

// Processes main-thread events until predicate holds or timeout passes; returns predicate.
bool waitUntil(const std::function<bool()> &predicate,
               std::chrono::milliseconds timeout = std::chrono::seconds(30));

// While it lives, file access from the calling thread is checked as the user nobody
// (the file-system uid of this thread only, which also drops root's permission override).
// Lets tests running as root meet real "permission denied" errors.
class FileAccessAsNobody {
public:
    FileAccessAsNobody();
    ~FileAccessAsNobody();
    FileAccessAsNobody(const FileAccessAsNobody &) = delete;
    FileAccessAsNobody &operator=(const FileAccessAsNobody &) = delete;

private:
    unsigned m_previousUid;
};

// Collects the log lines written while it lives.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    QStringList lines() const; // flushes asynchronous lines first
    bool contains(const QString &text) const;

private:
    std::shared_ptr<spdlog::sinks::sink> m_sink;
};

// Makes a FIFO at path.
void makeFifo(const QString &path);

// Makes a sparse file of 4 TiB at path: a read of it lasts until the test has acted on the
// reader (cancelled it, or cut the file short to let it end).
void writeEndlessFile(const QString &path);

// The objects of a JSON-lines file, one per non-empty line; empty when it cannot be read.
QList<QJsonObject> readJsonLines(const QString &path);

// While it lives, a regular file that this process or a child started now writes past limit
// bytes gets EFBIG instead of SIGXFSZ, the way a full disk refuses a write.
class FileSizeLimit {
public:
    explicit FileSizeLimit(quint64 limit);
    ~FileSizeLimit();
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    quint64 m_previous;
};

// Folders, each holding a file, at the name an MHL written into folder gets during the
// next ten minutes: a list written there meets a folder at its name.
void blockMHLNames(const QString &folder);

// Files directly in folder, hidden ones included.
QStringList filesIn(const QString &folder);

// From now on, and for the threads it starts, the calling thread is refused io_uring the way
// a container's seccomp profile refuses it (ENOSYS). Permanent: call it on a thread that is
// thrown away afterwards. Returns false when the filter could not be installed.
bool refuseIoUringOnThisThread();

// The same for any system call, which then fails with error; with count, only the calls
// whose third argument is count (a read of that many bytes).
bool refuseOnThisThread(long systemCall, int error, std::optional<quint32> count = {});

} // namespace TestSupport

// Readable failures: gtest finds this through the argument's (global) namespace.
inline void PrintTo(const QString &text, std::ostream *out)
{
    *out << '"' << text.toStdString() << '"';
}
