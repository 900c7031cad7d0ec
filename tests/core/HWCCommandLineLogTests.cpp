#include "support/CommandLineFixture.h"

#include <QDir>
#include <sys/stat.h>

using namespace CommandLineFixtures;

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
