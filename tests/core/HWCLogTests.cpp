#include "Classes/HWCLog.h"
#include "support/TestSupport.h"

#include <QRegularExpression>
#include <QThread>
#include <gtest/gtest.h>

TEST(HWCLog, LabelsAreSevenCharactersWide)
{
    EXPECT_EQ(HWCLog::label(kHWCLogFlagError), QStringLiteral("ERROR  "));
    EXPECT_EQ(HWCLog::label(kHWCLogFlagWarning), QStringLiteral("WARNING"));
    EXPECT_EQ(HWCLog::label(kHWCLogFlagInfo), QStringLiteral("INFO   "));
    EXPECT_EQ(HWCLog::label(kHWCLogFlagDebug), QStringLiteral("DEBUG  "));
    EXPECT_EQ(HWCLog::label(kHWCLogFlagVerbose), QStringLiteral("VERBOSE"));
    EXPECT_EQ(HWCLog::label(3), QStringLiteral("       "));
    EXPECT_EQ(HWCLog::label(0), QStringLiteral("       "));
}

TEST(HWCLog, FileTailIsThePathBelowSrcWithoutExtension)
{
    EXPECT_EQ(HWCLog::fileTail("/home/x/hashwarden/src/Classes/HWCVerificationOperation.cpp"),
              QStringLiteral("Classes/HWCVerificationOperation"));
    EXPECT_EQ(HWCLog::fileTail("/a/src/b/src/UI/HWCSourceCollectionViewController.cpp"),
              QStringLiteral("UI/HWCSourceCollectionViewController"));
    EXPECT_EQ(HWCLog::fileTail("elsewhere/tool.v2/main"), QStringLiteral("elsewhere/tool.v2/main"));
}

TEST(HWCLog, LinesCarryLevelTimeFileMethodLineAndMessage)
{
    TestSupport::LogCapture capture;
    const int line = __LINE__ + 1;
    HWCLogError(QStringLiteral("disk %1 failed").arg(QStringLiteral("A001")));
    HWCLogInfo(QStringLiteral("information"));
    HWCLogWarning(QStringLiteral("warned"));

    const QStringList lines = capture.lines();
    ASSERT_EQ(lines.size(), 3) << lines.join(QLatin1Char('\n')).toStdString();
    const QRegularExpression form(QStringLiteral(
        R"(^ERROR   \d{4}/\d\d/\d\d \d\d:\d\d:\d\d\.\d{3} -\[(\S+) (\S+)\]\[Line (\d+)\] (.*)$)"));
    const QRegularExpressionMatch match = form.match(lines.first());
    ASSERT_TRUE(match.hasMatch()) << lines.first().toStdString();
    EXPECT_TRUE(match.captured(1).endsWith(QStringLiteral("tests/core/HWCLogTests")));
    EXPECT_EQ(match.captured(2), QStringLiteral("TestBody"));
    EXPECT_EQ(match.captured(3).toInt(), line);
    EXPECT_EQ(match.captured(4), QStringLiteral("disk A001 failed"));
    EXPECT_TRUE(lines.filter(QStringLiteral("INFO    ")).size() == 1);
    EXPECT_TRUE(lines.filter(QStringLiteral("WARNING ")).size() == 1);
}

TEST(HWCLog, DebugAndVerboseAreBelowTheLevelInForce)
{
    TestSupport::LogCapture capture;
    HWCLogDebug(QStringLiteral("not shown"));
    HWCLogVerbose(QStringLiteral("not shown either"));
    HWCLogInfo(QStringLiteral("shown"));
    const QStringList lines = capture.lines();
    ASSERT_EQ(lines.size(), 1);
    EXPECT_TRUE(lines.first().endsWith(QStringLiteral("shown")));
}

TEST(HWCLog, LinesFromManyThreadsAreNeitherLostNorInterleaved)
{
    TestSupport::LogCapture capture;
    QList<QThread *> threads;
    for (int t = 0; t < 4; ++t) {
        threads.append(QThread::create([t] {
            for (int i = 0; i < 500; ++i)
                HWCLogInfo(QStringLiteral("thread %1 line %2").arg(t).arg(i));
        }));
        threads.last()->start();
    }
    for (QThread *thread : threads) {
        thread->wait();
        delete thread;
    }
    const QStringList lines = capture.lines();
    EXPECT_EQ(lines.size(), 2000);
    for (const QString &line : lines)
        ASSERT_TRUE(line.startsWith(QStringLiteral("INFO    "))) << line.toStdString();
}
