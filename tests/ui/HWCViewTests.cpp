#include "engine/session/HWCSession.h"
#include "ui/controls/HWCHoverButtonCell.h"
#include "ui/drawing/HWCRibbonView.h"
#include "ui/drawing/HWCStyleKit.h"
#include "ui/operations/HWCOperationBackgroundView.h"
#include "ui/support/WidgetSupport.h"
#include "ui/window/HWCViewController.h"

#include <QHBoxLayout>
#include <QImage>
#include <QPainter>
#include <QTest>
#include <gtest/gtest.h>

namespace {

QImage drawn(void (*draw)(QPainter &, const QRectF &), QSize size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    draw(painter, QRectF(QPointF(0, 0), size));
    return image;
}

class ClickCounter : public QWidget {
public:
    int presses = 0;

protected:
    void mousePressEvent(QMouseEvent *) override { ++presses; }
};

} // namespace

TEST(HWCViewController, childrenFillTheirParentThroughResizesAndGoWhenRemoved)
{
    HWCViewController parent;
    auto *first = new QWidget;
    auto *second = new QWidget;
    for (QWidget *child : {first, second}) {
        parent.addChildViewController(child);
        parent.addConstraintsToChildViewController(child);
    }
    parent.show();
    parent.resize(640, 480);
    EXPECT_EQ(first->geometry(), QRect(0, 0, 640, 480));
    EXPECT_EQ(parent.childViewControllers(), (QList<QWidget *>{first, second}));

    QPointer<QWidget> removed(first);
    parent.removeChildViewController(first);
    EXPECT_EQ(parent.childViewControllers(), QList<QWidget *>{second});
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(removed.isNull());
    parent.resize(500, 400);
    EXPECT_EQ(second->geometry(), QRect(0, 0, 500, 400));
}

TEST(HWCRibbonView, drawsTheRibbonOfTheSessionsReleaseType)
{
    HWCSession &session = HWCSession::sharedSession();
    const QString previous = session.releaseType();
    const QSize size(38, 38);
    const QImage alpha = drawn(HWCStyleKit::drawAlphaRibbonWithFrame, size);
    const QImage beta = drawn(HWCStyleKit::drawBetaRibbonWithFrame, size);
    QImage nothing(size, QImage::Format_ARGB32_Premultiplied);
    nothing.fill(Qt::transparent);
    ASSERT_NE(alpha, beta);
    ASSERT_NE(alpha, nothing);

    const std::pair<const char *, const QImage *> cases[] = {
        {"Alpha", &alpha}, {"Beta", &beta}, {"Release", &nothing}, {"alpha", &nothing}};
    HWCRibbonView ribbon;
    ribbon.resize(size);
    for (const auto &[type, expected] : cases) {
        session.setReleaseType(QString::fromLatin1(type));
        EXPECT_EQ(rendered(ribbon), *expected) << type;
    }
    session.setReleaseType(previous);
}

TEST(HWCHoverButtonCell, showsItsBezelOnlyUnderThePointer)
{
    QWidget window;
    auto *layout = new QHBoxLayout(&window);
    auto *button = new HWCHoverButtonCell(QStringLiteral("Show"));
    auto *elsewhere = new QWidget;
    elsewhere->setFixedSize(100, 40);
    layout->addWidget(button);
    layout->addWidget(elsewhere);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));

    // A point of the bezel left of the title.
    const auto bezel = [&] { return rendered(*button).pixel(3, button->height() / 2); };
    EXPECT_EQ(qAlpha(bezel()), 0);
    QTest::mouseMove(button, button->rect().center());
    EXPECT_TRUE(button->isHovered());
    EXPECT_EQ(QColor(bezel()).rgb(), HWCStyleKit::hoverButtonColor().rgb());
    QTest::mouseMove(elsewhere, elsewhere->rect().center());
    EXPECT_FALSE(button->isHovered());
    EXPECT_EQ(qAlpha(bezel()), 0);
}

TEST(HWCOperationBackgroundView, swallowsClicksThatAPlainViewPassesOn)
{
    ClickCounter parent;
    parent.resize(200, 100);
    auto *plain = new QWidget(&parent);
    plain->setGeometry(0, 0, 100, 100);
    auto *background = new HWCOperationBackgroundView(&parent);
    background->setGeometry(100, 0, 100, 100);
    parent.show();
    QTest::mouseClick(plain, Qt::LeftButton);
    EXPECT_EQ(parent.presses, 1);
    QTest::mouseClick(background, Qt::LeftButton);
    EXPECT_EQ(parent.presses, 1);
}

// Every text colour of the window against the background it is drawn on, by the WCAG
// formula: 4.5:1 for text, 3:1 for the focus ring.
TEST(HWCStyleKit, everyTextColourPairMeetsTheContrastItNeeds)
{
    const auto luminance = [](const QColor &color) {
        const auto linear = [](double channel) {
            return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
               0.0722 * linear(color.blueF());
    };
    const auto contrast = [&](const QColor &a, const QColor &b) {
        const double first = luminance(a);
        const double second = luminance(b);
        return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
    };
    using Kit = HWCStyleKit;
    const QPalette palette = Kit::palette();
    const QColor white(Qt::white);
    const struct {
        const char *what;
        QColor text;
        QColor background;
        double needed;
    } pairs[] = {
        {"title", white, Kit::titlebarGrey(), 4.5},
        {"names and outcomes", white, Kit::backgroundColor(), 4.5},
        {"paths, figures, detail", Kit::secondaryTextColor(), Kit::backgroundColor(), 4.5},
        {"a source's details", Kit::secondaryTextColor(), Kit::backgroundColorSlightlyLighter(),
         4.5},
        {"even rows", white, Kit::backgroundColorSlightlyDarker(), 4.5},
        {"odd rows and header", white, Kit::backgroundColorSlightlyLighter(), 4.5},
        {"selected row", Kit::selectedTextColor(), Kit::errorGradient2Color2(), 4.5},
        {"hovered button", white, Kit::hoverButtonColor(), 4.5},
        {"pressed button", Kit::secondaryTextColor(), Kit::hoverButtonColor(), 4.5},
        {"dialog text", palette.color(QPalette::WindowText), palette.color(QPalette::Window), 4.5},
        {"field text", palette.color(QPalette::Text), palette.color(QPalette::Base), 4.5},
        {"placeholder", palette.color(QPalette::PlaceholderText), palette.color(QPalette::Base),
         4.5},
        {"button text", palette.color(QPalette::ButtonText), palette.color(QPalette::Button), 4.5},
        {"selection", palette.color(QPalette::HighlightedText), palette.color(QPalette::Highlight),
         4.5},
        {"link", palette.color(QPalette::Link), palette.color(QPalette::Window), 4.5},
        {"tooltip", palette.color(QPalette::ToolTipText), palette.color(QPalette::ToolTipBase),
         4.5},
        {"focus ring", Kit::focusRingColor(), Kit::backgroundColorSlightlyLighter(), 3.0},
        {"focus ring on the title bar", Kit::focusRingColor(), Kit::titlebarGrey(), 3.0},
    };
    for (const auto &pair : pairs)
        EXPECT_GE(contrast(pair.text, pair.background), pair.needed) << pair.what;
}
