#include "Categories/HWCPathAdditions.h"

#include <gtest/gtest.h>

TEST(HWCPathAdditions, LastComponentIgnoresTrailingSlashes)
{
    EXPECT_EQ(hwc_lastPathComponent(QStringLiteral("/Volumes/CARD/A001.mov")), u"A001.mov");
    EXPECT_EQ(hwc_lastPathComponent(QStringLiteral("/Volumes/CARD/")), u"CARD");
    EXPECT_EQ(hwc_lastPathComponent(QStringLiteral("/")), u"/");
    EXPECT_EQ(hwc_lastPathComponent(QStringLiteral("clip")), u"clip");
    EXPECT_EQ(hwc_lastPathComponent(QString()), u"");
}

TEST(HWCPathAdditions, DeletingLastComponentKeepsTheRootAndGivesEmptyForABareName)
{
    EXPECT_EQ(hwc_deletingLastPathComponent(QStringLiteral("/Volumes/CARD/a.mhl")),
              u"/Volumes/CARD");
    EXPECT_EQ(hwc_deletingLastPathComponent(QStringLiteral("/Volumes/CARD/")), u"/Volumes");
    EXPECT_EQ(hwc_deletingLastPathComponent(QStringLiteral("/a.mhl")), u"/");
    EXPECT_EQ(hwc_deletingLastPathComponent(QStringLiteral("/")), u"/");
    const QString bare = hwc_deletingLastPathComponent(QStringLiteral("a.mhl"));
    EXPECT_TRUE(bare.isEmpty());
    EXPECT_FALSE(bare.isNull());
}

TEST(HWCPathAdditions, AppendingLeavesOneSeparatorBetweenComponents)
{
    EXPECT_EQ(hwc_appendingPathComponent(QStringLiteral("/src"), QStringLiteral("a/b.wav")),
              u"/src/a/b.wav");
    EXPECT_EQ(hwc_appendingPathComponent(QStringLiteral("/src/"), QStringLiteral("/A001/")),
              u"/src/A001");
    EXPECT_EQ(hwc_appendingPathComponent(QStringLiteral("/"), QStringLiteral("x")), u"/x");
    EXPECT_EQ(hwc_appendingPathComponent(QString(), QStringLiteral("/x")), u"/x");
    EXPECT_EQ(hwc_appendingPathComponent(QStringLiteral("/a//b"), QStringLiteral("c")), u"/a/b/c");
    EXPECT_EQ(hwc_appendingPathComponent(QStringLiteral("/src"), QString()), u"/src");
}
