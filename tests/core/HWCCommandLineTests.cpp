#include "CLI/HWCCommandLine.h"
#include "Classes/HWCAnalytics.h"
#include "Classes/HWCLog.h"
#include "support/VerificationFixtures.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QThread>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

using VerificationFixtures::hashElement;
using VerificationFixtures::writeMHL;

namespace {

const QString kHelloMD5 = QStringLiteral("5d41402abc4b2a76b9719d911017c592");

struct Result {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

class HWCCommandLineTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_folder.isValid());
        m_eventLog = m_folder.filePath(QStringLiteral("events.jsonl"));
        qputenv(HWCAnalytics::kLogEnvironmentVariable, m_eventLog.toUtf8());
    }

    void TearDown() override { qunsetenv(HWCAnalytics::kLogEnvironmentVariable); }

    QString path(const QString &relative) const { return m_folder.filePath(relative); }

    void startHashwarden(QProcess &process, const QStringList &arguments) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(HWCAnalytics::kLogEnvironmentVariable, m_eventLog);
        environment.insert("HOME", m_folder.path());
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(HWC_HASHWARDEN_EXECUTABLE), arguments);
        ASSERT_TRUE(process.waitForStarted());
    }

    // Runs the command line in this process, its standard output and error sent to files.
    Result run(const QStringList &arguments) const
    {
        QTemporaryFile out, err;
        if (!out.open() || !err.open()) {
            ADD_FAILURE() << "no temporary files";
            return {};
        }
        std::fflush(stdout);
        std::fflush(stderr);
        const int savedOut = dup(STDOUT_FILENO);
        const int savedErr = dup(STDERR_FILENO);
        dup2(out.handle(), STDOUT_FILENO);
        dup2(err.handle(), STDERR_FILENO);
        const int exitCode = HWCCommandLine::execute(QStringList{"hashwarden"} + arguments);
        HWCLog::flush();
        std::fflush(stdout);
        std::fflush(stderr);
        dup2(savedOut, STDOUT_FILENO);
        dup2(savedErr, STDERR_FILENO);
        close(savedOut);
        close(savedErr);
        return {exitCode, contents(out.fileName()), contents(err.fileName())};
    }

    // Runs the real executable, for a file-size limit that would also cut the output files of
    // an in-process run.
    Result runOutside(const QStringList &arguments) const
    {
        QProcess process;
        startHashwarden(process, arguments);
        EXPECT_TRUE(process.waitForFinished(60000));
        return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
    }

    static QByteArray contents(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    // A folder with three files and an MHL of their md5 digests; with damage, one file is
    // changed and one removed after the list was made.
    QString listedFolder(const QString &name, bool damage)
    {
        const QString folder = path(name);
        QStringList elements;
        for (int i = 1; i <= 3; ++i) {
            const QString file = QStringLiteral("clip%1.mov").arg(i);
            TestSupport::writeFile(folder + "/" + file, 50000 * i, quint32(i));
            elements << hashElement(
                file, 50000 * i, {{"md5", VerificationFixtures::toolDigest("md5", folder + "/" + file)}});
        }
        writeMHL(folder + "/list.mhl", elements, "Tool 1.0");
        if (damage) {
            TestSupport::writeFile(folder + "/clip2.mov", 100000, 77);
            QFile::remove(folder + "/clip3.mov");
        }
        return folder;
    }

    // A folder whose only listed file is a sparse 4 TiB: verification is still reading it
    // whenever the test acts.
    QString endlessFolder(const QString &name)
    {
        const QString folder = path(name);
        TestSupport::writeEndlessFile(folder + "/endless.bin");
        writeMHL(folder + "/list.mhl", {hashElement("endless.bin", 5, {{"md5", kHelloMD5}})});
        return folder;
    }

    QList<QJsonObject> events() const { return TestSupport::readJsonLines(m_eventLog); }

    QTemporaryDir m_folder;
    QString m_eventLog;
};

// Waits until the process (or one of its children) has file open.
bool waitForOpenFile(const QString &file)
{
    return TestSupport::waitUntil([&file] {
        for (const QString &pid : QDir("/proc").entryList({"[0-9]*"}, QDir::Dirs)) {
            const QDir fds(QStringLiteral("/proc/%1/fd").arg(pid));
            for (const QString &fd : fds.entryList(QDir::AllEntries | QDir::System))
                if (QFile::symLinkTarget(fds.filePath(fd)) == file)
                    return true;
        }
        return false;
    });
}

} // namespace

TEST_F(HWCCommandLineTest, UsageErrorsAndHelp)
{
    const Result help = run({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const char *text : {"verify SOURCE...", "create SOURCE...", "info MHL", "--log", "--json",
                             "Exit codes:", "  64  Usage error", "  66  A source"})
        EXPECT_TRUE(help.out.contains(text)) << text;

    for (const QStringList &arguments :
         {QStringList{"--bogus"}, QStringList{"verify"}, QStringList{"create"}, QStringList{"info"},
          QStringList{"info", "a.mhl", "b.mhl"}, QStringList{"frobnicate", path("")},
          QStringList{"verify", "--log"}}) {
        const Result result = run(arguments);
        EXPECT_EQ(result.exitCode, 64) << arguments.join(' ').toStdString();
        EXPECT_TRUE(result.err.startsWith("hashwarden: ")) << result.err.toStdString();
        EXPECT_TRUE(result.out.isEmpty());
    }
}

TEST_F(HWCCommandLineTest, ExitCodesForEveryOutcome)
{
    const QString clean = listedFolder("clean", false);
    const QString damaged = listedFolder("damaged", true);
    TestSupport::writeFile(path("plain/file.mov"), 1000);
    QDir().mkpath(path("empty"));

    const Result ok = run({"verify", clean});
    EXPECT_EQ(ok.exitCode, 0) << ok.err.toStdString();
    EXPECT_TRUE(ok.out.startsWith("Verify " + clean.toUtf8() + ": Verified OK\n"))
        << ok.out.toStdString();
    EXPECT_TRUE(ok.out.contains("3 files, 3 read successfully, 0 with warnings"));

    const Result warned = run({"verify", damaged});
    EXPECT_EQ(warned.exitCode, 1);
    EXPECT_TRUE(warned.out.contains(": Finished with warnings\n")) << warned.out.toStdString();
    EXPECT_TRUE(warned.out.contains("  Hash fail (1):\n    /clip2.mov\n"))
        << warned.out.toStdString();
    EXPECT_TRUE(warned.out.contains("  Missing file (1):\n    /clip3.mov\n"));

    const Result noMHL = run({"verify", path("plain")});
    EXPECT_EQ(noMHL.exitCode, 2);
    EXPECT_TRUE(noMHL.err.contains("No MHL file.")) << noMHL.err.toStdString();
    EXPECT_EQ(QDir(path("plain")).entryList({"*.mhl"}).size(), 0) << "must not create";

    const Result hasMHL = run({"create", clean});
    EXPECT_EQ(hasMHL.exitCode, 2);
    EXPECT_TRUE(hasMHL.err.contains("holds MHL files already"));
    EXPECT_EQ(QDir(clean).entryList({"*.mhl"}).size(), 1) << "must not write another";

    const Result noFiles = run({"create", path("empty")});
    EXPECT_EQ(noFiles.exitCode, 2);
    EXPECT_TRUE(noFiles.err.contains("No files found."));

    const Result ordinary = run({"verify", clean, path("plain/file.mov")});
    EXPECT_EQ(ordinary.exitCode, 66);
    EXPECT_TRUE(ordinary.err.contains("an ordinary file is not a source"));
    EXPECT_TRUE(ordinary.out.isEmpty()) << "nothing runs when a source is unusable";

    EXPECT_EQ(run({"verify", path("nowhere")}).exitCode, 66);

    // The worst outcome decides: warnings outrank nothing to do.
    const Result mixed = run({"verify", clean, damaged, path("plain")});
    EXPECT_EQ(mixed.exitCode, 1);
    EXPECT_EQ(mixed.out.count(": Verified OK\n"), 1);
    EXPECT_EQ(mixed.out.count(": Finished with warnings\n"), 1);
}

TEST_F(HWCCommandLineTest, CreateThenVerifyAndReportEvents)
{
    const QString folder = path("card");
    TestSupport::writeFile(folder + "/A001.mov", 300000, 1);
    TestSupport::writeFile(folder + "/sub/A002.wav", 1234, 2);

    const Result created = run({"create", folder});
    EXPECT_EQ(created.exitCode, 0) << created.err.toStdString();
    EXPECT_TRUE(created.out.startsWith("Create " + folder.toUtf8() + ": Created OK\n"));
    EXPECT_TRUE(created.out.contains("  2 files, 0 could not be hashed, 301.2 kB hashed\n"))
        << created.out.toStdString();
    const QStringList lists = QDir(folder).entryList({"*.mhl"}, QDir::Files);
    ASSERT_EQ(lists.size(), 1);
    EXPECT_TRUE(created.out.contains("  MHL: " + folder.toUtf8() + "/" + lists.first().toUtf8()));

    const Result verified = run({"verify", folder});
    EXPECT_EQ(verified.exitCode, 0) << verified.out.toStdString();
    EXPECT_TRUE(verified.out.contains("2 files, 2 read successfully, 0 with warnings"));
    // Not on a terminal: results only, no progress drawing.
    EXPECT_FALSE(verified.out.contains('\033'));
    EXPECT_FALSE(verified.out.contains('%'));
    EXPECT_FALSE(verified.out.contains('\r'));

    const QList<QJsonObject> sent = events();
    ASSERT_EQ(sent.size(), 2);
    EXPECT_EQ(sent[0]["properties"].toObject()["1 - State"].toString(), "Created OK");
    EXPECT_EQ(sent[1]["properties"].toObject()["1 - State"].toString(), "Verified OK");
    EXPECT_EQ(sent[1]["properties"].toObject()["6 - Byte Amount"].toInteger(), 301234);
    const QJsonObject super = sent[1]["superProperties"].toObject();
    EXPECT_EQ(super["Release Type"].toString(), "Release");
    EXPECT_EQ(super["Build Type"].toString(), "Release");
    EXPECT_TRUE(super.contains("Session Start Date"));

    const Result info = run({"info", folder + "/" + lists.first()});
    EXPECT_EQ(info.exitCode, 0);
    EXPECT_TRUE(info.out.contains("Tool:    Hashwarden ")) << info.out.toStdString();
    EXPECT_TRUE(info.out.contains("Files:   2\n"));
    EXPECT_TRUE(info.out.contains("(301234 bytes)\n"));
    EXPECT_TRUE(info.out.contains("Digests: xxhash64\n"));
    EXPECT_EQ(run({"info", folder + "/sub/A002.wav"}).exitCode, 66);
}

TEST_F(HWCCommandLineTest, JsonListsEveryRecordThatDidNotReadSuccessfully)
{
    const QString damaged = listedFolder("damaged", true);
    const Result result = run({"verify", "--json", damaged});
    EXPECT_EQ(result.exitCode, 1);
    QJsonParseError error;
    const QJsonObject root = QJsonDocument::fromJson(result.out, &error).object();
    ASSERT_EQ(error.error, QJsonParseError::NoError) << result.out.toStdString();
    EXPECT_EQ(root["exitCode"].toInt(), 1);
    const QJsonArray operations = root["operations"].toArray();
    ASSERT_EQ(operations.size(), 1);
    const QJsonObject operation = operations.first().toObject();
    EXPECT_EQ(operation["source"].toString(), damaged);
    EXPECT_EQ(operation["action"].toString(), "Verify");
    EXPECT_EQ(operation["state"].toString(), "Finished with warnings");
    EXPECT_EQ(operation["exitCode"].toInt(), 1);
    EXPECT_EQ(operation["files"].toInteger(), 3);
    EXPECT_EQ(operation["filesTotal"].toInteger(), 3);
    EXPECT_EQ(operation["bytes"].toInteger(), 50000 + 100000);
    EXPECT_EQ(operation["bytesTotal"].toInteger(), 300000);
    EXPECT_EQ(operation["warnings"].toInteger(), 2);
    EXPECT_EQ(operation["mhl"].toString("absent"), "");
    EXPECT_EQ(operation["tools"].toArray(), QJsonArray{"Tool 1.0"});
    const QJsonArray records = operation["records"].toArray();
    ASSERT_EQ(records.size(), 2);
    EXPECT_EQ(
        records[0].toObject(),
        (QJsonObject{
            {"path", "/clip2.mov"}, {"state", "Hash fail"}, {"stateCode", 2}, {"bytes", 100000}}));
    EXPECT_EQ(
        records[1].toObject(),
        (QJsonObject{
            {"path", "/clip3.mov"}, {"state", "Missing file"}, {"stateCode", 3}, {"bytes", 0}}));

    QDir().mkpath(path("nolist"));
    const Result refused = run({"verify", "--json", path("nolist")});
    EXPECT_EQ(refused.exitCode, 2);
    const QJsonObject refusedRoot = QJsonDocument::fromJson(refused.out).object();
    EXPECT_EQ(refusedRoot["refused"].toArray().size(), 1);
    EXPECT_TRUE(refusedRoot["operations"].toArray().isEmpty());
}

TEST_F(HWCCommandLineTest, LogFileAndUnwritableLogPath)
{
    const QString damaged = listedFolder("damaged", true);
    const QString log = path("out/log.txt");
    QDir().mkpath(path("out"));
    const Result written = run({"verify", damaged, "--log", log});
    EXPECT_EQ(written.exitCode, 1);
    QFile file(log);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    EXPECT_TRUE(text.startsWith("Hashwarden Log - ")) << text.toStdString();
    EXPECT_TRUE(text.contains("Verification Source: " + damaged.toUtf8() + "\n"));
    EXPECT_TRUE(text.contains("/clip1.mov (")) << text.toStdString();
    EXPECT_TRUE(text.contains("\nHash fail\n/clip2.mov (")) << text.toStdString();
    EXPECT_TRUE(text.contains("\nMissing file\n/clip3.mov (")) << text.toStdString();

    const QString clean = listedFolder("clean", false);
    const Result unwritable = run({"verify", clean, "--log", path("missing/dir/log.txt")});
    EXPECT_EQ(unwritable.exitCode, 1);
    EXPECT_TRUE(unwritable.err.contains("cannot write the log")) << unwritable.err.toStdString();
    EXPECT_TRUE(unwritable.out.contains(": Verified OK\n")) << "results are still printed";
}

TEST_F(HWCCommandLineTest, InterruptCancelsAndExitsThreeWithTheSummary)
{
    const QString clean = listedFolder("clean", false);
    const QString endless = endlessFolder("endless");
    QProcess process;
    startHashwarden(process, {"verify", clean, endless});
    ASSERT_TRUE(waitForOpenFile(endless + "/endless.bin"));
    ::kill(pid_t(process.processId()), SIGINT);
    ASSERT_TRUE(process.waitForFinished(30000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 3);
    const QByteArray out = process.readAllStandardOutput();
    EXPECT_TRUE(out.contains("Verify " + endless.toUtf8() + ": Cancelled")) << out.toStdString();
    // The clean folder may or may not have been done by then; it is reported either way.
    EXPECT_TRUE(out.contains("Verify " + clean.toUtf8() + ": ")) << out.toStdString();
    EXPECT_TRUE(process.readAllStandardError().contains("cancelling"));
}

TEST_F(HWCCommandLineTest, ProgressIsDrawnOnATerminalAndCtrlCEndsIt)
{
    const QString endless = endlessFolder("endless");
    // script(1) gives the program a pseudo-terminal; a Ctrl-C typed there interrupts it.
    QProcess process;
    process.start("script",
                  {"-qec", QStringLiteral("%1 verify %2").arg(HWC_HASHWARDEN_EXECUTABLE, endless),
                   "/dev/null"});
    ASSERT_TRUE(process.waitForStarted());
    QByteArray out;
    ASSERT_TRUE(TestSupport::waitUntil([&] {
        process.waitForReadyRead(10);
        out += process.readAllStandardOutput();
        return out.contains("\033[A\r\033[K") && out.contains("  endless.bin\r\n");
    })) << out.toStdString();
    process.write("\x03");
    ASSERT_TRUE(process.waitForFinished(30000));
    out += process.readAllStandardOutput();
    EXPECT_EQ(process.exitCode(), 3) << out.toStdString();
    EXPECT_TRUE(out.contains(" of 5 bytes  ")) << out.toStdString();
    EXPECT_TRUE(out.contains(": Cancelled")) << out.toStdString();
}

TEST_F(HWCCommandLineTest, UnusableListsAndEntriesAreNamedAndNeverSucceed)
{
    QDir().mkpath(path("asc/ascmhl"));
    TestSupport::writeText(path("asc/ascmhl/0001_asc.mhl"),
                           "<hashlist version=\"2.0\"><hashes/></hashlist>");
    TestSupport::writeText(path("cut/list.mhl"), "<hashlist><hash><file>a</file>");
    TestSupport::makeFifo(path("pipe.mhl"));
    const QString clean = listedFolder("clean", false);
    TestSupport::makeFifo(clean + "/pipe");
    writeMHL(clean + "/more.mhl",
             {hashElement("pipe", 5, {{"md5", kHelloMD5}}),
              hashElement("../../etc/hostname", 5, {{"md5", kHelloMD5}})},
             "50% 100%1 %2");
    const std::tuple<QString, int, const char *, const char *> cases[] = {
        {path("asc"), 1, "asc/ascmhl: lists no files", ": Finished with warnings, an MHL"},
        {path("cut"), 1, "list.mhl: is not well-formed XML", ": Nothing verified, an MHL"},
        {path("pipe.mhl"), 1, "pipe.mhl: cannot be opened: a FIFO", ": Nothing verified, an MHL"},
        {clean, 1, "Can't open file ../../etc/hostname: its path leaves", "Can't open file (2):"},
    };
    for (const auto &[source, code, err, out] : cases) {
        const Result result = run({"verify", source});
        EXPECT_EQ(result.exitCode, code) << source.toStdString();
        EXPECT_TRUE(result.err.contains(err)) << result.err.toStdString();
        EXPECT_TRUE(result.out.contains(out)) << result.out.toStdString();
    }
    const QJsonObject json = QJsonDocument::fromJson(run({"verify", "--json", path("cut")}).out)
                                 .object()["operations"][0]["skipped"][0]
                                 .toObject();
    EXPECT_EQ(json["list"].toString(), path("cut/list.mhl"));
    EXPECT_TRUE(json["reason"].toString().startsWith("is not well-formed XML ("));
    EXPECT_TRUE(run({"info", clean + "/more.mhl"}).out.contains("Tool:    50% 100%1 %2\n"));
}

TEST_F(HWCCommandLineTest, ADigestOpenSSLCannotProvideIsSkippedAsUnknown)
{
    const QString clean = listedFolder("clean", false);
    // Only the null provider: OpenSSL then offers no digest at all.
    TestSupport::writeText(path("openssl.cnf"), "openssl_conf = init\n[init]\nproviders = p\n"
                                                "[p]\nnull = n\n[n]\nactivate = 1\n");
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("OPENSSL_CONF", path("openssl.cnf"));
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(HWC_HASHWARDEN_EXECUTABLE), {"verify", clean});
    ASSERT_TRUE(process.waitForFinished(60000));
    const QByteArray err = process.readAllStandardError();
    EXPECT_EQ(process.exitCode(), 1);
    EXPECT_TRUE(err.contains("ERROR") && err.contains("OpenSSL cannot provide MD5"))
        << err.toStdString();
    EXPECT_EQ(err.count("Skipping unknown checksum type"), 3);
    EXPECT_TRUE(process.readAllStandardOutput().contains("Unknown hash (3):"));
}

TEST_F(HWCCommandLineTest, CreateThenVerifyRoundTripsEveryName)
{
    const QByteArray folder = QFile::encodeName(path("names"));
    ASSERT_EQ(mkdir(folder.constData(), 0755), 0);
    int fd = open(folder.constData(), O_RDONLY | O_DIRECTORY);
    const QList<QByteArray> names = {"bad\xFF.bin", "cr\r.bin", "lf\n.bin", "ctl\x01.bin",
                                     "   ",         " lead",    "trail ",   QByteArray(255, 'n'),
                                     "100%41.bin"};
    for (const QByteArray &name : names)
        close(openat(fd, name.constData(), O_WRONLY | O_CREAT, 0644));
    // Deeper than PATH_MAX: twenty folders of 240 bytes.
    for (int level = 0; level < 20; ++level) {
        const QByteArray name = QByteArray::number(level) + QByteArray(240, 'd');
        ASSERT_EQ(mkdirat(fd, name.constData(), 0755), 0);
        const int next = openat(fd, name.constData(), O_RDONLY | O_DIRECTORY);
        close(fd);
        fd = next;
    }
    ASSERT_EQ(write(openat(fd, "deep.bin", O_WRONLY | O_CREAT, 0644), "deep", 4), 4);
    close(fd);

    const Result created = run({"create", path("names")});
    ASSERT_EQ(created.exitCode, 0) << created.err.toStdString();
    EXPECT_TRUE(created.out.contains("  10 files, 0 could not be hashed")) << created.out.data();
    const QStringList lists = QDir(path("names")).entryList({"*.mhl"}, QDir::Files);
    ASSERT_EQ(lists.size(), 1);
    TestSupport::runTool("xmllint", {"--noout", path("names/" + lists.first())});
    const Result verified = run({"verify", path("names")});
    EXPECT_EQ(verified.exitCode, 0) << verified.out.toStdString();
    EXPECT_TRUE(verified.out.contains("10 files, 10 read successfully, 0 with warnings"));
    TestSupport::runTool("rm", {"-rf", path("names")}); // too deep for QTemporaryDir
}

TEST_F(HWCCommandLineTest, AnMHLThatCannotBeWrittenIsReportedWithExit73)
{
    const QByteArray readOnly = QFile::encodeName(listedFolder("read-only", false));
    QFile::remove(readOnly + "/list.mhl");
    const bool mounted =
        mount(readOnly, readOnly, nullptr, MS_BIND, nullptr) == 0 &&
        mount(nullptr, readOnly, nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) == 0;
    if (!mounted)
        chmod(readOnly, 0555); // enough when the tests do not run as root
    const std::unique_ptr<const char, void (*)(const char *)> unmount(
        readOnly.constData(), [](const char *folder) { umount2(folder, MNT_DETACH); });
    const QString blocked = listedFolder("blocked", false);
    QFile::remove(blocked + "/list.mhl");
    TestSupport::blockMHLNames(blocked);
    const QString full = listedFolder("full", false);
    QFile::remove(full + "/list.mhl");

    for (const auto &[folder, reason] :
         {std::pair{QFile::decodeName(readOnly), "Read-only file system"},
          {blocked, "File exists and is not a regular file"},
          {full, "File too large"}}) {
        std::unique_ptr<TestSupport::FileSizeLimit> limit;
        if (folder == full)
            limit = std::make_unique<TestSupport::FileSizeLimit>(512);
        const Result result = runOutside({"create", "--json", folder});
        limit.reset();
        EXPECT_EQ(result.exitCode, 73) << result.err.toStdString();
        EXPECT_TRUE(result.err.contains("hashwarden: MHL could not be written: " + folder.toUtf8() +
                                        "/Hashwarden Media Hash List - "))
            << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(reason)) << result.err.toStdString();
        const QJsonObject operation =
            QJsonDocument::fromJson(result.out)["operations"][0].toObject();
        EXPECT_EQ(operation["mhl"].toString("absent"), "");
        EXPECT_TRUE(operation["mhlError"].toString().endsWith(reason));
        EXPECT_EQ(operation["exitCode"].toInt(), 73);
        EXPECT_TRUE(QDir(folder).entryList({"*.mhl", ".*"}, QDir::Files | QDir::Hidden).isEmpty());
    }
    if (!mounted)
        GTEST_SKIP() << "read-only checked by permissions only";
}

TEST_F(HWCCommandLineTest, ALogThatCannotBeWrittenKeepsTheOldOneAndExitsOne)
{
    const QString clean = listedFolder("clean", false);
    TestSupport::writeText(path("log.txt"), "old log");
    std::unique_ptr<TestSupport::FileSizeLimit> limit =
        std::make_unique<TestSupport::FileSizeLimit>(20);
    const Result result = runOutside({"verify", clean, "--log", path("log.txt")});
    limit.reset();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.contains("cannot write the log " + path("log.txt").toUtf8() +
                                    ": File too large"))
        << result.err.toStdString();
    EXPECT_EQ(TestSupport::filesIn(m_folder.path()).filter("log"), QStringList{"log.txt"});
    QFile log(path("log.txt"));
    EXPECT_TRUE(log.open(QIODevice::ReadOnly) && log.readAll() == "old log");
}
