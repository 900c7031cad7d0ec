#include "engine/session/HWCLog.h"
#include "support/TestSupport.h"

#include <QRegularExpression>
#include <gtest/gtest.h>

TEST(HWCLog, LinesCarryLevelTimeFileMethodLineAndMessage)
{
    TestSupport::LogCapture capture;
    const int line = __LINE__ + 1;
    HWCLogError(QStringLiteral("disk %1 failed").arg(QStringLiteral("A001")));
    HWCLogWarning(QStringLiteral("warned"));
    HWCLogDebug(QStringLiteral("below the level in force"));
    HWCLogVerbose(QStringLiteral("below the level in force"));

    const QStringList lines = capture.lines();
    ASSERT_EQ(lines.size(), 2) << lines.join(QLatin1Char('\n')).toStdString();
    const QRegularExpression form(QStringLiteral(
        R"(^ERROR   \d{4}/\d\d/\d\d \d\d:\d\d:\d\d\.\d{3} -\[(\S+) (\S+)\]\[Line (\d+)\] (.*)$)"));
    const QRegularExpressionMatch match = form.match(lines.first());
    ASSERT_TRUE(match.hasMatch()) << lines.first().toStdString();
    EXPECT_TRUE(match.captured(1).endsWith(QStringLiteral("tests/core/HWCLogTests")));
    EXPECT_EQ(match.captured(2), QStringLiteral("TestBody"));
    EXPECT_EQ(match.captured(3).toInt(), line);
    EXPECT_EQ(match.captured(4), QStringLiteral("disk A001 failed"));
    EXPECT_TRUE(lines[1].startsWith(QStringLiteral("WARNING ")));
    for (const auto &[file, tail] :
         {std::pair{"/a/src/b/src/ui/window/HWCMainWindow.cpp", "UI/HWCMainWindow"},
          {"/s/src/engine/files/HWCPathAdditions.cpp", "Categories/HWCPathAdditions"},
          {"/s/src/engine/operations/HWCOperation.h", "Classes/HWCOperation"},
          {"/s/src/cli/HWCExitCode.cpp", "CLI/HWCExitCode"}})
        EXPECT_EQ(HWCLog::fileTail(file), QLatin1String(tail));
}

TEST(HWCLog, LinesFromManyThreadsAreNeitherLostNorInterleaved)
{
    TestSupport::LogCapture capture;
    TestSupport::runOnThreads(4, [](int t) {
        for (int i = 0; i < 500; ++i)
            HWCLogInfo(QStringLiteral("thread %1 line %2").arg(t).arg(i));
    });
    const QStringList lines = capture.lines();
    EXPECT_EQ(lines.size(), 2000);
    for (const QString &line : lines)
        ASSERT_TRUE(line.startsWith(QStringLiteral("INFO    "))) << line.toStdString();
}
