#include "Classes/HWCAnalytics.h"
#include "support/TestSupport.h"

#include <QDateTime>
#include <QFile>
#include <QSet>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>

namespace {

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
    HWCAnalytics::addEventSuperProperties({{"Session Start Date", start}, {"Release Type", "Beta"}});
    HWCAnalytics::addEventSuperProperties({{"Release Type", "Release"}});
    const QDateTime before = QDateTime::currentDateTimeUtc().addMSecs(-1);
    HWCAnalytics::event(QStringLiteral("App Open"),
                        {{"1 - Download Date", QDateTime::fromSecsSinceEpoch(0, Qt::UTC)},
                         {"2 - Download Reference", ""},
                         {"4 - Amount", quint64(1234567890123ULL)}});

    const QList<QJsonObject> lines = TestSupport::readJsonLines(m_path);
    ASSERT_EQ(lines.size(), 1);
    const QJsonObject &line = lines.first();
    EXPECT_EQ(line.keys(), (QStringList{"event", "properties", "superProperties", "time", "token"}));
    EXPECT_EQ(line["event"].toString(), "App Open");
    EXPECT_EQ(line["properties"].toObject(),
              (QJsonObject{{"1 - Download Date", "1970-01-01T00:00:00.000Z"},
                           {"2 - Download Reference", ""},
                           {"4 - Amount", 1234567890123LL}}));
    const QJsonObject super = line["superProperties"].toObject();
    EXPECT_EQ(super["Session Start Date"].toString(), "2026-03-04T05:06:07.008Z");
    EXPECT_EQ(super["Release Type"].toString(), "Release");
    const QDateTime time = QDateTime::fromString(line["time"].toString(), Qt::ISODateWithMs);
    EXPECT_EQ(time.timeSpec(), Qt::UTC);
    EXPECT_GE(time, before);
}

TEST_F(HWCAnalyticsSink, EventsFromManyThreadsNeverInterleave)
{
    QList<QThread *> threads;
    for (int t = 0; t < 4; ++t) {
        threads.append(QThread::create([t] {
            for (int i = 0; i < 200; ++i)
                HWCAnalytics::event(QStringLiteral("Action Completed"),
                                    {{"thread", t}, {"index", i}, {"padding", QString(300, 'x')}});
        }));
        threads.last()->start();
    }
    for (QThread *thread : threads) {
        thread->wait();
        delete thread;
    }
    QSet<QPair<int, int>> seen;
    for (const QJsonObject &line : TestSupport::readJsonLines(m_path)) {
        const QJsonObject properties = line["properties"].toObject();
        seen.insert({properties["thread"].toInt(), properties["index"].toInt()});
    }
    EXPECT_EQ(seen.size(), 800);
}

TEST_F(HWCAnalyticsSink, UnwritableSinkIsLoggedAndSkipped)
{
    qputenv(HWCAnalytics::kLogEnvironmentVariable, QFile::encodeName(m_folder.path()));
    TestSupport::LogCapture capture;
    HWCAnalytics::event(QStringLiteral("App Open"), {});
    EXPECT_TRUE(capture.contains(QStringLiteral("Cannot write the usage event log")));
}
