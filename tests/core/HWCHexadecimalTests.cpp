#include "Categories/HWCStringAdditions.h"
#include "Categories/HWIDataAdditions.h"

#include <gtest/gtest.h>

namespace {

QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray data;
    for (const int value : values)
        data.append(char(value));
    return data;
}

} // namespace

TEST(HWCHexadecimal, BytesBecomeLowerCaseDigitPairs)
{
    EXPECT_EQ(hwi_hexadecimalString(QByteArray()), QStringLiteral(""));
    EXPECT_FALSE(hwi_hexadecimalString(QByteArray()).isNull());
    EXPECT_EQ(hwi_hexadecimalString(bytes({0x00, 0x0f, 0xf0, 0xff, 0xab, 0x5c})),
              QStringLiteral("000ff0ffab5c"));

    QByteArray every;
    for (int value = 0; value < 256; ++value)
        every.append(char(value));
    const QString text = hwi_hexadecimalString(every);
    ASSERT_EQ(text.size(), 512);
    EXPECT_EQ(text.left(8), QStringLiteral("00010203"));
    EXPECT_EQ(text.right(8), QStringLiteral("fcfdfeff"));
    EXPECT_EQ(hwc_dataFromHexadecimal(text), every);
    EXPECT_EQ(hwc_dataFromHexadecimal(text.toUpper()), every);
}

TEST(HWCHexadecimal, ShortAndOddTexts)
{
    EXPECT_TRUE(hwc_dataFromHexadecimal(u"").isEmpty());
    EXPECT_TRUE(hwc_dataFromHexadecimal(u"a").isEmpty());
    EXPECT_EQ(hwc_dataFromHexadecimal(u"abc"), bytes({0xab}));
    EXPECT_EQ(hwc_dataFromHexadecimal(u"0123456789ABCDEFx"),
              bytes({0x01, 0x23, 0x45, 0x67, 0x89, 0xab, 0xcd, 0xef}));
    EXPECT_EQ(hwc_dataFromHexadecimal(u"aBcD"), bytes({0xab, 0xcd}));
}

TEST(HWCHexadecimal, EachPairReadsLikeStrtolBase16)
{
    const std::pair<const char16_t *, int> pairs[] = {
        {u"g1", 0x00}, // parsing stops at the invalid first digit
        {u"1g", 0x01}, // and keeps the digits before an invalid second one
        {u"zz", 0x00}, {u" 1", 0x01}, {u"\t9", 0x09}, {u"1 ", 0x01}, {u"+f", 0x0f}, {u"-1", 0xff},
        {u"-f", 0xf1}, {u"0x", 0x00}, {u"x1", 0x00},  {u"  ", 0x00}, {u"--", 0x00}, {u"FF", 0xff},
    };
    for (const auto &[pair, expected] : pairs) {
        const QByteArray data = hwc_dataFromHexadecimal(QStringView(pair));
        ASSERT_EQ(data.size(), 1) << QString::fromUtf16(pair).toStdString();
        EXPECT_EQ(quint8(data[0]), expected) << QString::fromUtf16(pair).toStdString();
    }
    // Invalid pairs never stop the conversion: one byte per pair, whatever the text.
    EXPECT_EQ(hwc_dataFromHexadecimal(u"g11gab"), bytes({0x00, 0x01, 0xab}));
}

TEST(HWCHexadecimal, OnlyTheLowEightBitsOfACharacterCount)
{
    // U+0141 keeps 0x41 ('A'); U+0100 keeps 0x00, which ends the scratch string early.
    EXPECT_EQ(hwc_dataFromHexadecimal(u"\u0141\u0141"), bytes({0xaa}));
    EXPECT_EQ(hwc_dataFromHexadecimal(u"1\u0100"), bytes({0x01}));
    EXPECT_EQ(hwc_dataFromHexadecimal(u"\u01001"), bytes({0x00}));
    // A character outside the basic plane is two units, each read on its own.
    EXPECT_EQ(hwc_dataFromHexadecimal(u"\U0001F600ab").size(), 2);
}

TEST(HWCHexadecimal, MediaHashListPathsByExactExtension)
{
    const std::pair<const char *, bool> paths[] = {
        {"/x/list.mhl", true},
        {"/x/list.MHL", false},
        {"/x/list.Mhl", false},
        {"list.mhl", true},
        {"/x/archive.tar.mhl", true},
        {"/x/list.mhl/", true},
        {"/x/.mhl", true},
        {"/x/list.mhl.txt", false},
        {"/x.mhl/list", false},
        {"/x/listmhl", false},
        {"/x/list.", false},
        {"/x/list.mhl ", false},
        {"", false},
        {"/", false},
    };
    for (const auto &[path, expected] : paths)
        EXPECT_EQ(hwc_isMediaHashListPath(QString::fromUtf8(path)), expected) << path;
}
