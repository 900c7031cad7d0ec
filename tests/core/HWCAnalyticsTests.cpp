#include "Classes/HWCAnalytics.h"
#include "support/TestSupport.h"

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>
#include <vector>

namespace {

QList<QJsonObject> readLines(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<QJsonObject> lines;
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.isEmpty())
            continue;
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(line, &error);
        EXPECT_EQ(error.error, QJsonParseError::NoError) << line.toStdString();
        lines.append(document.object());
    }
    return lines;
}

class HWCAnalyticsSink : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_folder.isValid());
        m_path = m_folder.filePath(QStringLiteral("events.jsonl"));
        qputenv(HWCAnalytics::kLogEnvironmentVariable, QFile::encodeName(m_path));
    }
    void TearDown() override { qunsetenv(HWCAnalytics::kLogEnvironmentVariable); }

    QTemporaryDir m_folder;
    QString m_path;
};

} // namespace

TEST_F(HWCAnalyticsSink, EventIsOneLineWithPropertiesSuperPropertiesAndTime)
{
    const QDateTime start(QDate(2026, 3, 4), QTime(5, 6, 7, 8), Qt::UTC);
    HWCAnalytics::setupMixpanelWithToken(QStringLiteral("token"));
    HWCAnalytics::addEventSuperProperties(
        {{"Session Start Date", start}, {"Release Type", "Beta"}, {"Build Type", "Release"}});
    HWCAnalytics::addEventSuperProperties({{"Release Type", "Release"}});
    EXPECT_EQ(HWCAnalytics::token(), "token");

    const QDateTime before = QDateTime::currentDateTimeUtc().addMSecs(-1);
    HWCAnalytics::event(QStringLiteral("App Open"),
                        {{"1 - Download Date", QDateTime::fromSecsSinceEpoch(0, Qt::UTC)},
                         {"2 - Download Reference", ""},
                         {"3 - Download Week", "12"},
                         {"4 - Amount", quint64(1234567890123ULL)}});
    const QList<QJsonObject> lines = readLines(m_path);
    ASSERT_EQ(lines.size(), 1);
    const QJsonObject &line = lines.first();
    EXPECT_EQ(line.keys(), (QStringList{"event", "properties", "superProperties", "time", "token"}));
    EXPECT_EQ(line["event"].toString(), "App Open");

    const QJsonObject properties = line["properties"].toObject();
    EXPECT_EQ(properties.size(), 4);
    EXPECT_EQ(properties["1 - Download Date"].toString(), "1970-01-01T00:00:00.000Z");
    EXPECT_EQ(properties["2 - Download Reference"].toString("absent"), "");
    EXPECT_EQ(properties["3 - Download Week"].toString(), "12");
    EXPECT_TRUE(properties["4 - Amount"].isDouble());
    EXPECT_EQ(properties["4 - Amount"].toInteger(), 1234567890123LL);

    const QJsonObject super = line["superProperties"].toObject();
    EXPECT_EQ(super.size(), 3);
    EXPECT_EQ(super["Session Start Date"].toString(), "2026-03-04T05:06:07.008Z");
    EXPECT_EQ(super["Release Type"].toString(), "Release");
    EXPECT_EQ(super["Build Type"].toString(), "Release");

    const QDateTime time = QDateTime::fromString(line["time"].toString(), Qt::ISODateWithMs);
    ASSERT_TRUE(time.isValid()) << line["time"].toString().toStdString();
    EXPECT_EQ(time.timeSpec(), Qt::UTC);
    EXPECT_GE(time, before);
    EXPECT_LE(time, QDateTime::currentDateTimeUtc());
}

TEST_F(HWCAnalyticsSink, EventsFromManyThreadsNeverInterleave)
{
    constexpr int kThreads = 6;
    constexpr int kEventsPerThread = 200;
    std::vector<QThread *> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.push_back(QThread::create([t] {
            for (int i = 0; i < kEventsPerThread; ++i)
                HWCAnalytics::event(QStringLiteral("Action Completed"),
                                    {{"thread", t}, {"index", i}, {"padding", QString(300, 'x')}});
        }));
    }
    for (QThread *thread : threads)
        thread->start();
    for (QThread *thread : threads) {
        thread->wait();
        delete thread;
    }
    const QList<QJsonObject> lines = readLines(m_path);
    ASSERT_EQ(lines.size(), kThreads * kEventsPerThread);
    QSet<QPair<int, int>> seen;
    for (const QJsonObject &line : lines) {
        const QJsonObject properties = line["properties"].toObject();
        seen.insert({properties["thread"].toInt(), properties["index"].toInt()});
    }
    EXPECT_EQ(seen.size(), kThreads * kEventsPerThread);
}

TEST(HWCAnalytics, WithoutASinkNothingIsWritten)
{
    qunsetenv(HWCAnalytics::kLogEnvironmentVariable);
    QTemporaryDir folder;
    const QString cwdBefore = QDir::currentPath();
    QDir::setCurrent(folder.path());
    HWCAnalytics::event(QStringLiteral("New Action"), {{"1 - Type", "Verify"}});
    QDir::setCurrent(cwdBefore);
    EXPECT_TRUE(QDir(folder.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).isEmpty());
}

TEST_F(HWCAnalyticsSink, UnwritableSinkIsLoggedAndSkipped)
{
    const QString folderAsFile = m_folder.path();
    qputenv(HWCAnalytics::kLogEnvironmentVariable, QFile::encodeName(folderAsFile));
    TestSupport::LogCapture capture;
    HWCAnalytics::event(QStringLiteral("App Open"), {});
    EXPECT_TRUE(capture.contains(QStringLiteral("Cannot write the usage event log")));
}
