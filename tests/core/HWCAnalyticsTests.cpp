#include "support/VerificationFixtures.h"

#include <QDateTime>
#include <QSet>

using HWCAnalyticsSink = VerificationFixtures::VerificationTest;

TEST_F(HWCAnalyticsSink, EventIsOneLineWithPropertiesSuperPropertiesAndTime)
{
    const QDateTime start(QDate(2026, 3, 4), QTime(5, 6, 7, 8), Qt::UTC);
    HWCAnalytics::addEventSuperProperties(
        {{"Session Start Date", start}, {"Release Type", "Beta"}});
    HWCAnalytics::addEventSuperProperties({{"Release Type", "Release"}});
    const QDateTime before = QDateTime::currentDateTimeUtc().addMSecs(-1);
    HWCAnalytics::event(QStringLiteral("App Open"),
                        {{"1 - Download Date", QDateTime::fromSecsSinceEpoch(0, Qt::UTC)},
                         {"2 - Download Reference", ""},
                         {"4 - Amount", quint64(1234567890123ULL)}});

    const QList<QJsonObject> lines = events();
    ASSERT_EQ(lines.size(), 1);
    QJsonObject line = lines.first();
    const QDateTime time = QDateTime::fromString(line.take("time").toString(), Qt::ISODateWithMs);
    EXPECT_TRUE(time.timeSpec() == Qt::UTC && time >= before);
    const QJsonObject super = line.take("superProperties").toObject();
    EXPECT_TRUE(line.take("token").isString());
    EXPECT_EQ(super["Session Start Date"].toString(), "2026-03-04T05:06:07.008Z");
    EXPECT_EQ(super["Release Type"].toString(), "Release");
    EXPECT_EQ(line, (QJsonObject{{"event", "App Open"},
                                 {"properties",
                                  QJsonObject{{"1 - Download Date", "1970-01-01T00:00:00.000Z"},
                                              {"2 - Download Reference", ""},
                                              {"4 - Amount", 1234567890123LL}}}}));
}

TEST_F(HWCAnalyticsSink, EventsFromManyThreadsNeverInterleaveAndAnUnwritableSinkIsLogged)
{
    TestSupport::runOnThreads(4, [](int t) {
        for (int i = 0; i < 200; ++i)
            HWCAnalytics::event(QStringLiteral("Action Completed"),
                                {{"thread", t}, {"index", i}, {"padding", QString(300, 'x')}});
    });
    QSet<QPair<int, int>> seen;
    for (const QJsonObject &line : events())
        seen.insert({line["properties"]["thread"].toInt(), line["properties"]["index"].toInt()});
    EXPECT_EQ(seen.size(), 800);

    qputenv(HWCAnalytics::kLogEnvironmentVariable, QFile::encodeName(m_folder.path()));
    TestSupport::LogCapture capture;
    HWCAnalytics::event(QStringLiteral("App Open"), {});
    EXPECT_TRUE(capture.contains(QStringLiteral("Cannot write the usage event log")));
}
