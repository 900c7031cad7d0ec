#include "CLI/HWCCommandLine.h"
#include "Classes/HWCLog.h"
#include "support/VerificationFixtures.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryFile>
#include <cstdio>
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace VerificationFixtures;

namespace {

struct Result {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void flipByte(const QString &path, qint64 offset)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    char byte = 0;
    ASSERT_TRUE(file.seek(offset) && file.getChar(&byte) && file.seek(offset));
    ASSERT_TRUE(file.putChar(char(byte ^ 0x01)));
}

class HWCCommandLineTest : public VerificationTest {
protected:
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
        const int savedOut = dup(STDOUT_FILENO), savedErr = dup(STDERR_FILENO);
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

    // Runs the real executable: for a file-size limit or an environment that would also
    // reach the test process.
    Result runOutside(const QStringList &arguments, const QStringList &environment = {}) const
    {
        QProcess process;
        QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
        for (const QString &variable : environment)
            variables.insert(variable.section('=', 0, 0), variable.section('=', 1));
        process.setProcessEnvironment(variables);
        process.start(QStringLiteral(HWC_HASHWARDEN_EXECUTABLE), arguments);
        EXPECT_TRUE(process.waitForFinished(60000));
        return {process.exitCode(), process.readAllStandardOutput(),
                process.readAllStandardError()};
    }

    // Three listed clips; with damage, clip2 changed and clip3 removed after the listing.
    QString clips(const QString &name, bool damage = false)
    {
        const QString folder = listedFolder(path(name), {"clip1.mov", "clip2.mov", "clip3.mov"});
        if (damage) {
            TestSupport::writeFile(folder + "/clip2.mov", 100000, 77);
            QFile::remove(folder + "/clip3.mov");
        }
        return folder;
    }
};

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
          QStringList{"info", "a.mhl", "b.mhl"}, QStringList{"--json", "frobnicate"},
          QStringList{"verify", "--log"}}) {
        const Result result = run(arguments);
        EXPECT_EQ(result.exitCode, 64) << arguments.join(' ').toStdString();
        EXPECT_TRUE(result.err.startsWith("hashwarden: ")) << result.err.toStdString();
        EXPECT_TRUE(result.out.isEmpty());
    }
}

TEST_F(HWCCommandLineTest, ExitCodesForEveryOutcome)
{
    const QString clean = clips("clean");
    const QString damaged = clips("damaged", true);
    TestSupport::writeFile(path("plain/file.mov"), 1000);
    QDir().mkpath(path("empty"));

    const Result ok = run({"verify", clean});
    EXPECT_EQ(ok.exitCode, 0) << ok.err.toStdString();
    EXPECT_TRUE(ok.out.startsWith("Verify " + clean.toUtf8() + ": Verified OK\n"));
    EXPECT_TRUE(ok.out.contains("3 files, 3 read successfully, 0 with warnings"));
    // Not on a terminal: results only, no progress drawing.
    EXPECT_FALSE(ok.out.contains('\033') || ok.out.contains('%') || ok.out.contains('\r'));

    const Result warned = run({"verify", damaged});
    EXPECT_EQ(warned.exitCode, 1);
    EXPECT_TRUE(warned.out.contains(": Finished with warnings\n  3 files"));
    EXPECT_TRUE(warned.out.contains("  Hash fail (1):\n    /clip2.mov\n"))
        << warned.out.toStdString();
    EXPECT_TRUE(warned.out.contains("  Missing file (1):\n    /clip3.mov\n"));

    const std::tuple<QStringList, int, const char *> refused[] = {
        {{"verify", path("plain")}, 2, "No MHL file."},
        {{"create", clean}, 2, "holds MHL files already"},
        {{"create", path("empty")}, 2, "No files found."},
        {{"verify", clean, path("plain/file.mov")}, 66, "an ordinary file is not a source"},
        {{"verify", path("nowhere")}, 66, "hashwarden: "},
    };
    for (const auto &[arguments, code, err] : refused) {
        const Result result = run(arguments);
        EXPECT_EQ(result.exitCode, code) << arguments.join(' ').toStdString();
        EXPECT_TRUE(result.err.contains(err)) << result.err.toStdString();
        EXPECT_FALSE(result.out.contains("Verified OK")) << "nothing runs beside a bad source";
    }
    EXPECT_EQ(QDir(path("plain")).entryList({"*.mhl"}).size(), 0) << "verify must not create";
    EXPECT_EQ(QDir(clean).entryList({"*.mhl"}).size(), 1) << "create must not add a list";

    // The worst outcome decides: warnings outrank nothing to do.
    const Result mixed = run({"verify", clean, damaged, path("plain")});
    EXPECT_EQ(mixed.exitCode, 1);
    EXPECT_EQ(mixed.out.count(": Verified OK\n"), 1);
    EXPECT_EQ(mixed.out.count(": Finished with warnings\n"), 1);
}

TEST_F(HWCCommandLineTest, CreateThenVerifyAndInfo)
{
    const QString folder = path("card");
    TestSupport::writeFile(folder + "/A001.mov", 300000, 1);
    TestSupport::writeFile(folder + "/sub/A002.wav", 1234, 2);

    const Result created = run({"create", folder});
    EXPECT_EQ(created.exitCode, 0) << created.err.toStdString();
    const QStringList lists = QDir(folder).entryList({"*.mhl"}, QDir::Files);
    ASSERT_EQ(lists.size(), 1);
    EXPECT_EQ(created.out, "Create " + folder.toUtf8() +
                               ": Created OK\n  2 files, 0 could not be hashed, 301.2 kB hashed\n"
                               "  MHL: " +
                               folder.toUtf8() + "/" + lists.first().toUtf8() + "\n");
    const Result verified = run({"verify", folder});
    EXPECT_EQ(verified.exitCode, 0) << verified.out.toStdString();
    EXPECT_TRUE(verified.out.contains("2 files, 2 read successfully, 0 with warnings"));

    const Result info = run({"info", folder + "/" + lists.first()});
    EXPECT_EQ(info.exitCode, 0);
    for (const char *line :
         {"Tool:    Hashwarden ", "Files:   2\n", "(301234 bytes)\n", "Digests: xxhash64\n"})
        EXPECT_TRUE(info.out.contains(line)) << info.out.toStdString();
    EXPECT_EQ(run({"info", folder + "/sub/A002.wav"}).exitCode, 66);
}

TEST_F(HWCCommandLineTest, JsonListsEveryRecordThatDidNotReadSuccessfully)
{
    const QString damaged = clips("damaged", true);
    const Result result = run({"verify", "--json", damaged});
    EXPECT_EQ(result.exitCode, 1);
    const QJsonObject root = QJsonDocument::fromJson(result.out).object();
    EXPECT_EQ(root["exitCode"].toInt(), 1) << result.out.toStdString();
    const QJsonObject expected = QJsonDocument::fromJson(R"({"action": "Verify",
        "state": "Finished with warnings", "exitCode": 1, "files": 3, "filesTotal": 3,
        "bytes": 150000, "bytesTotal": 300000, "warnings": 2, "tools": ["Test Writer 1.0"],
        "mhl": "", "mhlError": "", "skipped": [], "unlisted": [], "records": [
        {"path": "/clip2.mov", "state": "Hash fail", "stateCode": 2, "bytes": 100000,
         "digestKind": "md5", "expectedSize": 100000},
        {"path": "/clip3.mov", "state": "Missing file", "stateCode": 3, "bytes": 0,
         "digestKind": "md5", "expectedSize": 150000}]})")
                                     .object();
    ASSERT_EQ(root["operations"].toArray().size(), 1);
    QJsonObject operation = root["operations"][0].toObject();
    EXPECT_EQ(operation.take("source").toString(), damaged);
    // The digests are checked against md5sum, apart from the rest.
    QJsonArray records = operation.take("records").toArray();
    QJsonObject hashFail = records[0].toObject(), missing = records[1].toObject();
    EXPECT_EQ(hashFail.take("actual").toString(), toolDigest("md5", damaged + "/clip2.mov"));
    EXPECT_EQ(hashFail.take("expected").toString().size(), 32);
    EXPECT_EQ(missing.take("expected").toString().size(), 32);
    EXPECT_FALSE(missing.contains("actual")) << "a file not read has no actual digest";
    operation.insert("records", QJsonArray{hashFail, missing});
    EXPECT_EQ(operation, expected);

    QDir().mkpath(path("nolist"));
    const Result refused = run({"verify", "--json", path("nolist")});
    EXPECT_EQ(refused.exitCode, 2);
    const QJsonObject refusedRoot = QJsonDocument::fromJson(refused.out).object();
    EXPECT_EQ(refusedRoot["refused"].toArray().size(), 1);
    EXPECT_TRUE(refusedRoot["operations"].toArray().isEmpty());
}

TEST_F(HWCCommandLineTest, ALogThatCannotBeWrittenIsReportedAndKeepsTheOldOne)
{
    const QString damaged = clips("damaged", true);
    const Result written = run({"verify", damaged, "--log", path("log.txt")});
    EXPECT_EQ(written.exitCode, 1);
    EXPECT_TRUE(contents(path("log.txt")).contains("\nHash fail\n/clip2.mov ("));

    const QString clean = clips("clean");
    TestSupport::writeText(path("old/log.txt"), "old log");
    const std::tuple<QString, int, const char *> cases[] = {
        {path("missing/dir/log.txt"), 0, "No such file or directory"},
        {path("old/log.txt"), 20, "File too large"},
    };
    for (const auto &[log, limit, reason] : cases) {
        std::optional<TestSupport::FileSizeLimit> cut;
        if (limit)
            cut.emplace(limit);
        const Result result = runOutside({"verify", clean, "--log", log});
        cut.reset();
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(result.err.contains("cannot write the log " + log.toUtf8() + ": " + reason))
            << result.err.toStdString();
        EXPECT_TRUE(result.out.contains(": Verified OK\n")) << "results are still printed";
    }
    EXPECT_EQ(TestSupport::filesIn(path("old")), QStringList{"log.txt"});
    EXPECT_EQ(contents(path("old/log.txt")), "old log");
}

TEST_F(HWCCommandLineTest, ProgressIsDrawnOnATerminalAndCtrlCEndsWithExitThreeAndTheSummary)
{
    const QString clean = clips("clean");
    const QString endless = endlessFolder(path("endless"));
    // script(1) gives the program a pseudo-terminal; a Ctrl-C typed there interrupts it. The
    // shell script(1) starts must exec the program: a shell such as dash would itself die of
    // the Ctrl-C and report 130 while the program is still finishing.
    QProcess process;
    process.start("script",
                  {"-qec",
                   QStringLiteral("exec %1 verify %2 %3").arg(HWC_HASHWARDEN_EXECUTABLE, clean, endless),
                   "/dev/null"});
    ASSERT_TRUE(process.waitForStarted());
    QByteArray out;
    ASSERT_TRUE(TestSupport::waitUntil([&] {
        process.waitForReadyRead(10);
        out += process.readAllStandardOutput();
        return out.contains("\033[A\r\033[K") && out.contains("  endless\r\n");
    })) << out.toStdString();
    process.write("\x03");
    ASSERT_TRUE(process.waitForFinished(30000));
    out += process.readAllStandardOutput();
    EXPECT_EQ(process.exitCode(), 3) << out.toStdString();
    EXPECT_TRUE(out.contains(" of 5 bytes  ")) << out.toStdString();
    EXPECT_TRUE(out.contains("cancelling"));
    EXPECT_TRUE(out.contains("Verify " + endless.toUtf8() + ": Cancelled"));
    // The clean folder may or may not have been done by then; it is reported either way.
    EXPECT_TRUE(out.contains("Verify " + clean.toUtf8() + ": "));
}

TEST_F(HWCCommandLineTest, UnusableListsAndEntriesAreNamedAndNeverSucceed)
{
    TestSupport::writeText(path("asc/ascmhl/0001_asc.mhl"),
                           "<hashlist version=\"2.0\"><hashes/></hashlist>");
    TestSupport::writeText(path("cut/list.mhl"), "<hashlist><hash><file>a</file>");
    TestSupport::makeFifo(path("pipe.mhl"));
    const QString clean = clips("clean");
    TestSupport::makeFifo(clean + "/pipe");
    writeMHL(clean + "/more.mhl",
             {hashElement("pipe", 5, {{"md5", kHelloMD5}}),
              hashElement("../../etc/hostname", 5, {{"md5", kHelloMD5}})},
             "50% 100%1 %2");
    const std::tuple<QString, const char *, const char *> cases[] = {
        {path("asc"), "asc/ascmhl: lists no files", ": Finished with warnings, an MHL"},
        {path("cut"), "list.mhl: is not well-formed XML", ": Nothing verified, an MHL"},
        {path("pipe.mhl"), "pipe.mhl: cannot be opened: a FIFO", ": Nothing verified, an MHL"},
        {clean, "Can't open file ../../etc/hostname: its path leaves", "Can't open file (2):"},
    };
    for (const auto &[source, err, out] : cases) {
        const Result result = run({"verify", source});
        EXPECT_EQ(result.exitCode, 1) << source.toStdString();
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
    const QString clean = clips("clean");
    // Only the null provider: OpenSSL then offers no digest at all.
    TestSupport::writeText(path("openssl.cnf"), "openssl_conf = init\n[init]\nproviders = p\n"
                                                "[p]\nnull = n\n[n]\nactivate = 1\n");
    const Result result = runOutside({"verify", clean}, {"OPENSSL_CONF=" + path("openssl.cnf")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.contains("ERROR") && result.err.contains("OpenSSL cannot provide MD5"))
        << result.err.toStdString();
    EXPECT_EQ(result.err.count("Skipping unknown checksum type"), 3);
    EXPECT_TRUE(result.out.contains("Unknown hash (3):"));
}

TEST_F(HWCCommandLineTest, CreateThenVerifyRoundTripsEveryName)
{
    const QByteArray folder = QFile::encodeName(path("names"));
    ASSERT_EQ(mkdir(folder.constData(), 0755), 0);
    int fd = open(folder.constData(), O_RDONLY | O_DIRECTORY);
    // Names cannot hold "/", so one text lists them all.
    QList<QByteArray> names = QByteArray("bad\xFF\xFE.bin/cr\r.bin/lf\n.bin/ctl\x01\x1F/   / lead/"
                                         "trail /tab\t.bin/100%41.bin/%41%/x%41\x80/\xEF\xBF\xBE/"
                                         "overlong\xC0\xAF/surrogate\xED\xA0\x80")
                                  .split('/');
    names.append(QByteArray(255, 'n'));
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
    EXPECT_TRUE(created.out.contains("  16 files, 0 could not be hashed")) << created.out.data();
    const QStringList lists = QDir(path("names")).entryList({"*.mhl"}, QDir::Files);
    ASSERT_EQ(lists.size(), 1);
    TestSupport::runTool("xmllint", {"--noout", path("names/" + lists.first())});
    const Result verified = run({"verify", path("names")});
    EXPECT_EQ(verified.exitCode, 0) << verified.out.toStdString();
    EXPECT_TRUE(verified.out.contains("16 files, 16 read successfully, 0 with warnings"));
    TestSupport::runTool("rm", {"-rf", path("names")}); // too deep for QTemporaryDir
}

TEST_F(HWCCommandLineTest, AnMHLThatCannotBeWrittenIsReportedWithExit73)
{
    const QByteArray readOnly = QFile::encodeName(path("read-only"));
    TestSupport::writeFile(readOnly + "/clip.mov", 1000);
    const bool mounted =
        mount(readOnly, readOnly, nullptr, MS_BIND, nullptr) == 0 &&
        mount(nullptr, readOnly, nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) == 0;
    if (!mounted)
        chmod(readOnly, 0555); // enough when the tests do not run as root
    const std::unique_ptr<const char, void (*)(const char *)> unmount(
        readOnly.constData(), [](const char *folder) { umount2(folder, MNT_DETACH); });
    TestSupport::writeFile(path("blocked/clip.mov"), 1000);
    TestSupport::blockMHLNames(path("blocked"));
    TestSupport::writeFile(path("full/clip.mov"), 1000);

    for (const auto &[folder, reason] :
         {std::pair{QFile::decodeName(readOnly), "Read-only file system"},
          {path("blocked"), "File exists and is not a regular file"},
          {path("full"), "File too large"}}) {
        std::optional<TestSupport::FileSizeLimit> limit;
        if (folder == path("full"))
            limit.emplace(512);
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

TEST_F(HWCCommandLineTest, JobsGiveTheSameResultAndOnlyAWholeNumberInRangeIsTaken)
{
    const QString damaged = clips("damaged", true);
    for (const char *jobs : {"0", "65", "two", "-1"}) {
        const Result result = run({"verify", "--jobs", jobs, damaged});
        EXPECT_EQ(result.exitCode, 64) << jobs;
        EXPECT_TRUE(result.err.startsWith("hashwarden: --jobs needs a whole number from 1 to 64"))
            << result.err.toStdString();
    }
    const Result serial = run({"verify", "--json", damaged});
    const Result parallel = run({"verify", "--json", "--jobs", "3", damaged});
    EXPECT_EQ(parallel.exitCode, 1);
    EXPECT_EQ(parallel.out, serial.out);
}

TEST_F(HWCCommandLineTest, AHashFailShowsBothDigestsAndTheSizeFoundAgainstTheSizeListed)
{
    // Each kind in a list of its own that create writes; then one byte of the file flips.
    for (const QString kind : {"md5", "xxhash64", "sha1", "xxhash"}) {
        const QString file = path(kind + "/clip.mov");
        TestSupport::writeFile(file, 50000, 5);
        ASSERT_EQ(run({"create", "--digest", kind, path(kind)}).exitCode, 0) << kind.toStdString();
        const QString listed = toolDigest(kind, file);
        flipByte(file, 4321);
        const Result result = run({"verify", path(kind)});
        EXPECT_EQ(result.exitCode, 1);
        const QString pad(kind.size(), ' ');
        EXPECT_TRUE(result.out.contains(QStringLiteral("  Hash fail (1):\n    /clip.mov\n"
                                                       "      %1 expected %2\n"
                                                       "      %3 actual   %4\n"
                                                       "      size 50000 bytes, as listed\n")
                                            .arg(kind, listed, pad, toolDigest(kind, file))
                                            .toUtf8()))
            << result.out.toStdString();
    }
    const QString damaged = clips("cut");
    QFile::resize(damaged + "/clip2.mov", 60000);
    const Result cut = run({"verify", damaged});
    EXPECT_TRUE(cut.out.contains("      size 60000 bytes, 100000 listed (truncated)\n"))
        << cut.out.toStdString();
}

TEST_F(HWCCommandLineTest, CreateWritesEveryDigestKindAskedForFromOneRead)
{
    const QString file = path("card/A001.mov");
    TestSupport::writeFile(file, 3 * kMiB + 17, 9);
    const Result created =
        run({"create", "--digest", "sha1,md5,xxhash,xxhash64,md5", path("card")});
    ASSERT_EQ(created.exitCode, 0) << created.err.toStdString();
    EXPECT_TRUE(created.out.contains("  1 files, 0 could not be hashed, 3.1 MB hashed\n"))
        << "one read: the bytes are counted once";
    const QString mhl = QString::fromUtf8(
        contents(QDir(path("card")).entryInfoList({"*.mhl"}).value(0).filePath()));
    qsizetype previous = 0;
    for (const QString kind : {"sha1", "md5", "xxhash", "xxhash64"}) {
        const qsizetype at =
            mhl.indexOf(QStringLiteral("<%1>%2</%1>").arg(kind, toolDigest(kind, file)));
        EXPECT_GT(at, previous) << kind.toStdString() << " in the order given\n"
                                << mhl.toStdString();
        previous = at;
    }
    EXPECT_EQ(mhl.count("<md5>"), 1);
    EXPECT_EQ(run({"verify", path("card")}).exitCode, 0);
    for (const QStringList &arguments : {QStringList{"create", "--digest", "crc32", path("card")},
                                         QStringList{"create", "--digest", "", path("card")},
                                         QStringList{"verify", "--digest", "md5", path("card")}})
        EXPECT_EQ(run(arguments).exitCode, 64) << arguments.join(' ').toStdString();
}

TEST_F(HWCCommandLineTest, FilesNoMHLListsAreReportedAndFailOnlyWithStrict)
{
    const QString folder = clips("card");
    for (const char *name : {"extra.mov", "sub/new.wav", ".DS_Store", "._clip1.mov"})
        TestSupport::writeFile(folder + "/" + name, 10);
    const QByteArray report = "  Not listed in any MHL (2):\n    /extra.mov\n    /sub/new.wav\n";
    const std::tuple<QStringList, int, QByteArray> cases[] = {
        {{"verify", folder}, 0, report},
        {{"verify", "--strict", folder}, 1, report},
        // Patterns given replace the default ones.
        {{"verify", "--exclude", "*.wav", "--exclude", "extra*", folder},
         0,
         "  Not listed in any MHL (2):\n    /.DS_Store\n    /._clip1.mov\n"},
    };
    for (const auto &[arguments, code, out] : cases) {
        const Result result = run(arguments);
        EXPECT_EQ(result.exitCode, code) << arguments.join(' ').toStdString();
        EXPECT_TRUE(result.out.contains(out)) << result.out.toStdString();
        EXPECT_TRUE(result.out.contains(": Verified OK\n")) << "the state stays";
    }
    const Result json = run({"verify", "--json", "--strict", "--log", path("log.txt"), folder});
    const QJsonObject operation = QJsonDocument::fromJson(json.out)["operations"][0].toObject();
    EXPECT_EQ(operation["unlisted"].toArray(), QJsonArray({"/extra.mov", "/sub/new.wav"}));
    EXPECT_EQ(operation["exitCode"].toInt(), 1);
    EXPECT_TRUE(
        contents(path("log.txt")).endsWith("\nNot listed in any MHL\n/extra.mov\n/sub/new.wav\n"));

    // A listed path names its file once "." and ".." are resolved.
    writeMHL(folder + "/more.mhl",
             {hashElement("./sub/../extra.mov", 10,
                          {{"md5", toolDigest("md5", folder + "/extra.mov")}})});
    EXPECT_TRUE(
        run({"verify", folder}).out.contains("  Not listed in any MHL (1):\n    /sub/new.wav\n"));

    // create leaves the default names out, so that its own list then leaves nothing unlisted.
    for (const char *name : {"a.mov", ".DS_Store", "._a.mov", "Thumbs.db"})
        TestSupport::writeFile(path("new/") + name, 10);
    EXPECT_TRUE(run({"create", path("new")}).out.contains("  1 files, "));
    EXPECT_EQ(run({"verify", "--strict", path("new")}).exitCode, 0);
}

TEST_F(HWCCommandLineTest, RootVerifiesAnMHLKeptApartFromTheMedia)
{
    const QString media = clips("media");
    QDir().mkpath(path("reports"));
    ASSERT_TRUE(QFile::rename(media + "/list.mhl", path("reports/list.mhl")));
    for (const QString &source : {path("reports/list.mhl"), path("reports")}) {
        const Result result = run({"verify", "--strict", "--root", media, source});
        EXPECT_EQ(result.exitCode, 0) << result.out.toStdString() << result.err.toStdString();
        EXPECT_TRUE(result.out.contains("3 files, 3 read successfully"));
    }
    EXPECT_TRUE(run({"verify", path("reports")}).out.contains("  Missing file (3):"));
    const Result nowhere = run({"verify", "--root", path("nowhere"), path("reports")});
    EXPECT_EQ(nowhere.exitCode, 66);
    EXPECT_TRUE(nowhere.err.contains("nowhere: not a folder")) << nowhere.err.toStdString();
    EXPECT_EQ(run({"create", "--root", media, path("reports")}).exitCode, 64);
}
