#include "Categories/HWCPathAdditions.h"
#include "Categories/HWCStringAdditions.h"

#include <gtest/gtest.h>

TEST(HWCPathAdditions, ComponentsAndMediaHashListPaths)
{
    struct Row {
        const char *path;
        const char *last;
        const char *deleting;
        const char *appendingX; // with "/x/" appended
        bool isList;
    };
    const Row rows[] = {
        {"/Volumes/CARD/A001.mov", "A001.mov", "/Volumes/CARD", "/Volumes/CARD/A001.mov/x", false},
        {"/Volumes/CARD/", "CARD", "/Volumes", "/Volumes/CARD/x", false},
        {"/", "/", "/", "/x", false},
        {"", "", "", "/x", false},
        {"a.mhl", "a.mhl", "", "a.mhl/x", true},
        {"/a/archive.tar.mhl", "archive.tar.mhl", "/a", "/a/archive.tar.mhl/x", true},
        {"/x/list.mhl/", "list.mhl", "/x", "/x/list.mhl/x", true},
        {"/x/.mhl", ".mhl", "/x", "/x/.mhl/x", true},
        {"/x/list.MHL", "list.MHL", "/x", "/x/list.MHL/x", false},
        {"/x/list.mhl.txt", "list.mhl.txt", "/x", "/x/list.mhl.txt/x", false},
        {"/x.mhl/list", "list", "/x.mhl", "/x.mhl/list/x", false},
        {"/x/list.mhl ", "list.mhl ", "/x", "/x/list.mhl /x", false},
    };
    for (const Row &row : rows) {
        const QString path = QString::fromUtf8(row.path);
        SCOPED_TRACE(row.path);
        EXPECT_EQ(hwc_lastPathComponent(path), QString::fromUtf8(row.last));
        EXPECT_EQ(hwc_deletingLastPathComponent(path), QString::fromUtf8(row.deleting));
        EXPECT_EQ(hwc_appendingPathComponent(path, QStringLiteral("/x/")),
                  QString::fromUtf8(row.appendingX));
        EXPECT_EQ(hwc_isMediaHashListPath(path), row.isList);
    }
    EXPECT_FALSE(hwc_deletingLastPathComponent(QStringLiteral("a.mhl")).isNull());
    EXPECT_EQ(hwc_appendingPathComponent(QStringLiteral("/src"), QString()), u"/src");
    EXPECT_EQ(hwc_appendingPathComponent(QStringLiteral("/a//b"), QStringLiteral("c")), u"/a/b/c");
}
