#include "engine/digests/HWIDataAdditions.h"
#include "engine/files/HWCPathAdditions.h"
#include "engine/records/HWCStringAdditions.h"

#include <gtest/gtest.h>

TEST(HWCPathAdditions, ComponentsAndMediaHashListPaths)
{
    // Path, last component, parent, with "/x/" appended, names a list.
    const std::tuple<const char *, const char *, const char *, const char *, bool> rows[] = {
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
    for (const auto &[text, last, parent, appended, isList] : rows) {
        SCOPED_TRACE(text);
        const QString path = QString::fromUtf8(text);
        EXPECT_EQ(hwc_lastPathComponent(path), QString::fromUtf8(last));
        EXPECT_EQ(hwc_deletingLastPathComponent(path), QString::fromUtf8(parent));
        EXPECT_EQ(hwc_appendingPathComponent(path, QStringLiteral("/x/")),
                  QString::fromUtf8(appended));
        EXPECT_EQ(hwc_isMediaHashListPath(path), isList);
    }
    EXPECT_FALSE(hwc_deletingLastPathComponent(QStringLiteral("a.mhl")).isNull());
    EXPECT_EQ(hwc_appendingPathComponent(QStringLiteral("/src"), QString()), u"/src");
    EXPECT_EQ(hwc_appendingPathComponent(QStringLiteral("/a//b"), QStringLiteral("c")), u"/a/b/c");
}

TEST(HWCHexadecimal, TextToBytesReadsEachPairLikeStrtolBase16AndBytesGiveLowerCasePairs)
{
    const std::pair<std::u16string_view, QByteArray> cases[] = {
        {u"", ""},
        {u"a", ""},                                 // a lone digit makes no byte
        {u"abc", "\xab"},                           // an odd last digit is dropped
        {u"aBcD", "\xab\xcd"},                      // either case
        {u"g11gab", QByteArray("\x00\x01\xab", 3)}, // an invalid digit ends its pair only
        {u" 1\t9+f-1-f", "\x01\x09\x0f\xff\xf1"},   // white space and signs as strtol takes them
        {u"0xx1--", QByteArray(3, '\0')},
        {u"\u0141\u0141", "\xaa"}, // only the low eight bits of a character count
        {u"1\u0100", "\x01"},      // U+0100 keeps 0, which ends the pair
        {u"\U0001F600ab", QByteArray("\x00\xab", 2)}, // a surrogate pair is two characters
    };
    for (const auto &[text, bytes] : cases) {
        const QStringView view(text.data(), qsizetype(text.size()));
        EXPECT_EQ(hwc_dataFromHexadecimal(view), bytes) << view.toString().toStdString();
    }

    EXPECT_FALSE(hwi_hexadecimalString(QByteArray()).isNull());
    QByteArray every;
    for (int value = 0; value < 256; ++value)
        every.append(char(value));
    const QString text = hwi_hexadecimalString(every);
    EXPECT_EQ(text.left(8) + text.right(8), QStringLiteral("00010203fcfdfeff"));
    EXPECT_EQ(hwc_dataFromHexadecimal(text.toUpper()), every);
}
