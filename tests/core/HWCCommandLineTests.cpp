#include "CLI/HWCCommandLine.h"
#include "Classes/HWCLog.h"
#include "support/VerificationFixtures.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QRegularExpression>
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

// What docs/json.md documents: per object its fields' types and whether they are always there,
// per code table its names. Read from the document so that it cannot drift from the output.
struct JsonSchema {
    struct Field {
        QString type;
        bool always = false;
    };
    QHash<QString, QHash<QString, Field>> objects;
    QHash<QString, QHash<qint64, QString>> codes;

    JsonSchema()
    {
        const QRegularExpression field(R"(^\| `(\w+)` \| ([\w ]+) \| (always|when known) \|)");
        const QRegularExpression code(R"(^\| (\d+) \| ([^|]+) \|)");
        QString table;
        for (const QString &line :
             QString::fromUtf8(contents(HWC_SOURCE_DIR "/docs/json.md")).split('\n')) {
            if (line.startsWith("### "))
                table = line.mid(4);
            else if (const auto match = field.match(line); match.hasMatch())
                objects[table][match.captured(1)] = {match.captured(2),
                                                     match.captured(3) == "always"};
            else if (const auto match = code.match(line); match.hasMatch())
                codes[table][match.captured(1).toLongLong()] = match.captured(2).trimmed();
        }
    }

    void expectObject(const QString &name, const QJsonObject &object, const QString &where) const
    {
        const QHash<QString, Field> fields = objects.value(name);
        ASSERT_FALSE(fields.isEmpty()) << "no table for " << name.toStdString();
        for (auto it = fields.begin(); it != fields.end(); ++it)
            EXPECT_TRUE(!it->always || object.contains(it.key()))
                << (where + it.key()).toStdString();
        for (auto it = object.begin(); it != object.end(); ++it) {
            if (!fields.contains(it.key()))
                ADD_FAILURE() << "undocumented " << (where + it.key()).toStdString();
            else
                expectValue(fields[it.key()].type, *it, where + it.key());
        }
        if (name == "Record" || name == "Source") {
            const QString table = name == "Record" ? "File state codes" : "Operation state codes";
            const QString documented = codes[table].value(object["stateCode"].toInteger(-1));
            EXPECT_FALSE(documented.isEmpty()) << (where + "stateCode").toStdString();
            EXPECT_TRUE(name == "Source" || documented == object["state"].toString());
        }
    }

    void expectValue(const QString &type, const QJsonValue &value, const QString &where) const
    {
        if (type.startsWith("array of ")) {
            EXPECT_TRUE(value.isArray()) << where.toStdString();
            for (const QJsonValue &element : value.toArray())
                expectValue(type.mid(9), element, where + "[]");
        } else if (type == "string" || type == "number" || type == "boolean") {
            const bool fits = type == "string"   ? value.isString()
                              : type == "number" ? value.isDouble()
                                                 : value.isBool();
            EXPECT_TRUE(fits) << where.toStdString() << " is not a " << type.toStdString();
        } else {
            EXPECT_TRUE(value.isObject()) << where.toStdString();
            expectObject(type, value.toObject(), where + ".");
        }
    }

    // The whole output of one run: a single documented JSON document with the exit code.
    void expectDocument(const QByteArray &out, int exitCode,
                        const QString &object = "Document") const
    {
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(out, &error);
        ASSERT_EQ(error.error, QJsonParseError::NoError) << out.toStdString();
        expectObject(object, document.object(), "");
        if (object == "Document") {
            EXPECT_EQ(document["exitCode"].toInt(), exitCode);
        }
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

TEST_F(HWCCommandLineTest, UsageErrorsHelpVersionAndCompletion)
{
    const Result help = run({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.out.startsWith("Usage: hashwarden [options] verify|create|info PATH...\n"));
    for (const char *text : {"verify SOURCE...", "create SOURCE...", "info MHL", "Exit codes:",
                             "  64  Usage error", "  66  A source", "-q, --quiet", "-v, --verbose"})
        EXPECT_TRUE(help.out.contains(text)) << text;
    // Completion offers every option the help names.
    const QString completion =
        QString::fromUtf8(contents(HWC_SOURCE_DIR "/data/hashwarden.bash-completion"));
    const QRegularExpression option(R"((?:^|[ ,])(--?[\w-]+))");
    for (const auto &match :
         option.globalMatch(QString::fromUtf8(help.out.left(help.out.indexOf("Arguments:"))))) {
        const QString name = match.captured(1);
        EXPECT_TRUE(QRegularExpression("[ '\\n]" + name + "[ '\\n]").match(completion).hasMatch())
            << name.toStdString();
    }
    const QByteArray offered = TestSupport::runTool(
        "bash",
        {"-c", "source " HWC_SOURCE_DIR "/data/hashwarden.bash-completion; "
               "COMP_WORDS=(hashwarden ve); COMP_CWORD=1; _hashwarden; echo ${COMPREPLY[@]}; "
               "COMP_WORDS=(hashwarden verify --ap); COMP_CWORD=2; _hashwarden; "
               "echo ${COMPREPLY[@]}"});
    EXPECT_EQ(offered, "verify\n--append\n");

    for (const char *version : {"-V", "--version"})
        EXPECT_EQ(run({version}).out, "hashwarden " HWC_VERSION "\n");

    const std::pair<QStringList, const char *> errors[] = {
        {{"--bogus"}, "Unknown option 'bogus'."},
        {{"-v"}, "a command is needed"},
        {{"verify"}, "verify needs at least one SOURCE"},
        {{"info", "a.mhl", "b.mhl"}, "info needs exactly one MHL file"},
        {{"frobnicate"}, "unknown command \"frobnicate\""},
        {{"verify", "--log"}, "Missing value after '--log'."},
        {{"verify", "-q", "-v", "."}, "--quiet and --verbose exclude each other"},
        {{"verify", "--append", "."}, "--append needs --log FILE"},
    };
    for (const auto &[arguments, message] : errors) {
        const Result result = run(arguments);
        EXPECT_EQ(result.exitCode, 64) << message;
        EXPECT_EQ(result.err,
                  "hashwarden: " + QByteArray(message) + "\nTry 'hashwarden --help'.\n");
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

TEST_F(HWCCommandLineTest, QuietPrintsOnlyProblemsAndVerboseEveryFile)
{
    const QByteArray clean = clips("clean").toUtf8();
    const QByteArray damaged = clips("damaged", true).toUtf8();
    const QByteArray one = listedFolder(path("one"), {"only.mov"}).toUtf8();
    const std::tuple<QStringList, QByteArray> cases[] = {
        {{"-q", clean}, ""},
        {{"--quiet", damaged, clean},
         "Verify " + damaged + ": Finished with warnings\n" + damaged + "/clip2.mov: Hash fail\n" +
             damaged + "/clip3.mov: Missing file\n"},
        {{"-v", damaged},
         damaged + "/clip1.mov: OK\n" + damaged + "/clip2.mov: Hash fail\n" + damaged +
             "/clip3.mov: Missing file\nVerify " + damaged + ": Finished with warnings\n"},
        {{"--verbose", one},
         one + "/only.mov: OK\nVerify " + one +
             ": Verified OK\n  1 file, 1 read successfully, 0 with warnings, 50.0 kB read\n"},
    };
    for (const auto &[arguments, out] : cases) {
        const Result result = run(QStringList{"verify"} + arguments);
        EXPECT_TRUE(result.out.startsWith(out)) << result.out.toStdString();
        EXPECT_EQ(result.out == out, arguments.first() != "-v") << result.out.toStdString();
        // The program's own log lines stay off the terminal without --debug.
        EXPECT_FALSE(result.err.contains("[Line ")) << result.err.toStdString();
    }
}

TEST_F(HWCCommandLineTest, JsonFollowsItsDocumentForEveryExitCode)
{
    const JsonSchema schema;
    const QString clean = clips("clean");
    const QString damaged = clips("damaged", true);
    QDir().mkpath(path("nolist"));
    TestSupport::writeFile(path("plain.mov"), 10);
    const std::pair<QStringList, int> cases[] = {
        {{"verify", clean}, 0},
        {{"verify", damaged}, 1},
        {{"verify", path("nolist")}, 2},
        {{"create", path("nolist")}, 2},
        {{"--bogus"}, 64},
        {{"verify"}, 64},
        {{"verify", path("nowhere")}, 66},
        {{"info", path("plain.mov")}, 66},
        {{"verify", clean, "--log", path("no/folder/log.txt")}, 73},
    };
    for (const auto &[arguments, code] : cases) {
        SCOPED_TRACE(arguments.join(' ').toStdString());
        const Result result = run(QStringList{"--json"} + arguments);
        EXPECT_EQ(result.exitCode, code);
        schema.expectDocument(result.out, code);
    }
    schema.expectDocument(run({"info", "--json", clean + "/list.mhl"}).out, 0, "Info");

    const QJsonObject expected = QJsonDocument::fromJson(R"({"action": "Verify",
        "state": "Finished with warnings", "stateCode": 3, "finished": true, "exitCode": 1,
        "files": 3, "filesTotal": 3, "bytes": 150000, "bytesTotal": 300000, "warnings": 2,
        "tools": ["Test Writer 1.0"], "mhlSkipped": [], "records": [
        {"path": "clip1.mov", "state": "File read successfully", "stateCode": 1,
         "bytesRead": 50000, "size": 50000},
        {"path": "clip2.mov", "state": "Hash fail", "stateCode": 2, "bytesRead": 100000,
         "size": 100000},
        {"path": "clip3.mov", "state": "Missing file", "stateCode": 3, "bytesRead": 0}]})")
                                     .object();
    QJsonObject source =
        QJsonDocument::fromJson(run({"verify", "--json", damaged}).out)["sources"][0].toObject();
    EXPECT_EQ(source.take("source").toString(), damaged);
    EXPECT_EQ(source.take("mhlUsed").toArray(), QJsonArray{damaged + "/list.mhl"});
    const QDateTime start =
        QDateTime::fromString(source.take("start").toString(), Qt::ISODateWithMs);
    const QDateTime end = QDateTime::fromString(source.take("end").toString(), Qt::ISODateWithMs);
    EXPECT_TRUE(start.isValid() && start <= end);
    EXPECT_GT(source.take("durationSeconds").toDouble(), 0);
    EXPECT_EQ(source, expected);
}

TEST_F(HWCCommandLineTest, TheLogIsAReportCheckedBeforeReadingAndCanBeAppendedTo)
{
    const QString damaged = clips("damaged", true);
    QDir().mkpath(path("nolist"));
    const Result written = run({"verify", damaged, path("nolist"), "--log", path("log.txt")});
    EXPECT_EQ(written.exitCode, 1);
    const QByteArray log = contents(path("log.txt"));
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
    EXPECT_EQ(run({"create", card, "--log", path("log.txt"), "--append"}).exitCode, 0);
    const QByteArray appended = contents(path("log.txt"));
    EXPECT_TRUE(appended.startsWith(log));
    EXPECT_EQ(appended.count("Hashwarden Log - "), 2);
    EXPECT_TRUE(appended.contains("\nHashed\n/A001.mov 300 KB hashed (300000 bytes) xxhash64 " +
                                  toolDigest("xxhash64", card + "/A001.mov").toUtf8() + "\n"))
        << appended.toStdString();

    // A log that cannot be written stops the command before any file is read; one that
    // fails only at the end leaves the old one and still prints the results.
    TestSupport::writeText(path("old/log.txt"), "old log");
    const std::tuple<QString, int, int, const char *> cases[] = {
        {path("missing/dir/log.txt"), 0, 73, "No such file or directory"},
        {path("old"), 0, 73, "Is a directory"},
        {path("old/log.txt"), 20, 1, "File too large"},
    };
    for (const auto &[log, limit, code, reason] : cases) {
        std::optional<TestSupport::FileSizeLimit> cut;
        if (limit)
            cut.emplace(limit);
        const Result result = runOutside({"verify", damaged, "--log", log});
        cut.reset();
        EXPECT_EQ(result.exitCode, code);
        EXPECT_TRUE(result.err.contains("cannot write the log " + log.toUtf8() + ": " + reason))
            << result.err.toStdString();
        EXPECT_EQ(result.out.contains(": Finished with warnings\n"), code == 1);
    }
    EXPECT_EQ(TestSupport::filesIn(path("old")), QStringList{"log.txt"});
    EXPECT_EQ(contents(path("old/log.txt")), "old log");
}

TEST_F(HWCCommandLineTest, ProgressIsDrawnOnATerminalAndCtrlCEndsWithExitThreeAndTheSummary)
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
        process.write("\x03");
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
        const QByteArray out = contents(path("out"));
        EXPECT_FALSE(out.contains('\033') || out.contains('\r'));
        if (option == "--json") {
            JsonSchema().expectDocument(out, 3);
            continue;
        }
        EXPECT_TRUE(out.contains("Verify " + endless.toUtf8() + ": Cancelled"));
        // The clean folder may or may not have been done by then; it is reported either way.
        EXPECT_TRUE(out.contains("Verify " + clean.toUtf8() + ": "));
        EXPECT_TRUE(contents(path("log.txt")).contains("Result:    Cancelled"));
    }
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
        JsonSchema().expectDocument(result.out, 73);
        const QJsonObject source = QJsonDocument::fromJson(result.out)["sources"][0].toObject();
        EXPECT_FALSE(source.contains("mhlWritten"));
        EXPECT_TRUE(source["mhlError"].toString().endsWith(reason));
        EXPECT_EQ(source["exitCode"].toInt(), 73);
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
    // The same records in the same order; only the times differ.
    const auto result = [&](const QStringList &options) {
        QJsonObject source =
            QJsonDocument::fromJson(
                run(QStringList{"verify", "--json", damaged} + options).out)["sources"][0]
                .toObject();
        for (const char *time : {"start", "end", "durationSeconds"})
            source.remove(time);
        return source;
    };
    const QJsonObject serial = result({});
    EXPECT_EQ(serial["records"].toArray().size(), 3);
    EXPECT_EQ(result({"--jobs", "3"}), serial);
}
