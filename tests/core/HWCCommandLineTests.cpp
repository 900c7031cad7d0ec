#include "cli/HWCCommandLine.h"
#include "engine/session/HWCLog.h"
#include "support/VerificationFixtures.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryFile>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

using namespace VerificationFixtures;

namespace {

struct Result {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

// What docs/json.md documents, read from it so that the two cannot drift: per object each
// field's type and whether it is always there ("" when only when known), per code table the
// names.
struct JsonSchema {
    QHash<QString, QHash<QString, std::pair<QString, bool>>> objects;
    QHash<QString, QHash<qint64, QString>> codes;

    JsonSchema()
    {
        const QRegularExpression field(R"(^\| `(\w+)` \| ([\w ]+) \| (always|when known) \|)");
        const QRegularExpression code(R"(^\| (\d+) \| ([^|]+) \|)");
        QString table;
        for (const QString &line :
             QString::fromUtf8(TestSupport::readFile(HWC_SOURCE_DIR "/docs/json.md")).split('\n')) {
            if (line.startsWith("### "))
                table = line.mid(4);
            if (const auto match = field.match(line); match.hasMatch())
                objects[table][match.captured(1)] = {match.captured(2),
                                                     match.captured(3) == "always"};
            else if (const auto match = code.match(line); match.hasMatch())
                codes[table][match.captured(1).toLongLong()] = match.captured(2).trimmed();
        }
    }

    void expectObject(const QString &name, const QJsonObject &object, const QString &where) const
    {
        const auto fields = objects.value(name);
        ASSERT_FALSE(fields.isEmpty()) << "no table for " << name.toStdString();
        for (auto it = fields.begin(); it != fields.end(); ++it)
            EXPECT_TRUE(!it->second || object.contains(it.key()))
                << (where + it.key()).toStdString();
        for (auto it = object.begin(); it != object.end(); ++it) {
            EXPECT_TRUE(fields.contains(it.key()))
                << "undocumented " << (where + it.key()).toStdString();
            expectValue(fields.value(it.key()).first, *it, where + it.key());
        }
        if (name != "Record" && name != "Source")
            return;
        const QString table = name == "Record" ? "File state codes" : "Operation state codes";
        const qint64 state = object["stateCode"].toInteger(-1);
        EXPECT_TRUE(codes[table].contains(state)) << (where + "stateCode").toStdString();
        EXPECT_TRUE(name == "Source" || codes[table][state] == object["state"].toString());
    }

    void expectValue(const QString &type, const QJsonValue &value, const QString &where) const
    {
        const QHash<QString, bool> plain = {{"string", value.isString()},
                                            {"number", value.isDouble()},
                                            {"boolean", value.isBool()}};
        if (plain.contains(type))
            EXPECT_TRUE(plain[type]) << where.toStdString() << " is not a " << type.toStdString();
        else if (!type.startsWith("array of"))
            expectObject(type, value.toObject(), where + ".");
        for (const QJsonValue &element : value.toArray())
            expectValue(type.mid(9), element, where + "[]");
        EXPECT_EQ(value.isArray(), type.startsWith("array of")) << where.toStdString();
    }

    // The whole output of one run: a single documented JSON document.
    void expectDocument(const QByteArray &out, int exitCode,
                        const QString &object = "Document") const
    {
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(out, &error);
        ASSERT_EQ(error.error, QJsonParseError::NoError) << out.toStdString();
        expectObject(object, document.object(), "");
        EXPECT_EQ(document["exitCode"].toInt(exitCode), exitCode);
        EXPECT_EQ(document["schemaVersion"].toInt(), 1);
    }
};

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
        return {exitCode, TestSupport::readFile(out.fileName()),
                TestSupport::readFile(err.fileName())};
    }

    // Runs the real executable: for a file-size limit or an environment that would also
    // reach the test process; with a wrapper (a program and its arguments), through it;
    // inChild first in its process. Killed by a signal, it gives -1.
    Result runOutside(const QStringList &arguments, const QStringList &environment = {},
                      QStringList wrapper = {}, const std::function<void()> &inChild = {}) const
    {
        QProcess process;
        QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
        for (const QString &variable : environment)
            variables.insert(variable.section('=', 0, 0), variable.section('=', 1));
        process.setProcessEnvironment(variables);
        if (inChild)
            process.setChildProcessModifier(inChild);
        wrapper.append(QStringLiteral(HWC_HASHWARDEN_EXECUTABLE));
        process.start(wrapper.first(), wrapper.mid(1) + arguments);
        EXPECT_TRUE(process.waitForFinished(60000));
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                process.readAllStandardOutput(), process.readAllStandardError()};
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

TEST_F(HWCCommandLineTest, UsageErrorsHelpVersionAndCompletion)
{
    const Result help = run({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.out.startsWith("Usage: hashwarden [options] verify|create|info PATH...\n"));
    for (const char *text : {"verify SOURCE...", "create SOURCE...", "info MHL", "Exit codes:",
                             "  64  Usage error", "  66  A source", "-q, --quiet", "-v, --verbose"})
        EXPECT_TRUE(help.out.contains(text)) << text;
    // Completion offers every option the help names, in its order, and the commands.
    QStringList options;
    const QRegularExpression option(R"(^  (-[\w-]+)(?:, (--[\w-]+))?)",
                                    QRegularExpression::MultilineOption);
    for (const auto &match : option.globalMatch(QString::fromUtf8(help.out)))
        options << match.capturedTexts().mid(1).filter(QRegularExpression("."));
    const QByteArray offered = TestSupport::runTool(
        "bash", {"-c", "source " HWC_SOURCE_DIR "/data/hashwarden.bash-completion; "
                       "COMP_WORDS=(hashwarden -); COMP_CWORD=1; _hashwarden; echo ${COMPREPLY[@]};"
                       "COMP_WORDS=(hashwarden ve); _hashwarden; echo ${COMPREPLY[@]}"});
    EXPECT_EQ(offered, options.join(' ').toUtf8() + "\nverify\n");

    for (const char *version : {"-V", "--version"})
        EXPECT_EQ(run({version}).out, "hashwarden " HWC_VERSION "\n");

    const char *kDigestsTaken = "--digest takes a comma list of xxhash64, md5, sha1, xxhash";
    const std::pair<QStringList, const char *> errors[] = {
        {{"--bogus"}, "Unknown option 'bogus'."},
        {{"-v"}, "a command is needed"},
        {{"verify"}, "verify needs at least one SOURCE"},
        {{"info", "a.mhl", "b.mhl"}, "info needs exactly one MHL file"},
        {{"verify", "--log"}, "Missing value after '--log'."},
        {{"verify", "-q", "-v", "."}, "--quiet and --verbose exclude each other"},
        {{"verify", "--append", "."}, "--append needs --log FILE"},
        {{"verify", "--log", "", "."}, "--log needs a FILE name"},
        {{"verify", "--jobs", "65", "."}, "--jobs needs a whole number from 1 to 64"},
        {{"verify", "--jobs", "two", "."}, "--jobs needs a whole number from 1 to 64"},
        {{"create", "--digest", "crc32", "."}, kDigestsTaken},
        {{"verify", "--digest", "md5", "."}, "--digest applies to create only"},
        {{"create", "--root", ".", "."}, "--root applies to verify only"},
    };
    for (const auto &[arguments, message] : errors) {
        const Result result = run(arguments);
        EXPECT_EQ(result.exitCode, 64) << message;
        EXPECT_EQ(result.err,
                  "hashwarden: " + QByteArray(message) + "\nTry 'hashwarden --help'.\n");
        EXPECT_TRUE(result.out.isEmpty());
    }
}

TEST_F(HWCCommandLineTest, EveryExitCodeWithItsTextAndItsDocumentedJson)
{
    const JsonSchema schema;
    const QString clean = clips("clean");
    const QString damaged = clips("damaged", true);
    TestSupport::writeFile(path("plain/file.mov"), 1000);
    QDir().mkpath(path("empty"));
    TestSupport::writeFile(path("excluded/clip.mov"), 1000);
    TestSupport::writeFile(path("ignored/.DS_Store"), 10);
    const auto nothing = [this](const char *folder) {
        return "Create " + QFile::encodeName(path(folder)) +
               ": Error: No files found\n  0 files, "
               "0 could not be hashed, 0 bytes hashed\n";
    };
    TestSupport::makeFifo(path("fifo%1%2"));
    const QByteArray problems = damaged.toUtf8() + "/clip2.mov: Hash fail\n" + damaged.toUtf8() +
                                "/clip3.mov: Missing file\n";
    const QByteArray ok = "Verify " + clean.toUtf8() +
                          ": Verified OK\n  3 files, 3 read successfully, 0 with warnings, "
                          "300.0 kB read\n";
    const QByteArray warned = "Verify " + damaged.toUtf8() +
                              ": Finished with warnings\n  3 files, 1 read successfully, 2 with "
                              "warnings, 150.0 kB read\n  Hash fail (1):\n    /clip2.mov\n"
                              "      md5 expected " +
                              toolDigest("md5", clean + "/clip2.mov").toUtf8() +
                              "\n          actual   " +
                              toolDigest("md5", damaged + "/clip2.mov").toUtf8() +
                              "\n      size 100000 bytes, as listed\n"
                              "  Missing file (1):\n    /clip3.mov\n";
    // Each runs as text (not on a terminal: the results alone, and no log lines without
    // --debug) and as JSON. The worst outcome decides; nothing runs beside a source that
    // cannot be used. --quiet prints only problems, --verbose every file.
    const std::tuple<QStringList, int, QByteArray, const char *> cases[] = {
        {{"verify", clean}, 0, ok, ""},
        {{"verify", damaged}, 1, warned, ""},
        {{"verify", "-q", clean}, 0, "", ""},
        {{"verify", "--quiet", damaged, clean},
         1,
         "Verify " + damaged.toUtf8() + ": Finished with warnings\n" + problems,
         ""},
        {{"verify", "-v", damaged},
         1,
         damaged.toUtf8() + "/clip1.mov: OK\n" + problems + warned,
         ""},
        {{"verify", clean, damaged, path("plain")}, 1, ok + warned, "plain: No MHL file.\n"},
        {{"create", clean}, 2, "", "holds MHL files already"},
        {{"create", path("empty")}, 2, "", "No files found."},
        {{"create", "--exclude", "*", path("excluded")}, 2, nothing("excluded"), ""},
        {{"create", path("ignored")}, 2, nothing("ignored"), ""},
        {{"verify", clean, path("plain/file.mov")}, 66, "", "an ordinary file is not a source"},
        {{"verify", path("nowhere")}, 66, "", "nowhere: No such file or directory"},
        {{"info", path("plain/file.mov")}, 66, "", "file.mov: is not an MHL file"},
        {{"verify", clean, "--log", path("no/dir/log")}, 73, "", "cannot write the log"},
        {{"verify", clean, "--log", "/dev/null"}, 73, "", "log /dev/null: not a regular file\n"},
        {{"verify", clean, "--log", path("fifo%1%2")}, 73, "", "fifo%1%2: not a regular file\n"},
    };
    for (const auto &[arguments, code, out, err] : cases) {
        SCOPED_TRACE(arguments.join(' ').toStdString());
        const Result text = run(arguments);
        EXPECT_EQ(text.exitCode, code);
        EXPECT_EQ(text.out, out);
        EXPECT_TRUE(text.err.contains(err) && !text.err.contains("[Line "))
            << text.err.toStdString();
        const Result json = run(QStringList{"--json"} + arguments);
        EXPECT_EQ(json.exitCode, code);
        schema.expectDocument(json.out, code);
    }
    EXPECT_EQ(QDir(path("plain")).entryList({"*.mhl"}).size(), 0) << "verify must not create";
    EXPECT_EQ(QDir(clean).entryList({"*.mhl"}).size(), 1) << "create must not add a list";
    EXPECT_EQ(QDir(path("excluded")).entryList({"*.mhl"}).size(), 0) << "nothing to list";

    const QStringList info = {"info", clean + "/list.mhl"};
    schema.expectDocument(run(QStringList{"--json"} + info).out, 0, "Info");
    EXPECT_TRUE(run(info).out.contains(
        "Tool:    Test Writer 1.0\nFiles:   3\nSize:    300.0 kB (300000 bytes)\nDigests: md5\n"));
}

TEST_F(HWCCommandLineTest, TheLogIsAReportCheckedBeforeReadingAndCanBeAppendedTo)
{
    const QString damaged = clips("damaged", true);
    QDir().mkpath(path("nolist"));
    const Result written = run({"verify", damaged, path("nolist"), "--log", path("log.txt")});
    EXPECT_EQ(written.exitCode, 1);
    const QByteArray log = TestSupport::readFile(path("log.txt"));
    for (const QString &text : QStringList{
             "Result:    Finished with warnings\nAction:    Verify\nSource:    " + damaged + "\n",
             "Host:      " + QSysInfo::machineHostName() + "\n",
             "\nTool:      Hashwarden " HWC_VERSION "\n",
             "\nStart:     ", "\nEnd:       ", "\nDuration:  0:00 (",
             "\nUser:      ", "\nMHL:       " + damaged + "/list.mhl (md5)\n",
             "\nFiles:     3 files, 2 with warnings, 150 KB read (150000 bytes)\n",
             "\nFile read successfully\n/clip1.mov (50 KB read, 50000 bytes)\n",
             "\nHash fail\n/clip2.mov (100 KB read, 100000 bytes)\n",
             "\nMissing file\n/clip3.mov (0 Bytes read, 0 bytes)\n",
             "\nResult:    Refused: No MHL file.\nSource:    " + path("nolist") + "\n"})
        EXPECT_TRUE(log.contains(text.toUtf8())) << text.toStdString() << log.toStdString();

    const QString card = path("card");
    TestSupport::writeFile(card + "/A001.mov", 300000, 1);
    const Result created = run({"create", card, "--log", path("log.txt"), "--append"});
    const QStringList lists = QDir(card).entryList({"*.mhl"});
    ASSERT_EQ(lists.size(), 1);
    EXPECT_EQ(created.out, "Create " + card +
                               ": Created OK\n  1 file, 0 could not be hashed, "
                               "300.0 kB hashed\n  MHL: " +
                               card + "/" + lists.first() + "\n");
    const QByteArray appended = TestSupport::readFile(path("log.txt"));
    EXPECT_TRUE(appended.contains("\nHashed\n/A001.mov 300 KB hashed (300000 bytes) xxhash64 " +
                                  toolDigest("xxhash64", card + "/A001.mov").toUtf8() + "\n"))
        << appended.toStdString();

    // A log that cannot be written stops the command before any file is read; one that
    // fails only at the end leaves the old one and still prints the results.
    TestSupport::writeText(path("old/log.txt"), "old log");
    const std::tuple<QString, int, int, const char *> cases[] = {
        {path("old"), 0, 73, "Is a directory"},
        {path("old/log.txt"), 20, 1, "File too large"},
    };
    for (const auto &[log, limit, code, reason] : cases) {
        std::optional<TestSupport::FileSizeLimit> cut;
        if (limit)
            cut.emplace(limit);
        const Result result = runOutside({"verify", "--json", damaged, "--log", log});
        cut.reset();
        EXPECT_EQ(result.exitCode, code);
        EXPECT_TRUE(result.err.contains("cannot write the log " + log.toUtf8() + ": " + reason))
            << result.err.toStdString();
        JsonSchema().expectDocument(result.out, code);
        EXPECT_EQ(QJsonDocument::fromJson(result.out)["logError"].toString().endsWith(reason),
                  code == 1);
    }
    EXPECT_EQ(TestSupport::filesIn(path("old")), QStringList{"log.txt"});
    EXPECT_EQ(TestSupport::readFile(path("old/log.txt")), "old log");
}

TEST_F(HWCCommandLineTest, ProgressIsDrawnOnATerminalAndCtrlCOrSIGTERMEndWithExitThree)
{
    const QString clean = clips("clean");
    const QString endless = endlessFolder(path("endless"));
    for (const QString &option : {"--log=" + path("log.txt"), QStringLiteral("--json")}) {
        SCOPED_TRACE(option.toStdString());
        // script(1) gives the program a pseudo-terminal for stderr while stdout goes to a
        // file; a Ctrl-C typed there interrupts it. The shell script(1) starts must exec the
        // program: a shell such as dash would itself die of the Ctrl-C and report 130.
        QProcess process;
        process.start("script",
                      {"-qec",
                       QStringLiteral("exec %1 verify %2 %3 %4 >%5")
                           .arg(HWC_HASHWARDEN_EXECUTABLE, option, clean, endless, path("out")),
                       "/dev/null"});
        ASSERT_TRUE(process.waitForStarted());
        QByteArray terminal;
        ASSERT_TRUE(TestSupport::waitUntil([&] {
            process.waitForReadyRead(10);
            terminal += process.readAllStandardOutput();
            return terminal.contains("\033[A\r\033[K") && terminal.contains("  endless\r\n");
        })) << terminal.toStdString();
        // The JSON run is stopped as a service manager stops it: SIGTERM to script(1)'s child.
        const QString children =
            QStringLiteral("/proc/%1/task/%1/children").arg(process.processId());
        if (option != "--json")
            process.write("\x03");
        else
            kill(TestSupport::readFile(children).trimmed().toInt(), SIGTERM);
        ASSERT_TRUE(process.waitForFinished(30000));
        terminal += process.readAllStandardOutput();
        EXPECT_EQ(process.exitCode(), 3) << terminal.toStdString();
        // Each line names its source and counts files beside bytes.
        const QRegularExpression line(
            R"(verify endless +[0-9.]+%  0/1 files  [0-9.]+ [kMG]?B(ytes)? of 5 bytes  )");
        EXPECT_TRUE(line.match(QString::fromUtf8(terminal)).hasMatch()) << terminal.toStdString();
        EXPECT_TRUE(terminal.contains("cancelling"));
        // The last block drawn is erased.
        EXPECT_GT(terminal.lastIndexOf("\033[K"), terminal.lastIndexOf("verify endless"));
        const QByteArray out = TestSupport::readFile(path("out"));
        EXPECT_FALSE(out.contains('\033') || out.contains('\r'));
        if (option == "--json") {
            JsonSchema().expectDocument(out, 3);
            EXPECT_EQ(QJsonDocument::fromJson(out)["sources"][1]["state"], "Cancelled");
            continue;
        }
        EXPECT_TRUE(out.contains("Verify " + endless.toUtf8() + ": Cancelled"));
        // The clean folder may or may not have been done by then; it is reported either way.
        EXPECT_TRUE(out.contains("Verify " + clean.toUtf8() + ": "));
        EXPECT_TRUE(TestSupport::readFile(path("log.txt")).contains("Result:    Cancelled"));
    }
}

TEST_F(HWCCommandLineTest, UnusableListsAndEntriesAreNamedAndNeverSucceed)
{
    TestSupport::writeText(path("cut/list.mhl"), "<hashlist><hash><file>a</file>");
    TestSupport::makeFifo(path("pipe.mhl"));
    const QString clean = clips("clean");
    TestSupport::makeFifo(clean + "/pipe");
    writeMHL(clean + "/more.mhl",
             {hashElement("pipe", 5, {{"md5", kHelloMD5}}),
              hashElement("../../etc/hostname", 5, {{"md5", kHelloMD5}})},
             "50% 100%1 %2");
    const std::tuple<QString, const char *, const char *> cases[] = {
        {path("cut"), "list.mhl: is not well-formed XML", ": Nothing verified, an MHL"},
        {path("pipe.mhl"), "pipe.mhl: cannot be opened: a FIFO", ": Nothing verified, an MHL"},
        {clean, "Can't open file ../../etc/hostname: its path leaves", "Can't open file (2):"},
    };
    for (const auto &[source, err, out] : cases) {
        const Result result = run({"verify", "--debug", source});
        EXPECT_EQ(result.exitCode, 1) << source.toStdString();
        EXPECT_TRUE(result.err.contains(err)) << result.err.toStdString();
        EXPECT_TRUE(result.out.contains(out)) << result.out.toStdString();
    }
    const QJsonObject json = QJsonDocument::fromJson(run({"verify", "--json", path("cut")}).out)
                                 .object()["sources"][0]["mhlSkipped"][0]
                                 .toObject();
    EXPECT_EQ(json["path"].toString(), path("cut/list.mhl"));
    EXPECT_TRUE(json["reason"].toString().startsWith("is not well-formed XML ("));
    EXPECT_TRUE(run({"info", clean + "/more.mhl"}).out.contains("Tool:    50% 100%1 %2\n"));
}

TEST_F(HWCCommandLineTest, ADigestOpenSSLCannotProvideIsSkippedAsUnknown)
{
    const QString clean = clips("clean");
    // Only the null provider: OpenSSL then offers no digest at all.
    TestSupport::writeText(path("openssl.cnf"), "openssl_conf = init\n[init]\nproviders = p\n"
                                                "[p]\nnull = n\n[n]\nactivate = 1\n");
    for (const bool debug : {false, true}) {
        const Result result = runOutside(QStringList{"verify", clean} +
                                             (debug ? QStringList{"--debug"} : QStringList{}),
                                         {"OPENSSL_CONF=" + path("openssl.cnf")});
        EXPECT_EQ(result.exitCode, 1);
        // The program's log lines reach the terminal only when asked for.
        EXPECT_EQ(result.err.contains("ERROR") && result.err.contains("OpenSSL cannot provide MD5"),
                  debug)
            << result.err.toStdString();
        EXPECT_EQ(result.err.count("Skipping unknown checksum type"), debug ? 3 : 0);
        EXPECT_TRUE(result.out.contains("Unknown hash (3):"));
    }
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
    // Folders named like the card's own path are listed; a killed write's leftover is not.
    for (const QString &file :
         {QString("names/clip.mov"), "tmp/" + m_folder.path().section('/', 2) + "/names/clip.mov"})
        TestSupport::writeFile(path("names/" + file), 10);
    TestSupport::writeText(path("names/.hashwarden-1x2y3z"), "partial list");
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
    EXPECT_TRUE(created.out.contains("  18 files, 0 could not be hashed")) << created.out.data();
    const QStringList lists = QDir(path("names")).entryList({"*.mhl"}, QDir::Files);
    ASSERT_EQ(lists.size(), 1);
    TestSupport::runTool("xmllint", {"--noout", path("names/" + lists.first())});
    const Result verified = run({"verify", "--strict", path("names")});
    EXPECT_EQ(verified.exitCode, 0) << verified.out.toStdString();
    EXPECT_TRUE(verified.out.contains("18 files, 18 read successfully, 0 with warnings"));
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
    // Another creation holds the folder: this one is refused at once, not made to wait.
    TestSupport::writeFile(path("held/clip.mov"), 1000);
    const int held = open(QFile::encodeName(path("held")).constData(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(flock(held, LOCK_EX), 0);

    for (const auto &[folder, name, reason] :
         {std::tuple{QFile::decodeName(readOnly), "/Hashwarden Media Hash List - ",
                     "Read-only file system"},
          {path("blocked"), "/Hashwarden Media Hash List - ",
           "File exists and is not a regular file"},
          {path("full"), "/Hashwarden Media Hash List - ", "File too large"},
          {path("held"), ": another creation", "another creation of this folder is running"}}) {
        std::optional<TestSupport::FileSizeLimit> limit;
        if (folder == path("full"))
            limit.emplace(512);
        const Result result = runOutside({"create", "--json", folder});
        limit.reset();
        EXPECT_EQ(result.exitCode, 73) << result.err.toStdString();
        EXPECT_TRUE(
            result.err.contains("hashwarden: MHL could not be written: " + folder.toUtf8() + name))
            << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(reason)) << result.err.toStdString();
        JsonSchema().expectDocument(result.out, 73);
        const QJsonObject source = QJsonDocument::fromJson(result.out)["sources"][0].toObject();
        EXPECT_FALSE(source.contains("mhlWritten"));
        EXPECT_TRUE(source["mhlError"].toString().endsWith(reason));
        EXPECT_EQ(source["exitCode"].toInt(), 73);
        EXPECT_TRUE(QDir(folder).entryList({"*.mhl", ".*"}, QDir::Files | QDir::Hidden).isEmpty());
    }
    close(held);
    if (!mounted)
        GTEST_SKIP() << "read-only checked by permissions only";
}

TEST_F(HWCCommandLineTest, JobsGiveTheSameRecordsInTheSameOrder)
{
    const QString damaged = clips("damaged", true);
    const QString clean = clips("clean");
    const auto md5 = [](const QString &file) { return toolDigest("md5", file); };
    // The same records in the same order, with the digests md5sum gives; only the times differ.
    const QString listed = QStringLiteral(R"({"action": "Verify",
        "state": "Finished with warnings", "stateCode": 3, "finished": true, "exitCode": 1,
        "files": 3, "filesTotal": 3, "bytes": 150000, "bytesTotal": 300000, "warnings": 2,
        "tools": ["Test Writer 1.0"], "mhlSkipped": [], "unlisted": [], "unreadableFolders": [],
        "records": [
        {"path": "clip1.mov", "state": "File read successfully", "stateCode": 1,
         "bytesRead": 50000, "size": 50000, "digestKind": "md5", "expected": "%1",
         "actual": "%1", "expectedSize": 50000},
        {"path": "clip2.mov", "state": "Hash fail", "stateCode": 2, "bytesRead": 100000,
         "size": 100000, "digestKind": "md5", "expected": "%2", "actual": "%3",
         "expectedSize": 100000},
        {"path": "clip3.mov", "state": "Missing file", "stateCode": 3, "bytesRead": 0,
         "digestKind": "md5", "expected": "%4", "expectedSize": 150000}]})")
                               .arg(md5(damaged + "/clip1.mov"), md5(clean + "/clip2.mov"),
                                    md5(damaged + "/clip2.mov"), md5(clean + "/clip3.mov"));
    QJsonObject expected = QJsonDocument::fromJson(listed.toUtf8()).object();
    expected.insert("source", damaged);
    expected.insert("mhlUsed", QJsonArray{damaged + "/list.mhl"});
    for (const QStringList &jobs : {QStringList{}, QStringList{"--jobs", "3"}}) {
        QJsonObject source =
            QJsonDocument::fromJson(
                run(QStringList{"verify", "--json", damaged} + jobs).out)["sources"][0]
                .toObject();
        const auto time = [&](const char *key) {
            return QDateTime::fromString(source.take(key).toString(), Qt::ISODateWithMs);
        };
        const QDateTime start = time("start");
        EXPECT_TRUE(start.isValid() && start <= time("end"));
        EXPECT_GT(source.take("durationSeconds").toDouble(), 0);
        EXPECT_EQ(source, expected);
    }
}

TEST_F(HWCCommandLineTest, AHashFailShowsBothDigestsAndTheSizeFoundAgainstTheSizeListed)
{
    // Each kind in a list of its own that create writes; then the file changes.
    for (const QString kind : {"md5", "xxhash64", "sha1", "xxhash"}) {
        const QString file = path(kind + "/clip.mov");
        TestSupport::writeFile(file, 50000, 5);
        ASSERT_EQ(run({"create", "--digest", kind, path(kind)}).exitCode, 0) << kind.toStdString();
        const QString listed = toolDigest(kind, file);
        TestSupport::writeFile(file, 50000, 6); // the same size, other bytes
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
    EXPECT_TRUE(created.out.contains("  1 file, 0 could not be hashed, 3.1 MB hashed\n"))
        << "one read: the bytes are counted once";
    const QString mhl = QString::fromUtf8(
        TestSupport::readFile(QDir(path("card")).entryInfoList({"*.mhl"}).value(0).filePath()));
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
    const QJsonObject operation = QJsonDocument::fromJson(json.out)["sources"][0].toObject();
    EXPECT_EQ(operation["unlisted"].toArray(), QJsonArray({"extra.mov", "sub/new.wav"}));
    EXPECT_EQ(operation["exitCode"].toInt(), 1);
    EXPECT_TRUE(TestSupport::readFile(path("log.txt"))
                    .endsWith("\nNot listed in any MHL\n/extra.mov\n/sub/new.wav\n"));

    // A listed path names its file once "." and ".." are resolved.
    writeMHL(folder + "/more.mhl",
             {hashElement("./sub/../extra.mov", 10,
                          {{"md5", toolDigest("md5", folder + "/extra.mov")}})});
    EXPECT_TRUE(
        run({"verify", folder}).out.contains("  Not listed in any MHL (1):\n    /sub/new.wav\n"));
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
    EXPECT_TRUE(nowhere.err.endsWith("nowhere: not a folder to look for the listed files in\n"))
        << nowhere.err.toStdString();
}

TEST_F(HWCCommandLineTest, ASCMHLHistoriesWrittenByTheReferenceImplementation)
{
    const auto reference = [](const QStringList &arguments) {
        QProcess process;
        process.start(HWC_ASCMHL_REFERENCE, arguments);
        return process.waitForFinished(60000) ? process.readAllStandardOutput() : QByteArray();
    };
    if (!reference({"--version"}).contains("version"))
        GTEST_SKIP() << "the ASC MHL reference implementation does not run: " HWC_ASCMHL_REFERENCE;
    // Edits the newest generation and seals it in the chain again, as a writer would.
    const auto edit = [&](const QString &card, const QString &pattern, const QString &after) {
        const QString folder = card + "/ascmhl/";
        const QString name = QDir(folder).entryList({"*.mhl"}, QDir::Files, QDir::Name).last();
        const auto c4 = [&] {
            const QByteArray line = reference({"debug", "hash", "-h", "c4", folder + name});
            return line.mid(line.lastIndexOf(' ') + 1).trimmed();
        };
        const QByteArray before = c4();
        QString text = QString::fromUtf8(TestSupport::readFile(folder + name));
        TestSupport::writeText(folder + name,
                               text.replace(QRegularExpression(pattern), after).toUtf8());
        TestSupport::writeText(
            folder + "ascmhl_chain.xml",
            TestSupport::readFile(folder + "ascmhl_chain.xml").replace(before, c4()));
    };
    const auto add = [](const QString &card, const QStringList &files) {
        for (const QString &file : files)
            TestSupport::writeText(card + "/" + file, file.toUtf8());
    };
    // What the patterns the history records leave out is never reported.
    const QString newFiles =
        "Verify %1: Verified OK\n  3 files, 3 read successfully, 0 with warnings, "
        "41 bytes read\n  Not listed in any MHL (4):\n    /keep.tmp\n    "
        "/new.mov\n    /sub/build/o\n    /sub/dir.txt\n";
    // %g stands for the first generation's name.
    const std::tuple<const char *, std::function<void(const QString &)>, QString, int, QString>
        cases[] = {
            {"file and digest altered, chain gone",
             [&](const QString &card) {
                 TestSupport::writeText(card + "/x.mov", "altered");
                 edit(card, "(x.mov</path>\\s*<xxh64[^>]*>)\\w+",
                      "\\1" + toolDigest("xxhash64be", card + "/x.mov"));
                 QFile::remove(card + "/ascmhl/ascmhl_chain.xml");
             },
             "", 1, "Verify %1: Nothing verified, an MHL could not be used\n"},
            // Only the folder's entry names its old path, as a tool that renames writes it.
            {"folder renamed",
             [&](const QString &card) {
                 QDir(card).rename("Clips/Day1", "Clips/Day01");
                 reference({"create", "-h", "xxh64", "-dr", card});
                 edit(card, "(</xxh64>)\\s*<previousPath>[^<]*</previousPath>", "\\1");
             },
             "", 0, "Verify %1: Verified OK\n  8 files, 8 read successfully"},
            {"folder", {}, "/ascmhl", 0, newFiles},
            {"generation", {}, "/ascmhl/%g", 0, newFiles},
            {"chain", {}, "/ascmhl/ascmhl_chain.xml", 0, newFiles},
            // The writer takes a new file under a renamed one's old name for the old file.
            {"failed only",
             [&](const QString &card) {
                 QDir(card).rename("x.mov", "y.mov");
                 reference({"create", "-h", "xxh64", "-dr", card});
                 TestSupport::writeText(card + "/x.mov", "other");
                 reference({"create", "-h", "xxh64", card});
             },
             "", 1, "  No hash (1):\n    /x.mov\n"},
        };
    for (const auto &[name, change, source, code, out] : cases) {
        SCOPED_TRACE(name);
        const QString card = path(name);
        add(card, {"x.mov", "Clips/Day1/a.mov", "Clips/Day1/Sub/b.mov"});
        reference({"create", "-h", "xxh64", "-i", "*.tmp", "-i", "!keep.tmp", "-i", "/build", "-i",
                   "dir/", "-i", "**/cache", card});
        add(card, {"new.mov", "a.tmp", "keep.tmp", "build/o", "sub/build/o", "Clips/cache/c",
                   "deep/x/cache/c", "dir/d", "sub/dir/d", "sub/dir.txt"});
        if (change)
            change(card);
        const QString generation = QDir(card + "/ascmhl").entryList({"0001_*"}).value(0);
        const Result result = run({"verify", card + QString(source).replace("%g", generation)});
        EXPECT_EQ(result.exitCode, code);
        EXPECT_TRUE(result.out.contains(QString(out).replace("%1", card).toUtf8()))
            << result.out.toStdString();
    }
}

TEST_F(HWCCommandLineTest, WhatCannotBeReadIsNamedOnceAndNeverPassesInSilence)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root to act as nobody";
    ASSERT_EQ(chmod(QFile::encodeName(m_folder.path()).constData(), 0755), 0);
    // Two files of four that nobody may read, a folder nobody may list, and a listed card
    // whose hidden folder holds an MHL of its own.
    for (const char *name : {"a.mov", "b.mov", "c.mov", "d.mov"})
        TestSupport::writeFile(path("four/") + name, 1000);
    TestSupport::writeFile(path("shut/clip.mov"), 1000);
    TestSupport::writeFile(path("shut/private/clip.mov"), 1000);
    const QString card = clips("card");
    TestSupport::writeFile(path("card/private/extra.mov"), 10);
    ASSERT_EQ(run({"create", path("card/private")}).exitCode, 0);
    for (const char *hidden : {"four/b.mov", "four/d.mov", "shut/private", "card/private"})
        ASSERT_EQ(chmod(QFile::encodeName(path(hidden)).constData(), 0), 0);
    for (const QString &folder : {path("four"), path("shut"), card})
        ASSERT_EQ(chmod(QFile::encodeName(folder).constData(), 0777), 0);
    const QString log = QDir::temp().filePath("hashwarden-unreadable.log");
    QFile::remove(log);
    // As nobody, so that permissions bind even when the tests run as root.
    const auto asNobody = [this](const QStringList &arguments) {
        return runOutside(arguments, {},
                          {"setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups"});
    };
    // Whole summaries but their "MHL:" line, and stderr.
    const std::tuple<QStringList, int, QString, QString> cases[] = {
        {{"create", path("four")},
         1,
         "Create " + path("four") +
             ": Finished with warnings\n  4 files, 2 could not be hashed, "
             "2.0 kB hashed\n  Access denied (2):\n    /b.mov\n    /d.mov\n",
         ""},
        {{"create", path("shut")},
         1,
         "Create " + path("shut") +
             ": Finished with warnings\n  2 files, 1 could not be hashed, "
             "1.0 kB hashed\n  Access denied (1):\n    /private\n",
         ""},
        {{"verify", "--log", log, card},
         0,
         "Verify " + card +
             ": Verified OK\n  3 files, 3 read successfully, 0 with warnings, "
             "300.0 kB read\n",
         "hashwarden: " + card +
             "/private: folder could not be read, not searched: "
             "Permission denied\n"}};
    for (const auto &[arguments, exitCode, out, err] : cases) {
        const Result result = asNobody(arguments);
        EXPECT_EQ(result.exitCode, exitCode) << result.err.toStdString();
        EXPECT_EQ(QString::fromUtf8(result.out).remove(QRegularExpression("  MHL: [^\n]*\n")), out);
        EXPECT_EQ(QString::fromUtf8(result.err), err);
    }
    EXPECT_TRUE(QString::fromUtf8(TestSupport::readFile(log))
                    .contains("\nFolders that could not be read\n" + card +
                              "/private: Permission denied\n"));
    const Result strict = asNobody({"verify", "--json", "--strict", card});
    EXPECT_EQ(strict.exitCode, 1);
    JsonSchema().expectDocument(strict.out, 1);
    EXPECT_EQ(
        QJsonDocument::fromJson(strict.out)["sources"][0]["unreadableFolders"],
        (QJsonArray{QJsonObject{{"path", card + "/private"}, {"reason", "Permission denied"}}}));
}

TEST_F(HWCCommandLineTest, NamesAreShownEscapedAndNeverTakenForPlaceHolders)
{
    // Each name beside how the terminal and the log show it; the JSON keeps it exact.
    const std::pair<QString, QString> names[] = {
        {"take%1%2.mov", "take%1%2.mov"},
        {"cut\nVerify X: Verified OK", "cut%0AVerify X: Verified OK"},
        {"rtl\u202Evom.exe", "rtl%E2%80%AEvom.exe"},
    };
    for (const auto &[name, shown] : names)
        TestSupport::writeFile(path("card/") + name, 10);
    ASSERT_EQ(run({"create", path("card")}).exitCode, 0);
    const Result verbose = run({"verify", "-v", path("card"), "--log", path("log%1%2")});
    const QByteArray log = TestSupport::readFile(path("log%1%2"));
    const QByteArray json = run({"verify", "--json", path("card")}).out;
    for (const auto &[name, shown] : names) {
        EXPECT_TRUE(verbose.out.contains((path("card/") + shown + ": OK\n").toUtf8()));
        EXPECT_TRUE(log.contains(("\n/" + shown + " (10 Bytes read, 10 bytes)\n").toUtf8()));
        EXPECT_TRUE(
            json.contains(QJsonDocument(QJsonArray{name}).toJson().split('\n')[1].trimmed()));
    }
    EXPECT_EQ(verbose.out.count('\n'), 5) << verbose.out.toStdString();
}

TEST_F(HWCCommandLineTest, AnAppendedLogKeepsEveryReportAndWhatItHeld)
{
    const QString card = listedFolder(path("card"), {"clip.mov"});
    const QStringList append = {"verify", card, "--log", path("log.txt"), "--append"};
    for (int pair = 0; pair < 20; ++pair) {
        QProcess runs[2];
        for (QProcess &process : runs)
            process.start(HWC_HASHWARDEN_EXECUTABLE, append);
        for (QProcess &process : runs)
            EXPECT_TRUE(process.waitForFinished(60000) && process.exitCode() == 0);
    }
    EXPECT_EQ(TestSupport::readFile(path("log.txt")).count("Hashwarden Log - "), 40);

    // A symbolic link stays and its target takes the report.
    ASSERT_TRUE(QFile::link(path("log.txt"), path("link")));
    EXPECT_EQ(run({"verify", card, "--log", path("link"), "--append"}).exitCode, 0);
    EXPECT_TRUE(QFileInfo(path("link")).isSymLink());
    const QByteArray held = TestSupport::readFile(path("log.txt"));
    EXPECT_EQ(held.count("Hashwarden Log - "), 41);

    // Run as nobody, the log cannot be read: it is refused before any file is read.
    ASSERT_EQ(chmod(QFile::encodeName(path("log.txt")), 0200), 0);
    ASSERT_EQ(chmod(QFile::encodeName(m_folder.path()), 0777), 0);
    const Result refused =
        runOutside(append, {}, {"setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups"});
    EXPECT_EQ(refused.exitCode, 73);
    EXPECT_EQ(refused.err, "hashwarden: cannot write the log " + path("log.txt").toUtf8() +
                               ": cannot read what it holds: Permission denied\n");
    EXPECT_EQ(TestSupport::readFile(path("log.txt")), held);
}

TEST_F(HWCCommandLineTest, TheProcessEndsCleanlyOnEveryWayOut)
{
    // Hashes that name no file: their lines are still being logged as each run ends.
    TestSupport::writeText(path("asc/ascmhl/0001_x.mhl"),
                           R"(<hashlist version="2.0" xmlns="urn:ASC:MHL:v2.0"><hashes>)" +
                               QByteArray("<hash/>").repeated(500) + "</hashes></hashlist>");
    const QStringList verify = {"verify", path("asc"), "--log", path("log.txt")};
    for (int count = 0; count < 300; ++count)
        ASSERT_EQ(runOutside(verify).exitCode, 1) << count;

    // A reader that went away before anything was printed.
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    const Result closed = runOutside({"verify", "-v", path("asc"), "--log", path("closed.txt")}, {},
                                     {}, [&ends] { dup2(ends[1], STDOUT_FILENO); });
    close(ends[1]);
    EXPECT_EQ(closed.exitCode, 1);
    EXPECT_TRUE(TestSupport::readFile(path("closed.txt")).contains("Result:    Nothing verified"));

    const Result bogus = runOutside({"bogus", "--json"});
    JsonSchema().expectDocument(bogus.out, 64);
    EXPECT_EQ(QJsonDocument::fromJson(bogus.out)["error"], "unknown command \"bogus\"");
}

// Reads stay beneath the source (or --root), whether the kernel confines the lookup (openat2)
// or the program walks it name by name (openat2 refused the way seccomp refuses it).
TEST_F(HWCCommandLineTest, LinksLeavingTheSourceAreRefusedAndLinksInsideAreFollowed)
{
    TestSupport::writeText(path("outside/secret.bin"), "hello");
    const QString card = path("card");
    TestSupport::writeText(card + "/real.bin", "hello");
    const std::tuple<QString, QString, QString> entries[] = {
        {"up.bin", "../outside/secret.bin", "up.bin"},
        {"abs.bin", path("outside/secret.bin"), "abs.bin"},
        {"mid", path("outside"), "mid/secret.bin"},
        {"rel.bin", "real.bin", "rel.bin"},
        {"inside.bin", card + "/real.bin", "inside.bin"},
        {"sub", card, "sub/sub/real.bin"}};
    QStringList hashes;
    for (const auto &[link, target, entry] : entries) {
        ASSERT_EQ(symlink(QFile::encodeName(target), QFile::encodeName(card + "/" + link)), 0);
        hashes << hashElement(entry, 5, {{"md5", kHelloMD5}});
    }
    writeMHL(path("reports/card.mhl"), hashes);
    QFile::copy(path("reports/card.mhl"), card + "/list.mhl");
    for (const QStringList &source :
         {QStringList{card}, {"--root", card, path("reports/card.mhl")}})
        for (const bool kernel : {true, false}) {
            SCOPED_TRACE(source.join(' ').toStdString() + (kernel ? "" : " by names"));
            Result result;
            if (kernel)
                result = run(QStringList{"verify", "-v"} + source);
            else // The executable started from this thread inherits its filter.
                std::thread([&] {
                    ASSERT_TRUE(TestSupport::refuseOnThisThread(SYS_openat2, ENOSYS));
                    result = runOutside(QStringList{"verify", "-v"} + source);
                }).join();
            EXPECT_EQ(result.exitCode, 1);
            for (const auto &[link, target, entry] : entries) {
                const bool inside = target.startsWith(card) || !target.contains('/');
                const QByteArray name = entry.toUtf8();
                EXPECT_TRUE(result.out.contains("/" + name + (inside ? ": OK\n" : ": Can't open")));
                EXPECT_EQ(result.out.contains("/" + name + "\n      leaves the source\n"), !inside)
                    << name.data() << result.out.data();
            }
        }
    const Result json = run({"verify", "--json", "--log", path("log.txt"), card});
    JsonSchema().expectDocument(json.out, 1);
    EXPECT_EQ(QJsonDocument::fromJson(json.out)["sources"][0]["records"][0]["reason"].toString(),
              "leaves the source");
    EXPECT_TRUE(TestSupport::readFile(path("log.txt"))
                    .contains("\n/up.bin (0 Bytes read, 0 bytes)\n  leaves the source\n"));
    // A creation does not follow links at all.
    ASSERT_EQ(symlink(QFile::encodeName(card), QFile::encodeName(path("outside/card"))), 0);
    EXPECT_TRUE(run({"create", path("outside")}).out.contains("  1 file, 0 could not be hashed"));
}

// A listed size that differs from what is read fails even with the right digest; a size that
// is no number of bytes makes the entry unusable; pseudo files are never read.
TEST_F(HWCCommandLineTest, SizesAreCheckedAndPseudoFilesAreNotRead)
{
    const QString card = path("card"), md5 = kHelloMD5;
    QStringList hashes;
    for (const QString size : {"6", "-1", "12a"}) {
        TestSupport::writeText(card + "/" + size + ".bin", "hello");
        hashes << QStringLiteral("<hash><file>%1.bin</file><size>%1</size><md5>%2</md5></hash>")
                      .arg(size, md5);
    }
    writeMHL(card + "/list.mhl", hashes);
    writeMHL(path("proc.mhl"), {hashElement("ostype", 5, {{"md5", md5}})});
    const std::pair<QStringList, QString> cases[] = {
        {{card},
         "  Hash fail (1):\n    /6.bin\n      md5 expected " + md5 + "\n          actual   " + md5 +
             "\n      size 5 bytes, 6 listed (truncated)\n"},
        {{card},
         "  Can't open file (2):\n    /-1.bin\n      its size \"-1\" is not a number of "
         "bytes\n    /12a.bin\n      its size \"12a\" is not a number of bytes\n"},
        {{"--root", "/proc/sys/kernel", path("proc.mhl")},
         "  Can't open file (1):\n    /ostype\n      not a file on a storage medium\n"}};
    for (const auto &[source, out] : cases) {
        const Result result = run(QStringList{"verify"} + source);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(result.out.contains(out.toUtf8())) << result.out.toStdString();
    }
}

// Only opening the window loads a GUI library; a command never does.
TEST_F(HWCCommandLineTest, CommandsLoadNoGUILibrary)
{
    for (const QStringList &arguments : {QStringList{"--version"}, {"verify", clips("card")}}) {
        const Result result = runOutside(arguments, {"LD_DEBUG=libs"});
        EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
        // The loader names every library it opens on stderr.
        EXPECT_TRUE(result.err.contains("/libQt6Core.so"));
        for (const char *library :
             {"libQt6Gui", "libQt6Widgets", "libQt6DBus", "hashwarden-window"})
            EXPECT_FALSE(result.err.contains(library)) << library;
    }
}
