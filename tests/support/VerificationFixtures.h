#pragma once

// Shared by the engine and command-line suites: MHL documents written from digests that
// independent tools computed, scanned sources, and runs of an operation to its end.

#include "engine/operations/HWCSource.h"
#include "engine/operations/HWCVerificationOperation.h"
#include "engine/records/HWCOperationInfo.h"
#include "engine/session/HWCAnalytics.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <cerrno>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <sys/syscall.h>
#include <thread>
#include <tuple>

namespace VerificationFixtures {

inline const QString kHelloMD5 = QStringLiteral("5d41402abc4b2a76b9719d911017c592");
constexpr quint64 kMiB = 1024 * 1024;

// The digest of one file in the text form an MHL holds, computed by the system's tools:
// xxhsum for the xxHash kinds, md5sum, sha1sum and so on for the others.
inline QString toolDigest(const QString &kind, const QString &path)
{
    static const QMap<QString, QStringList> xxhsumOptions = {
        {"xxhash", {"-H0"}},
        {"xxhash64", {"-H1", "--little-endian"}},
        {"xxhash64be", {"-H1"}},
        {"xxh128", {"-H2"}},
        {"xxh3", {"-H3"}}};
    const QString tool = xxhsumOptions.contains(kind) ? "xxhsum" : kind + QStringLiteral("sum");
    const QList<QByteArray> words =
        TestSupport::runTool(tool, xxhsumOptions.value(kind) + QStringList{path}).split(' ');
    // -H3 prints "XXH3 (name) = digest", the others "digest  name".
    const QByteArray digest = kind == "xxh3" ? words.last().trimmed() : words.first();
    // An MHL stores XXH32 as a decimal number; xxhsum prints the canonical hex form.
    return kind == "xxhash" ? QString::number(digest.toUInt(nullptr, 16))
                            : QString::fromLatin1(digest);
}

// One `hash` element: file, size and the given digests, in that order.
inline QString hashElement(const QString &file, qint64 size,
                           const QList<std::pair<QString, QString>> &digests)
{
    QString element = QStringLiteral("<hash><file>%1</file><size>%2</size>")
                          .arg(file.toHtmlEscaped(), QString::number(size));
    for (const auto &[kind, value] : digests)
        element += QStringLiteral("<%1>%2</%1>").arg(kind, value);
    return element + QStringLiteral("</hash>\n");
}

inline void writeMHL(const QString &path, const QStringList &hashElements,
                     const QString &tool = QStringLiteral("Test Writer 1.0"))
{
    TestSupport::writeText(path, QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                                "<hashlist version=\"1.1\"><creatorinfo><tool>%1"
                                                "</tool></creatorinfo>\n%2</hashlist>\n")
                                     .arg(tool, hashElements.join(QString()))
                                     .toUtf8());
}

// Files of 50,000 bytes times their position (1, 2, ...) in folder, and a list.mhl of their
// md5 digests.
inline QString listedFolder(const QString &folder, const QStringList &names,
                            const QString &tool = QStringLiteral("Test Writer 1.0"))
{
    QStringList elements;
    for (int i = 0; i < names.size(); ++i) {
        const QString file = folder + QLatin1Char('/') + names[i];
        TestSupport::writeFile(file, 50000 * (i + 1), quint32(i + 1));
        elements << hashElement(names[i], 50000 * (i + 1), {{"md5", toolDigest("md5", file)}});
    }
    writeMHL(folder + QStringLiteral("/list.mhl"), elements, tool);
    return folder;
}

// A folder whose only listed file is a sparse 4 TiB: a verification is still reading it
// whenever the test acts.
inline QString endlessFolder(const QString &folder)
{
    TestSupport::writeEndlessFile(folder + QStringLiteral("/endless"));
    writeMHL(folder + QStringLiteral("/list.mhl"),
             {hashElement("endless", 5, {{"md5", kHelloMD5}})});
    return folder;
}

// A source whose background scan has ended.
inline std::shared_ptr<HWCSource> scannedSource(const QString &path)
{
    std::shared_ptr<HWCSource> source = HWCSource::initWithPath(path);
    QSignalSpy scanned(source.get(), &HWCSource::usedSpaceChanged);
    EXPECT_TRUE(TestSupport::waitUntil([&] { return scanned.count() > 0; }));
    return source;
}

// Runs the operation on the calling (main) thread, then delivers what it posted.
inline void runToEnd(HWCSourceOperation &operation)
{
    operation.start();
    QCoreApplication::sendPostedEvents();
}

// How a run on a worker reads: in turn (io_uring refused the way a container refuses it) or
// overlapped, with how many files at once (the operation is made with it), with whose file access,
// whether reads of one request size fail (EIO) the way a medium's do, and how many files one
// job reads ahead (the operation is made with it).
struct RunMode {
    bool inTurn = false;
    int jobs = 1;
    bool asNobody = false;
    quint32 failedReadSize = 0;
    int depth = 1;
};

// Runs the operation to its end on a thread of its own, as the controller's pool would, and
// delivers what it posted. act runs here once more than actAfter bytes were counted.
inline void runOnWorker(HWCSourceOperation &operation, const RunMode &mode = {},
                        std::optional<quint64> actAfter = {}, const std::function<void()> &act = {})
{
    bool acted = !actAfter;
    const QMetaObject::Connection watch =
        QObject::connect(operation.info(), &HWCOperationInfo::progressChanged, [&] {
            if (operation.info()->bytesVerified() > actAfter.value_or(0) &&
                !std::exchange(acted, true))
                act();
        });
    std::thread worker([&operation, mode] {
        if (mode.inTurn) {
            ASSERT_TRUE(TestSupport::refuseIoUringOnThisThread());
        }
        if (mode.failedReadSize) {
            ASSERT_TRUE(TestSupport::refuseOnThisThread(SYS_read, EIO, mode.failedReadSize));
        }
        std::optional<TestSupport::FileAccessAsNobody> access;
        if (mode.asNobody)
            access.emplace();
        operation.start();
    });
    EXPECT_TRUE(TestSupport::waitUntil([&] { return operation.isFinished(); }));
    worker.join();
    QCoreApplication::sendPostedEvents();
    QObject::disconnect(watch);
    EXPECT_TRUE(acted);
}

// A record reduced to what a test compares: root, relative path, state, bytes.
using Record = std::tuple<QString, QString, HWCFileState, quint64>;

inline QList<Record> records(const QList<HWCVerifiedFile> &files)
{
    QList<Record> reduced;
    for (const HWCVerifiedFile &file : files)
        reduced.append(
            {file.rootPath(), file.relativePath(), file.verifiedFileState(), file.bytes()});
    return reduced;
}

// A test with its own temporary folder, where usage events are also logged.
class VerificationTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_folder.isValid());
        m_eventLog = path(QStringLiteral("events.jsonl"));
        qputenv(HWCAnalytics::kLogEnvironmentVariable, QFile::encodeName(m_eventLog));
    }
    void TearDown() override { qunsetenv(HWCAnalytics::kLogEnvironmentVariable); }

    QString path(const QString &relative) const { return m_folder.filePath(relative); }

    // Writes a file of pseudo-random bytes and returns its digest of the given kind.
    QString addFile(const QString &relative, qint64 size, const QString &kind, quint32 seed = 7)
    {
        TestSupport::writeFile(path(relative), size, seed);
        return toolDigest(kind, path(relative));
    }

    QList<QJsonObject> events() const { return TestSupport::readJsonLines(m_eventLog); }

    QTemporaryDir m_folder;
    QString m_eventLog;
};

} // namespace VerificationFixtures
