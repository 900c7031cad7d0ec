#include "Classes/HWCSession.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sqlite3.h>

namespace {

const QByteArray kTable = "CREATE TABLE LSQuarantineEvent (LSQuarantineEventIdentifier TEXT "
                          "PRIMARY KEY NOT NULL, LSQuarantineTimeStamp REAL, LSQuarantineAgentName "
                          "TEXT, LSQuarantineDataURLString TEXT, LSQuarantineOriginURLString TEXT)";

// Each test runs with HOME at an empty folder, where the quarantine database is looked up.
class HWCSessionHome : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_previousHome = qgetenv("HOME");
        qputenv("HOME", QFile::encodeName(m_home.path()));
    }
    void TearDown() override { qputenv("HOME", m_previousHome); }

    static QString databasePath(const QTemporaryDir &home)
    {
        return home.filePath(
            QStringLiteral("Library/Preferences/com.apple.LaunchServices.QuarantineEventsV2"));
    }

    // A fresh database holding the statements' rows; returns it open.
    sqlite3 *makeDatabase(const QString &path, const QList<QByteArray> &statements)
    {
        QFile::remove(path);
        QDir().mkpath(QFileInfo(path).absolutePath());
        sqlite3 *db = nullptr;
        EXPECT_EQ(sqlite3_open(QFile::encodeName(path).constData(), &db), SQLITE_OK);
        for (const QByteArray &statement : statements)
            EXPECT_EQ(sqlite3_exec(db, statement.constData(), nullptr, nullptr, nullptr), SQLITE_OK)
                << statement.toStdString();
        return db;
    }
    void makeDatabase(const QList<QByteArray> &statements)
    {
        sqlite3_close(makeDatabase(databasePath(m_home), statements));
    }

    static QByteArray row(const char *time, const char *url)
    {
        static int id = 0;
        return QByteArray("INSERT INTO LSQuarantineEvent VALUES ('") + QByteArray::number(++id) +
               "', " + time + ", 'Safari', '" + url + "', NULL)";
    }

    static QString download(const HWCSession &session)
    {
        return session.downloadDate().toString(Qt::ISODate) + " " + session.downloadReference() +
               " " + session.downloadWeek();
    }

    QTemporaryDir m_home;
    QByteArray m_previousHome;
};

} // namespace

TEST(HWCSession, ReleaseTypeFollowsTheLettersOfTheVersion)
{
    const std::pair<std::optional<QString>, const char *> versions[] = {
        {"3.0", "Release"},          {"3.0b2", "Beta"},           {"3.0a1b", "Alpha"},
        {"2.0\u00DF1", "Beta"},      {"1.2\u03B13", "Alpha"},     {"1.2A3", "Release"},
        {std::nullopt, "Alpha"},     {QString(), "Release"},
    };
    for (const auto &[version, type] : versions)
        EXPECT_EQ(HWCSession::releaseTypeForVersion(version), type) << version->toStdString();
}

TEST_F(HWCSessionHome, NewestMatchingDownloadGivesDateReferenceAndWeek)
{
    HWCSession session;
    EXPECT_EQ(session.buildType(), "Release");
    session.startSession();
    EXPECT_EQ(session.releaseType(), "Release");
    EXPECT_EQ(download(session), "1970-01-01T00:00:00Z  ") << "no database";

    makeDatabase({kTable, row("600000000.5", "https://e.com/Hashwarden-1.0.zip?ref=news&week=12"),
                  row("500000000", "https://e.com/Hashwarden.zip?ref=old&week=1"),
                  row("700000000", "https://e.com/Other.zip?ref=other&week=2"),
                  row("700000001", "https://e.com/Hashwarden.dmg?ref=dmg&week=3"),
                  row("700000002", "https://e.com/a.zip/Hashwarden?ref=order&week=4")});
    session.startSession();
    EXPECT_EQ(session.downloadDate(),
              QDateTime::fromMSecsSinceEpoch((978307200LL + 600000000LL) * 1000 + 500, Qt::UTC));
    EXPECT_EQ(session.downloadReference(), "news");
    EXPECT_EQ(session.downloadWeek(), "12");

    // Time stamps count from 2001; a later item of the same name replaces the earlier one.
    QTemporaryDir otherHome;
    sqlite3_close(makeDatabase(
        databasePath(otherHome),
        {kTable, row("0", "https://e.com/Hashwarden.zip?week=7&ref=a&ref=b&other=x")}));
    qputenv("HOME", QFile::encodeName(otherHome.path()));
    session.startSession();
    EXPECT_EQ(download(session), "2001-01-01T00:00:00Z b 7") << "HOME is looked up on each start";
}

TEST_F(HWCSessionHome, UnusableHistoryLeavesInitialValuesAndLogsNothing)
{
    TestSupport::LogCapture capture;
    const QList<QList<QByteArray>> histories = {
        {kTable, row("5", "https://e.com/Hashwarden.tar.gz?ref=x")},
        {kTable, "INSERT INTO LSQuarantineEvent VALUES ('1', NULL, NULL, "
                 "'https://e.com/Hashwarden.zip', NULL)"},
        {"CREATE TABLE LSQuarantineEvent (LSQuarantineDataURLString TEXT)",
         "INSERT INTO LSQuarantineEvent VALUES ('https://x/Hashwarden.zip?ref=r')"},
    };
    for (const QList<QByteArray> &history : histories) {
        makeDatabase(history);
        HWCSession session;
        session.startSession();
        EXPECT_EQ(download(session), "1970-01-01T00:00:00Z  ") << history.last().toStdString();
    }
    QFile::remove(databasePath(m_home));
    TestSupport::writeFile(databasePath(m_home), 8192, 3);
    HWCSession corrupt;
    corrupt.startSession();
    EXPECT_EQ(download(corrupt), "1970-01-01T00:00:00Z  ");
    EXPECT_TRUE(capture.lines().isEmpty()) << capture.lines().join('\n').toStdString();
}

TEST_F(HWCSessionHome, LockedDatabaseLeavesInitialValuesUntilUnlocked)
{
    sqlite3 *writer =
        makeDatabase(databasePath(m_home), {kTable, row("1", "https://e.com/Hashwarden.zip?ref=l")});
    ASSERT_EQ(sqlite3_exec(writer, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
    HWCSession session;
    session.startSession();
    EXPECT_EQ(download(session), "1970-01-01T00:00:00Z  ");
    sqlite3_exec(writer, "ROLLBACK", nullptr, nullptr, nullptr);
    sqlite3_close(writer);
    session.startSession();
    EXPECT_EQ(session.downloadReference(), "l");
}
