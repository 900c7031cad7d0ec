#include "engine/session/HWCSession.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sqlite3.h>

namespace {

const QByteArray kTable = "CREATE TABLE LSQuarantineEvent (LSQuarantineEventIdentifier TEXT "
                          "PRIMARY KEY NOT NULL, LSQuarantineTimeStamp REAL, LSQuarantineAgentName "
                          "TEXT, LSQuarantineDataURLString TEXT, LSQuarantineOriginURLString TEXT)";

QByteArray row(const char *time, const char *url)
{
    static int id = 0;
    return QByteArray("INSERT INTO LSQuarantineEvent VALUES ('") + QByteArray::number(++id) +
           "', " + time + ", 'Safari', '" + url + "', NULL)";
}

// Each test runs with HOME at an empty folder, where the download history is looked up.
class HWCSessionHome : public ::testing::Test {
protected:
    void SetUp() override { qputenv("HOME", QFile::encodeName(m_home.path())); }
    void TearDown() override { qputenv("HOME", m_previousHome); }

    // A fresh history database holding the statements' rows under home; returns it open.
    static sqlite3 *makeDatabase(const QTemporaryDir &home, const QList<QByteArray> &statements)
    {
        const QString path = home.filePath(
            QStringLiteral("Library/Preferences/com.apple.LaunchServices.QuarantineEventsV2"));
        QFile::remove(path);
        QDir().mkpath(QFileInfo(path).absolutePath());
        sqlite3 *db = nullptr;
        EXPECT_EQ(sqlite3_open(QFile::encodeName(path).constData(), &db), SQLITE_OK);
        for (const QByteArray &statement : statements)
            EXPECT_EQ(sqlite3_exec(db, statement.constData(), nullptr, nullptr, nullptr), SQLITE_OK)
                << statement.toStdString();
        return db;
    }

    static QString download()
    {
        HWCSession session;
        session.startSession();
        return session.downloadDate().toString(Qt::ISODateWithMs) + " " +
               session.downloadReference() + " " + session.downloadWeek();
    }

    QTemporaryDir m_home;
    const QByteArray m_previousHome = qgetenv("HOME");
};

} // namespace

TEST(HWCSession, ReleaseTypeFollowsTheLettersOfTheVersion)
{
    const std::pair<std::optional<QString>, const char *> versions[] = {
        {"3.0", "Release"},      {"3.0b2", "Beta"},       {"3.0a1b", "Alpha"},
        {"2.0\u00DF1", "Beta"},  {"1.2\u03B13", "Alpha"}, {"1.2A3", "Release"},
        {std::nullopt, "Alpha"}, {QString(), "Release"},
    };
    for (const auto &[version, type] : versions)
        EXPECT_EQ(HWCSession::releaseTypeForVersion(version), type) << version->toStdString();
}

TEST_F(HWCSessionHome, NewestMatchingDownloadGivesDateReferenceAndWeek)
{
    EXPECT_EQ(download(), "1970-01-01T00:00:00.000Z  ") << "no database";
    sqlite3_close(makeDatabase(
        m_home, {kTable, row("600000000.5", "https://e.com/Hashwarden-1.0.zip?ref=news&week=12"),
                 row("500000000", "https://e.com/Hashwarden.zip?ref=old&week=1"),
                 row("700000000", "https://e.com/Other.zip?ref=other&week=2"),
                 row("700000001", "https://e.com/Hashwarden.dmg?ref=dmg&week=3"),
                 row("700000002", "https://e.com/a.zip/Hashwarden?ref=order&week=4")}));
    // Time stamps count from 2001.
    EXPECT_EQ(download(), "2020-01-06T10:40:00.500Z news 12");

    // A later item of the same name replaces the earlier one; HOME is looked up on each start.
    QTemporaryDir otherHome;
    sqlite3_close(makeDatabase(
        otherHome, {kTable, row("0", "https://e.com/Hashwarden.zip?week=7&ref=a&ref=b&other=x")}));
    qputenv("HOME", QFile::encodeName(otherHome.path()));
    EXPECT_EQ(download(), "2001-01-01T00:00:00.000Z b 7");
}

TEST_F(HWCSessionHome, UnusableOrLockedHistoryLeavesInitialValuesAndLogsNothing)
{
    TestSupport::LogCapture capture;
    const QList<QList<QByteArray>> histories = {
        {kTable, row("5", "https://e.com/Hashwarden.tar.gz?ref=x")},
        {kTable, "INSERT INTO LSQuarantineEvent VALUES ('1', NULL, NULL, "
                 "'https://e.com/Hashwarden.zip', NULL)"},
        {"CREATE TABLE LSQuarantineEvent (LSQuarantineDataURLString TEXT)",
         "INSERT INTO LSQuarantineEvent VALUES ('https://x/Hashwarden.zip?ref=r')"},
        {"PRAGMA page_size = 512"},
    };
    for (const QList<QByteArray> &history : histories) {
        sqlite3_close(makeDatabase(m_home, history));
        EXPECT_EQ(download(), "1970-01-01T00:00:00.000Z  ") << history.last().toStdString();
    }
    TestSupport::writeFile(m_home.filePath("Library/Preferences/"
                                           "com.apple.LaunchServices.QuarantineEventsV2"),
                           8192, 3);
    EXPECT_EQ(download(), "1970-01-01T00:00:00.000Z  ") << "not a database";

    sqlite3 *writer =
        makeDatabase(m_home, {kTable, row("1", "https://e.com/Hashwarden.zip?ref=l")});
    ASSERT_EQ(sqlite3_exec(writer, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_EQ(download(), "1970-01-01T00:00:00.000Z  ") << "locked";
    sqlite3_exec(writer, "ROLLBACK", nullptr, nullptr, nullptr);
    sqlite3_close(writer);
    EXPECT_EQ(download(), "2001-01-01T00:00:01.000Z l ");
    EXPECT_TRUE(capture.lines().isEmpty()) << capture.lines().join('\n').toStdString();
}
