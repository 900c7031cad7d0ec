#include "Classes/HWCSession.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <vector>

namespace {

const QDateTime kUnixEpoch = QDateTime::fromSecsSinceEpoch(0, Qt::UTC);

// Runs each test with HOME pointing at an empty temporary folder.
class HWCSessionHome : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_home.isValid());
        m_previousHome = qgetenv("HOME");
        qputenv("HOME", QFile::encodeName(m_home.path()));
    }
    void TearDown() override { qputenv("HOME", m_previousHome); }

    QString databasePath(const QTemporaryDir &home) const
    {
        return home.filePath(
            QStringLiteral("Library/Preferences/com.apple.LaunchServices.QuarantineEventsV2"));
    }
    QString databasePath() const { return databasePath(m_home); }

    // Creates the quarantine database with the platform's table and the given statements.
    void makeDatabase(const QString &path, const std::vector<const char *> &statements)
    {
        QDir().mkpath(QFileInfo(path).absolutePath());
        sqlite3 *db = nullptr;
        ASSERT_EQ(sqlite3_open(QFile::encodeName(path).constData(), &db), SQLITE_OK);
        exec(db, "CREATE TABLE LSQuarantineEvent (LSQuarantineEventIdentifier TEXT PRIMARY "
                 "KEY NOT NULL, LSQuarantineTimeStamp REAL, LSQuarantineAgentName TEXT, "
                 "LSQuarantineDataURLString TEXT, LSQuarantineOriginURLString TEXT)");
        for (const char *statement : statements)
            exec(db, statement);
        sqlite3_close(db);
    }
    void makeDatabase(const std::vector<const char *> &statements)
    {
        makeDatabase(databasePath(), statements);
    }

    static void exec(sqlite3 *db, const char *statement)
    {
        char *error = nullptr;
        EXPECT_EQ(sqlite3_exec(db, statement, nullptr, nullptr, &error), SQLITE_OK)
            << statement << ": " << (error ? error : "");
        sqlite3_free(error);
    }

    static void expectInitialDownload(const HWCSession &session)
    {
        EXPECT_EQ(session.downloadDate(), kUnixEpoch);
        EXPECT_TRUE(session.downloadReference().isEmpty());
        EXPECT_TRUE(session.downloadWeek().isEmpty());
    }

    QTemporaryDir m_home;
    QByteArray m_previousHome;
};

} // namespace

TEST(HWCSession, ReleaseTypeFollowsTheLettersOfTheVersion)
{
    EXPECT_EQ(HWCSession::releaseTypeForVersion(QStringLiteral("3.0")), "Release");
    EXPECT_EQ(HWCSession::releaseTypeForVersion(QStringLiteral("3.0b2")), "Beta");
    // The alpha test comes first, so a later 'b' does not matter.
    EXPECT_EQ(HWCSession::releaseTypeForVersion(QStringLiteral("3.0a1b")), "Alpha");
    EXPECT_EQ(HWCSession::releaseTypeForVersion(QStringLiteral("2.0\u00DF1")), "Beta");
    EXPECT_EQ(HWCSession::releaseTypeForVersion(QStringLiteral("2.0\u03B21")), "Beta");
    EXPECT_EQ(HWCSession::releaseTypeForVersion(QStringLiteral("1.2\u03B13")), "Alpha");
    EXPECT_EQ(HWCSession::releaseTypeForVersion(QStringLiteral("1.2A3")), "Release");
    EXPECT_EQ(HWCSession::releaseTypeForVersion(std::nullopt), "Alpha");
    EXPECT_EQ(HWCSession::releaseTypeForVersion(QString()), "Release");
}

TEST_F(HWCSessionHome, InitialValuesSurviveAMissingDatabase)
{
    TestSupport::LogCapture capture;
    HWCSession session;
    EXPECT_TRUE(session.releaseType().isEmpty());
    EXPECT_FALSE(session.isPreRelease());
    EXPECT_EQ(session.buildType(), "Release");
    expectInitialDownload(session);

    const QDateTime before = QDateTime::currentDateTime();
    session.startSession();
    EXPECT_GE(session.startDate(), before);
    // This build's version (1.0) carries no pre-release letter.
    EXPECT_EQ(session.releaseType(), "Release");
    EXPECT_FALSE(session.isPreRelease());
    expectInitialDownload(session);
    EXPECT_TRUE(capture.lines().isEmpty());
}

TEST_F(HWCSessionHome, NewestMatchingDownloadGivesDateReferenceAndWeek)
{
    makeDatabase({
        "INSERT INTO LSQuarantineEvent VALUES ('1', 600000000.5, 'Safari', "
        "'https://example.com/get/Hashwarden-1.0.zip?ref=news&week=12', 'https://example.com')",
        "INSERT INTO LSQuarantineEvent VALUES ('2', 500000000, 'Safari', "
        "'https://example.com/Hashwarden.zip?ref=old&week=1', NULL)",
        "INSERT INTO LSQuarantineEvent VALUES ('3', 700000000, 'Safari', "
        "'https://example.com/Other.zip?ref=other&week=2', NULL)",
        "INSERT INTO LSQuarantineEvent VALUES ('4', 700000001, 'Safari', "
        "'https://example.com/Hashwarden.dmg?ref=dmg&week=3', NULL)",
        "INSERT INTO LSQuarantineEvent VALUES ('5', 700000002, 'Safari', "
        "'https://example.com/a.zip/Hashwarden?ref=order&week=4', NULL)",
    });
    HWCSession session;
    session.startSession();
    EXPECT_EQ(session.downloadReference(), "news");
    EXPECT_EQ(session.downloadWeek(), "12");
    EXPECT_EQ(session.downloadDate(),
              QDateTime::fromMSecsSinceEpoch((978307200LL + 600000000LL) * 1000 + 500, Qt::UTC));
}

TEST_F(HWCSessionHome, TimeStampZeroIsTheFirstOf2001)
{
    makeDatabase({"INSERT INTO LSQuarantineEvent VALUES ('1', 0, 'Safari', "
                  "'https://example.com/Hashwarden.zip?week=7&ref=a&ref=b&other=x', NULL)"});
    HWCSession session;
    session.startSession();
    EXPECT_EQ(session.downloadDate(), QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC));
    // A later item of the same name replaces the earlier one.
    EXPECT_EQ(session.downloadReference(), "b");
    EXPECT_EQ(session.downloadWeek(), "7");
}

TEST_F(HWCSessionHome, UnusableHistoryLeavesInitialValuesAndLogsNothing)
{
    TestSupport::LogCapture capture;
    {
        SCOPED_TRACE("no matching row");
        makeDatabase({"INSERT INTO LSQuarantineEvent VALUES ('1', 5, 'Safari', "
                      "'https://example.com/Hashwarden.tar.gz?ref=x', NULL)"});
        HWCSession session;
        session.startSession();
        expectInitialDownload(session);
    }
    {
        SCOPED_TRACE("NULL time stamp and origin, URL without a query");
        QFile::remove(databasePath());
        makeDatabase({"INSERT INTO LSQuarantineEvent VALUES ('1', NULL, NULL, "
                      "'https://example.com/Hashwarden.zip', NULL)"});
        HWCSession session;
        session.startSession();
        expectInitialDownload(session);
    }
    {
        SCOPED_TRACE("corrupt file");
        QFile::remove(databasePath());
        TestSupport::writeFile(databasePath(), 8192, 3);
        HWCSession session;
        session.startSession();
        expectInitialDownload(session);
    }
    {
        SCOPED_TRACE("wrong schema");
        QFile::remove(databasePath());
        sqlite3 *db = nullptr;
        ASSERT_EQ(sqlite3_open(QFile::encodeName(databasePath()).constData(), &db), SQLITE_OK);
        exec(db, "CREATE TABLE LSQuarantineEvent (LSQuarantineDataURLString TEXT)");
        exec(db, "INSERT INTO LSQuarantineEvent VALUES ('https://x/Hashwarden.zip?ref=r')");
        sqlite3_close(db);
        HWCSession session;
        session.startSession();
        expectInitialDownload(session);
    }
    {
        SCOPED_TRACE("a folder in place of the file");
        QFile::remove(databasePath());
        ASSERT_TRUE(QDir().mkpath(databasePath()));
        HWCSession session;
        session.startSession();
        expectInitialDownload(session);
        QDir(databasePath()).removeRecursively();
    }
    EXPECT_TRUE(capture.lines().isEmpty()) << capture.lines().join('\n').toStdString();
}

TEST_F(HWCSessionHome, LockedDatabaseLeavesInitialValues)
{
    makeDatabase({"INSERT INTO LSQuarantineEvent VALUES ('1', 1, 'Safari', "
                  "'https://example.com/Hashwarden.zip?ref=locked', NULL)"});
    sqlite3 *writer = nullptr;
    ASSERT_EQ(sqlite3_open(QFile::encodeName(databasePath()).constData(), &writer), SQLITE_OK);
    exec(writer, "BEGIN EXCLUSIVE");
    HWCSession session;
    session.startSession();
    expectInitialDownload(session);
    exec(writer, "ROLLBACK");
    sqlite3_close(writer);

    // Once the lock is gone the same session reads the row.
    session.startSession();
    EXPECT_EQ(session.downloadReference(), "locked");
}

TEST_F(HWCSessionHome, HomeIsLookedUpOnEveryStart)
{
    HWCSession session;
    session.startSession();
    expectInitialDownload(session);

    QTemporaryDir otherHome;
    makeDatabase(databasePath(otherHome),
                 {"INSERT INTO LSQuarantineEvent VALUES ('1', 10, 'Safari', "
                  "'https://example.com/Hashwarden.zip?ref=moved&week=9', NULL)"});
    qputenv("HOME", QFile::encodeName(otherHome.path()));
    session.startSession();
    EXPECT_EQ(session.downloadReference(), "moved");
    EXPECT_EQ(session.downloadWeek(), "9");
    EXPECT_EQ(session.downloadDate(), QDateTime::fromSecsSinceEpoch(978307210, Qt::UTC));
}

TEST_F(HWCSessionHome, SharedSessionIsMadeOnceAcrossThreads)
{
    std::vector<HWCSession *> seen(8, nullptr);
    std::vector<QThread *> threads;
    for (size_t i = 0; i < seen.size(); ++i)
        threads.push_back(QThread::create([&seen, i] { seen[i] = &HWCSession::sharedSession(); }));
    for (QThread *thread : threads)
        thread->start();
    for (QThread *thread : threads) {
        thread->wait();
        delete thread;
    }
    for (HWCSession *session : seen)
        EXPECT_EQ(session, &HWCSession::sharedSession());
    EXPECT_EQ(HWCSession::sharedSession().releaseType(), "Release");
}
