#include "Categories/HWCStringAdditions.h"
#include "Categories/HWIDataAdditions.h"

#include <gtest/gtest.h>

TEST(HWCHexadecimal, TextToBytesReadsEachPairLikeStrtolBase16)
{
    const std::pair<std::u16string_view, QByteArray> cases[] = {
        {u"", ""},
        {u"a", ""},                        // a lone digit makes no byte
        {u"abc", "\xab"},                  // an odd last digit is dropped
        {u"aBcD", "\xab\xcd"},             // either case
        {u"g11gab", QByteArray("\x00\x01\xab", 3)}, // an invalid digit ends its pair only
        {u" 1\t9+f-1-f", "\x01\x09\x0f\xff\xf1"},  // white space and signs as strtol takes them
        {u"0xx1--", QByteArray(3, '\0')},
        {u"\u0141\u0141", "\xaa"},         // only the low eight bits of a character count
        {u"1\u0100", "\x01"},              // U+0100 keeps 0, which ends the pair
        {u"\U0001F600ab", QByteArray("\x00\xab", 2)}, // a surrogate pair is two characters
    };
    for (const auto &[text, bytes] : cases) {
        const QStringView view(text.data(), qsizetype(text.size()));
        EXPECT_EQ(hwc_dataFromHexadecimal(view), bytes) << view.toString().toStdString();
    }
}

TEST(HWCHexadecimal, BytesBecomeLowerCaseDigitPairsAndBack)
{
    EXPECT_FALSE(hwi_hexadecimalString(QByteArray()).isNull());
    QByteArray every;
    for (int value = 0; value < 256; ++value)
        every.append(char(value));
    const QString text = hwi_hexadecimalString(every);
    EXPECT_EQ(text.left(8) + text.right(8), QStringLiteral("00010203fcfdfeff"));
    EXPECT_EQ(hwc_dataFromHexadecimal(text), every);
    EXPECT_EQ(hwc_dataFromHexadecimal(text.toUpper()), every);
}
