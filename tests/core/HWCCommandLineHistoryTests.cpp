#include "engine/history/HWCHistoryDatabase.h"
#include "engine/history/HWCHistoryRecorder.h"
#include "engine/mhl/HWCChecksumEntry.h"
#include "engine/reports/HWCReportVerdict.h"
#include "support/CommandLineFixture.h"

#include <QDir>
#include <QSysInfo>
#include <sys/file.h>

using namespace CommandLineFixtures;

namespace {

class HWCHistoryTest : public HWCCommandLineTest {
protected:
    void SetUp() override
    {
        HWCCommandLineTest::SetUp();
        m_previousData = qgetenv("XDG_DATA_HOME");
        qputenv("XDG_DATA_HOME", QFile::encodeName(path("data")));
    }
    void TearDown() override
    {
        qputenv("XDG_DATA_HOME", m_previousData);
        HWCCommandLineTest::TearDown();
    }

    QString historyPath() const { return path("data/hashwarden/history.sqlite"); }

    // The text of a PDF, ligatures taken apart, as pdftotext reads it.
    static QString pdfText(const QString &pdf)
    {
        return QString::fromUtf8(TestSupport::runTool("pdftotext", {pdf, "-"}))
            .normalized(QString::NormalizationForm_KC);
    }

    QByteArray m_previousData;
};

QString withoutSpaces(QString text)
{
    return text.remove(QRegularExpression("\\s"));
}

} // namespace

TEST_F(HWCHistoryTest, RunsOfBothActionsAreKeptAndShownAsTheyWerePrinted)
{
    const QString clean = clips("clean"), damaged = clips("damaged", true);
    TestSupport::writeFile(path("new/a.mov"), 1000);
    const Result verified = run({"verify", clean});
    const Result failed = run({"verify", damaged});
    ASSERT_EQ(run({"create", path("new")}).exitCode, 0);
    ASSERT_EQ(failed.exitCode, 1);

    const QStringList lines =
        QString::fromUtf8(run({"history"}).out).split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 3);
    const QString date = "\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d";
    for (const auto &[line, expected] :
         {std::pair{lines[0],
                    QString("3  %1  Created OK  %2  1 file  1.0 kB").arg(date, path("new"))},
          {lines[1],
           QString("2  %1  Finished with warnings  %2  3 files  150.0 kB").arg(date, damaged)},
          {lines[2], QString("1  %1  Verified OK  %2  3 files  300.0 kB").arg(date, clean)}})
        EXPECT_TRUE(QRegularExpression("^" + expected + "$").match(line).hasMatch())
            << line.toStdString();
    EXPECT_EQ(run({"history", damaged + "/"}).out.count('\n'), 1);
    EXPECT_EQ(run({"history", "--since", "2999-01-01"}).out, "");
    const QJsonObject listed = QJsonDocument::fromJson(run({"history", "--json"}).out).object();
    EXPECT_EQ(listed["runs"][1]["id"].toInt(), 2);
    EXPECT_EQ(listed["runs"][1]["stateCounts"]["2"].toInt(), 1);

    // The summary as it was printed, then where, by whom and against what.
    const QByteArray shown = run({"history", "show", "2"}).out;
    EXPECT_TRUE(shown.startsWith(failed.out)) << shown.toStdString();
    const QString list = damaged + "/list.mhl";
    const QString sha1 = TestSupport::runTool("sha1sum", {list}).left(40);
    EXPECT_TRUE(
        shown.contains(QString("  Checked against %1 (SHA-1 %2)\n").arg(list, sha1).toUtf8()));
    EXPECT_EQ(run({"history", "show", "9"}).exitCode, 66);

    HWCHistoryDatabase database(historyPath());
    const HWCHistoryEntry entry = database.entry(2).value();
    EXPECT_EQ(entry.records.size(), 3);
    EXPECT_EQ(entry.records[1].detail.actual, toolDigest("md5", damaged + "/clip2.mov"));
    EXPECT_EQ(entry.records[2].state, HWCFileState::MissingFile);
    EXPECT_EQ(entry.host, QSysInfo::machineHostName());
    EXPECT_EQ(entry.toolVersion, HWC_VERSION);
    const HWCHistoryEntry created = database.entry(3).value();
    EXPECT_EQ(created.writtenList.sha1,
              TestSupport::runTool("sha1sum", {created.writtenList.path}).left(40));
}

TEST_F(HWCHistoryTest, TenProcessesRecordingAtOnceKeepEveryRun)
{
    const QString card = clips("card");
    std::vector<std::unique_ptr<QProcess>> processes;
    for (int i = 0; i < 10; ++i) {
        processes.push_back(std::make_unique<QProcess>());
        processes.back()->start(HWC_HASHWARDEN_EXECUTABLE, {"verify", card});
    }
    for (const auto &process : processes) {
        ASSERT_TRUE(process->waitForFinished(120000));
        EXPECT_EQ(process->exitCode(), 0) << process->readAllStandardError().toStdString();
        EXPECT_EQ(process->readAllStandardError(), "");
    }
    EXPECT_EQ(HWCHistoryDatabase(historyPath()).entries().size(), 10);
}

TEST_F(HWCHistoryTest, AHistoryThatCannotBeWrittenNeverStopsAVerification)
{
    const QString card = clips("card");
    const QByteArray printed = run({"verify", card}).out;
    const QString folder = path("data/hashwarden");
    struct Case {
        const char *name;
        std::function<void()> damage;
        QString warning; // empty: recorded in a new database
    };
    const QList<Case> cases = {
        {"corrupt", [&] { TestSupport::writeFile(historyPath(), 8192, 3); }, {}},
        {"a folder in its place", [&] { QDir().mkpath(historyPath()); },
         "unable to open database file"},
        {"read-only",
         [&] {
             HWCHistoryDatabase made(historyPath());
             TestSupport::runTool("chattr", {"+i", historyPath()});
         },
         "attempt to write a readonly database"},
    };
    for (const Case &test : cases) {
        SCOPED_TRACE(test.name);
        QDir(folder).removeRecursively();
        QDir().mkpath(folder);
        test.damage();
        const Result result = run({"verify", card});
        TestSupport::runTool("chattr", {"-i", historyPath()});
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.out, printed);
        if (test.warning.isEmpty()) {
            EXPECT_EQ(result.err, "");
            EXPECT_EQ(HWCHistoryDatabase(historyPath()).entries().size(), 1);
            EXPECT_EQ(QDir(folder).entryList({"history.sqlite.corrupt-*"}).size(), 1);
        } else {
            EXPECT_EQ(result.err, QString("hashwarden: the result could not be recorded in the "
                                          "history: %1: %2\n")
                                      .arg(historyPath(), test.warning)
                                      .toUtf8());
        }
    }
}

// A process that finds the database corrupt while another (the test) sets it aside waits for
// the lock, shown in /proc/locks, then finds the new database and keeps it.
TEST_F(HWCHistoryTest, ACorruptDatabaseIsSetAsideByOneProcessOnly)
{
    const QString card = clips("card");
    TestSupport::writeFile(historyPath(), 8192, 3);
    QFile lock(historyPath() + ".lock");
    ASSERT_TRUE(lock.open(QIODevice::ReadWrite) && flock(lock.handle(), LOCK_EX) == 0);
    QProcess process;
    process.start(HWC_HASHWARDEN_EXECUTABLE, {"verify", card});
    ASSERT_TRUE(process.waitForStarted());
    const QByteArray waiting =
        QByteArray(" -> FLOCK  ADVISORY  WRITE ") + QByteArray::number(process.processId()) + ' ';
    EXPECT_TRUE(TestSupport::waitUntil(
        [&] { return TestSupport::readFile("/proc/locks").contains(waiting); },
        std::chrono::minutes(2)));
    ASSERT_TRUE(QFile::rename(historyPath(), historyPath() + ".corrupt-first"));
    ASSERT_TRUE(HWCHistoryDatabase(historyPath()).isOpen());
    flock(lock.handle(), LOCK_UN);
    ASSERT_TRUE(process.waitForFinished(120000));
    EXPECT_EQ(process.readAllStandardError(), "");
    EXPECT_EQ(HWCHistoryDatabase(historyPath()).entries().size(), 1);
    EXPECT_EQ(QDir(path("data/hashwarden")).entryList({"history.sqlite.corrupt-*"}),
              QStringList{"history.sqlite.corrupt-first"});
}

TEST_F(HWCHistoryTest, EntriesOlderThanTheRetentionGo)
{
    HWCHistoryDatabase database(historyPath());
    for (const int daysAgo : {HWCHistoryRecorder::kDefaultRetentionDays + 1, 10}) {
        HWCHistoryEntry entry;
        entry.source = QString("/card%1").arg(daysAgo);
        entry.ended = QDateTime::currentDateTime().addDays(-daysAgo);
        ASSERT_GT(database.add(entry), 0) << database.error().toStdString();
    }
    HWCHistoryEntry now;
    now.ended = QDateTime::currentDateTime();
    ASSERT_EQ(HWCHistoryRecorder::record(now, historyPath()), "");
    QStringList kept;
    for (const HWCHistoryEntry &entry : database.entries())
        kept << entry.source;
    EXPECT_EQ(kept, QStringList({"", "/card10"}));
}

// Rows hold the records' texts in UTF-8 as sqlite3 reads them, whatever the list's bytes.
TEST_F(HWCHistoryTest, RowsHoldTheRecordsWhateverTheBytesOfTheirList)
{
    const QByteArray names[] = {"a.mov", "\xEF\xBB\xBFx", "c\xFF", "d//e", "f/", "/g", "", {}};
    const auto entries = std::make_shared<std::vector<HWCChecksumEntry>>(std::size(names));
    for (size_t i = 0; i < std::size(names); ++i) {
        if (!names[i].isNull())
            (*entries)[i].set(HWCChecksumEntry::Field::File, names[i]);
        (*entries)[i].set(HWCChecksumEntry::Field::Size, i % 2 ? "12" : "x");
        (*entries)[i].setDigest("md5", i % 2 ? "\xFF" : "d41d8cd98f00b204e9800998ecf8427e");
    }
    QList<HWCVerifiedFile> files;
    for (quint32 i = 0; i < 240; ++i)
        files.append(
            HWCVerifiedFile(std::make_shared<const HWCVerifiedFile::Origin>(
                                HWCVerifiedFile::Origin{"/card", i < 120 ? "/" : "/D", entries}),
                            i % std::size(names), HWCFileState(1 + i % 9), i, 1,
                            {i % 3 ? "md5" : nullptr, i % 4 ? "0a" : "0A", i % 5 ? "" : "gone"}));
    HWCHistoryEntry entry;
    entry.ended = QDateTime::currentDateTime();
    entry.records = HWCHistoryRecords(files, false);
    ASSERT_GT(HWCHistoryDatabase(historyPath()).add(entry), 0);
    QByteArray expected;
    for (const HWCHistoryFile &file : entry.records) {
        QByteArrayList row{QByteArray::number(hwc_code(file.state)), QByteArray::number(file.bytes),
                           QByteArray::number(file.detail.expectedSize.value_or(0))};
        for (const QString &text : {file.path, file.detail.digestKind, file.detail.expected,
                                    file.detail.actual, file.detail.reason})
            row << (text.isNull() ? "NULL" : "'" + text.toUtf8() + "'");
        expected += row.join(',') + '\n';
    }
    const QString select = "SELECT state, bytes, ifnull(expected_size, 0), path, digest_kind, "
                           "expected, actual, reason FROM files ORDER BY rowid";
    EXPECT_EQ(TestSupport::runTool("sqlite3", {"-quote", historyPath(), select}).toStdString(),
              expected.toStdString());
}

TEST_F(HWCHistoryTest, ReportsOfACleanCardADamagedCardAndADay)
{
    const QString clean = clips("clean"), damaged = clips("damaged", true);
    const QString expected = toolDigest("md5", clean + "/clip2.mov");
    const QString computed = toolDigest("md5", damaged + "/clip2.mov");
    const QString cleanVerdict =
        "The card verified: 3 files, 300.00 kB, every file matched its MHL.";
    const QString damagedVerdict =
        "damaged did not verify: 2 of 3 files failed; they are listed below.";
    const QString dayVerdict =
        "1 of 2 cards verified: 3 files, 300.00 kB, every file matched its MHL.";
    struct Case {
        QStringList arguments;
        QString report;
        QStringList texts; // spaces aside
        QStringList absent;
        QString paper; // as pdfinfo names it; empty for HTML
        QStringList environment = {};
    };
    const QList<Case> cases = {
        {{"verify", clean},
         "clean.html",
         {cleanVerdict, "Card 1 of 1: clean", "Files by state"},
         {"Files that failed"},
         ""},
        {{"verify", clean},
         "clean.pdf",
         {cleanVerdict, "Page 1 of 1"},
         {"Files that failed"},
         "(A4)"},
        {{"verify", damaged},
         "damaged.pdf",
         {damagedVerdict, "/clip2.mov", expected, computed, "/clip3.mov", "Page 1 of 1"},
         {},
         "(letter)",
         {"LC_ALL=en_US.UTF-8"}},
        {{"history", "report", "1", "3"},
         "day.html",
         {dayVerdict, damagedVerdict, "Card 1 of 2: clean", "Card 2 of 2: damaged", expected,
          computed},
         {},
         ""},
        {{"history", "report", "1", "3"},
         "day.pdf",
         {dayVerdict, damagedVerdict, "Page 1 of 2", "Card 2 of 2: damaged", computed,
          "Page 2 of 2"},
         {},
         "(A4)"},
    };
    for (const Case &test : cases) {
        SCOPED_TRACE(test.report.toStdString());
        const Result result = runOutside(
            test.arguments + QStringList{"--report", path(test.report)}, test.environment);
        EXPECT_EQ(result.exitCode, test.arguments[1] == damaged ? 1 : 0)
            << result.err.toStdString();
        const bool pdf = test.report.endsWith(".pdf");
        QString text = pdf ? pdfText(path(test.report))
                           : QString::fromUtf8(TestSupport::readFile(path(test.report)));
        text = withoutSpaces(text);
        for (const QString &expectedText : test.texts)
            EXPECT_TRUE(text.contains(withoutSpaces(expectedText))) << expectedText.toStdString();
        for (const QString &absent : test.absent)
            EXPECT_FALSE(text.contains(withoutSpaces(absent))) << absent.toStdString();
        if (pdf) {
            EXPECT_TRUE(
                TestSupport::runTool("pdfinfo", {path(test.report)}).contains(test.paper.toUtf8()));
        }
    }
    // Nothing is read when the report cannot be written.
    for (const QString &report : {path("none/r.pdf"), path("r.txt")}) {
        const Result result = runOutside({"verify", clean, "--report", report});
        EXPECT_EQ(result.exitCode, 73);
        EXPECT_TRUE(result.err.startsWith("hashwarden: cannot write the report "));
    }
    EXPECT_EQ(HWCHistoryDatabase(historyPath()).entries().size(), 3);
}

TEST_F(HWCHistoryTest, OnCompleteGetsTheJsonAndItsFailureChangesNothing)
{
    const QString damaged = clips("damaged", true);
    const QByteArray json = run({"verify", damaged, "--json"}).out;
    struct Case {
        QString command;
        QByteArray err;
    };
    for (const Case &test : QList<Case>{
             {"cat > " + path("hook.json"), ""},
             {"echo posted; exit 5", "posted\nhashwarden: the --on-complete command failed: it "
                                     "exited with status 5\n"},
         }) {
        const Result result = run({"verify", damaged, "--on-complete", test.command});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_FALSE(result.out.contains("posted"));
        EXPECT_TRUE(result.err.endsWith(test.err)) << result.err.toStdString();
    }
    // The same result as --json prints, but for the times, which differ from run to run.
    const auto timeless = [](const QByteArray &text) {
        return QString::fromUtf8(text).remove(
            QRegularExpression(R"re("(start|end|durationSeconds)": [^,\n]+)re"));
    };
    EXPECT_EQ(timeless(TestSupport::readFile(path("hook.json"))), timeless(json));
}

TEST(HWCReportVerdictTest, OneSentenceForTheVerifiedCardsAndOneForEveryOther)
{
    const auto entry = [](const char *card, HWCOperationState state, quint64 files, quint64 bytes,
                          quint64 failed = 0) {
        HWCHistoryEntry made;
        made.source = QString("/media/") + card;
        made.action =
            state == HWCOperationState::CreatedOK ? HWCActionType::Create : HWCActionType::Verify;
        made.state = state;
        made.files = made.filesTotal = files;
        made.bytes = bytes;
        made.counts[HWCFileState::ReadSuccessfully] = files - failed;
        if (failed)
            made.counts[HWCFileState::HashFail] = failed;
        return made;
    };
    HWCHistoryEntry skipped = entry("A007", HWCOperationState::VerifiedOK, 5, 5);
    skipped.skippedLists.append({QString("/media/A007/bad.mhl"), QString("not an MHL")});
    HWCHistoryEntry empty = entry("A008", HWCOperationState::VerifiedOK, 0, 0);
    empty.verifiedNothing = true;
    HWCHistoryEntry unwritten = entry("A009", HWCOperationState::CreatedOK, 4, 4000);
    unwritten.writeError = "/media/A009: Read-only file system";
    HWCHistoryEntry cancelled = entry("A004", HWCOperationState::Cancelled, 0, 0);
    cancelled.filesTotal = 300;
    cancelled.counts = {{HWCFileState::ReadSuccessfully, 118}, {HWCFileState::MissingFile, 2}};
    const QList<HWCHistoryEntry> day = {
        entry("A001", HWCOperationState::VerifiedOK, 1000, 1'500'000'000'000),
        entry("A002", HWCOperationState::VerifiedOK, 200, 400'000'000'000),
        entry("A003", HWCOperationState::VerifiedOK, 4, 20'000'000'000)};
    const QList<std::pair<QList<HWCHistoryEntry>, QStringList>> cases = {
        {day, {"All 3 cards verified: 1,204 files, 1.92 TB, every file matched its MHL."}},
        {{day[0]}, {"The card verified: 1,000 files, 1.50 TB, every file matched its MHL."}},
        {{day[2], entry("A005", HWCOperationState::FinishedWithWarnings, 40, 9, 2), cancelled,
          entry("A006", HWCOperationState::NoMHL, 0, 0), skipped, empty,
          entry("new", HWCOperationState::CreatedOK, 1, 1000), unwritten,
          entry("blank", HWCOperationState::NoFilesFound, 0, 0)},
         {"1 of 9 cards verified: 4 files, 20.00 GB, every file matched its MHL.",
          "A005 did not verify: 2 of 40 files failed; they are listed below.",
          "A004 was cancelled before it ended: 120 of 300 files checked.",
          "A006 was not verified: no MHL was found on it.",
          "A007 finished with warnings: an MHL on it could not be used.",
          "A008 was not verified: its MHLs list no file that could be checked.",
          "new was hashed: a new MHL lists its 1 file, 1.00 kB.",
          "A009 was hashed, but its MHL could not be written, so nothing proves its files yet.",
          "blank was not hashed: no files were found on it."}},
    };
    for (const auto &[entries, sentences] : cases)
        EXPECT_EQ(HWCReportVerdict::sentences(entries), sentences);
}
