#include "ui/controls/HWIProgressIndicator.h"
#include "ui/support/WidgetSupport.h"

#include <QAccessible>
#include <QImage>
#include <QTest>
#include <gtest/gtest.h>

namespace {

// A 200 by 20 bar showing value at once, as the main or the secondary bar.
struct Bar {
    explicit Bar(double value, bool sub = false)
    {
        indicator.resize(200, 20);
        if (sub) {
            indicator.setSubDoubleValue(value);
            indicator.setInternalSubDoubleValue(value);
        } else {
            indicator.setDoubleValue(value);
            indicator.setInternalDoubleValue(value);
        }
    }
    HWIProgressIndicator indicator;
};

// How many columns of the middle row differ from the empty track.
int paintedColumns(const QImage &image)
{
    Bar empty(0);
    const QImage track = rendered(empty.indicator);
    const int row = image.height() / 2;
    int columns = 0;
    for (int x = 0; x < image.width(); ++x)
        columns += image.pixel(x, row) != track.pixel(x, row);
    return columns;
}

struct BarCase {
    double value;
    double rectWidth;
    int painted;
};

} // namespace

TEST(HWIProgressIndicator, barWidthIsRoundedToWholePointsWithAOnePointMinimum)
{
    const BarCase cases[] = {
        {0.0, 1, 0},      // the stored value 0 draws nothing, although the rectangle is 1 wide
        {0.2, 1, 1},      // 0.4 points rounds to 0, drawn as 1
        {0.25, 1, 1},     // 0.5 rounds away from zero
        {0.75, 2, 2},     // 1.5 rounds away from zero
        {50.0, 100, 100}, // half the track
        {100.0, 200, 200},
        {-5.0, 1, 1}, // below the minimum: the 1-point minimum, stored value not above 0
    };
    for (bool sub : {false, true}) {
        for (const BarCase &c : cases) {
            SCOPED_TRACE(testing::Message() << "value " << c.value << (sub ? " sub" : " main"));
            Bar bar(c.value, sub);
            const QRectF rect =
                sub ? bar.indicator.subProgressBarRect() : bar.indicator.progressBarRect();
            EXPECT_EQ(rect, QRectF(0, 0, c.rectWidth, 20));
            EXPECT_EQ(paintedColumns(rendered(bar.indicator)), c.value > 0 ? c.painted : 0);
        }
    }
}

TEST(HWIProgressIndicator, aValueAboveTheTopIsNotClamped)
{
    Bar bar(150);
    EXPECT_EQ(bar.indicator.progressBarRect(), QRectF(0, 0, 300, 20));
    // The track's top-right corner is rounded away; a bar wider than the track still
    // covers it, a clamped one would round it too.
    Bar full(100);
    EXPECT_EQ(qAlpha(rendered(full.indicator).pixel(199, 0)), 0);
    EXPECT_EQ(qAlpha(rendered(bar.indicator).pixel(199, 0)), 255);
}

TEST(HWIProgressIndicator, themeSelectsTheGradientOfBothBars)
{
    const auto look = [](HWCTheme theme) {
        Bar bar(40);
        bar.indicator.setSubDoubleValue(80);
        bar.indicator.setInternalSubDoubleValue(80);
        bar.indicator.setTheme(theme);
        return rendered(bar.indicator);
    };
    const QImage success = look(HWCTheme::Success);
    const QList<QImage> looks = {look(HWCTheme::Default), success, look(HWCTheme::Error),
                                 look(HWCTheme::Cancelled), look(HWCTheme::Warning)};
    for (qsizetype i = 0; i < looks.size(); ++i)
        EXPECT_EQ(looks.count(looks[i]), 1) << "theme look " << i;
    // The secondary bar beyond the main one shows the same theme.
    EXPECT_EQ(success.pixel(120, 10), success.pixel(60, 10));
}

// Screen readers meet a progress bar with its value, not a plain widget.
TEST(HWIProgressIndicator, isAProgressBarWithItsValueToScreenReaders)
{
    Bar bar(40);
    bar.indicator.setSubDoubleValue(42);
    QAccessibleInterface *face = QAccessible::queryAccessibleInterface(&bar.indicator);
    ASSERT_NE(face, nullptr);
    EXPECT_EQ(face->role(), QAccessible::ProgressBar);
    ASSERT_NE(face->valueInterface(), nullptr);
    EXPECT_EQ(face->valueInterface()->currentValue().toDouble(), 42.0);
    EXPECT_EQ(face->text(QAccessible::Description), "42 percent");
}

TEST(HWIProgressIndicator, aRiseAnimatesAndAFallJumpsBack)
{
    for (bool sub : {false, true}) {
        HWIProgressIndicator indicator;
        indicator.resize(200, 20);
        const auto set = [&](double value) {
            sub ? indicator.setSubDoubleValue(value) : indicator.setDoubleValue(value);
        };
        const auto drawn = [&] {
            return sub ? indicator.internalSubDoubleValue() : indicator.internalDoubleValue();
        };
        set(80);
        EXPECT_EQ(drawn(), 0); // the rise starts from where the bar stood
        // The stored value, not the drawn one, decides that the 1-point bar shows.
        EXPECT_EQ(paintedColumns(rendered(indicator)), 1);
        EXPECT_TRUE(QTest::qWaitFor([&] { return drawn() == 80; }, 10000));
        set(90);
        set(20); // a fall in the middle of a rise stops it and lands at once
        EXPECT_EQ(drawn(), 20);
        EXPECT_EQ(sub ? indicator.subDoubleValue() : indicator.doubleValue(), 20);
    }
}
