#include "support/CommandLineFixture.h"

#include <QDir>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>

using namespace CommandLineFixtures;

TEST_F(HWCCommandLineTest, UsageErrorsHelpVersionAndCompletion)
{
    const Result help = run({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.out.startsWith(
        "Usage: hashwarden [options] verify|create|info|flatten|diff|history P"));
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

// Only opening the window or writing a PDF loads a GUI library; a command never does.
TEST_F(HWCCommandLineTest, CommandsLoadNoGUILibrary)
{
    for (const QStringList &arguments :
         {QStringList{"history"}, {"verify", clips("card"), "--report", path("r.html")}}) {
        const Result result = runOutside(arguments, {"LD_DEBUG=libs"});
        EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
        // The loader names every library it opens on stderr.
        EXPECT_TRUE(result.err.contains("/libQt6Core.so"));
        for (const char *library :
             {"libQt6Gui", "libQt6Widgets", "libQt6DBus", "hashwarden-window", "hashwarden-report"})
            EXPECT_FALSE(result.err.contains(library)) << library;
    }
}
