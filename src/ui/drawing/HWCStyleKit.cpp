#include "ui/drawing/HWCStyleKit.h"

#include "ui/drawing/HWCArtwork.h"
#include "ui/drawing/HWCDrawingIconEngine.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>

namespace {

using HWCArtwork::roundedRect;

QColor rgb(qreal red, qreal green, qreal blue, qreal alpha = 1.0)
{
    return QColor::fromRgbF(float(red), float(green), float(blue), float(alpha));
}

// Moves every component, alpha included, the given fraction of the way to target.
QColor blend(const QColor &color, const QColor &target, qreal fraction)
{
    const auto mix = [fraction](float from, float to) {
        return float(from + (to - from) * fraction);
    };
    return QColor::fromRgbF(mix(color.redF(), target.redF()), mix(color.greenF(), target.greenF()),
                            mix(color.blueF(), target.blueF()),
                            mix(color.alphaF(), target.alphaF()));
}

QColor shadow(const QColor &color, qreal level)
{
    return blend(color, Qt::black, level);
}

QColor highlight(const QColor &color, qreal level)
{
    return blend(color, Qt::white, level);
}

struct Colors {
    QColor line = rgb(0.657, 0.657, 0.657);
    QColor successGradient = rgb(0, 0.925, 0);
    QColor successGradient2 = rgb(0, 0.843, 0);
    QColor fill = rgb(1, 1, 1);
    // The fill colour's hue and saturation at a brightness of 0.319 (achromatic white has
    // no hue, which Qt reports as -1).
    QColor background = QColor::fromHsvF(std::max(fill.hsvHueF(), 0.0f), fill.hsvSaturationF(),
                                         0.319f, fill.alphaF());
    QColor backgroundSlightlyDarker = shadow(background, 0.1);
    QColor backgroundSlightlyLighter = highlight(background, 0.1);
    QColor buttonGradient = rgb(0.139, 0.603, 0.853);
    QColor uIButtonBackground = rgb(0.552, 0.564, 0.593);
    QColor uIButtonBackgroundHighlighted = shadow(uIButtonBackground, 0.2);
    QColor withGradient = rgb(1, 0.149, 0);
    QColor withGradient2 = rgb(0.885, 0.125, 0);
    QColor errorGradient2 = rgb(1, 1, 1);
    QColor errorGradient2Color2 = rgb(0.869, 0.587, 0);
    QColor gradient = rgb(0.197, 0.631, 1);
    QColor gradient2 = rgb(0.172, 0.524, 0.829);
    QColor titlebarGrey = rgb(0.201, 0.217, 0.252);
    QColor startButton = rgb(0.334, 0.354, 0.385);
    QColor startButtonHighlight = rgb(0.475, 0.496, 0.525);
    QColor errorGradient2Color3 = rgb(0.997, 0.68, 0);
    QColor hoverButton = rgb(0.222, 0.247, 0.279);
    QColor hoverButtonText = rgb(0.592, 0.593, 0.592);
    QColor secondaryText = rgb(0.88, 0.88, 0.88);
    QColor selectedText = rgb(0.08, 0.08, 0.08);
    QColor focusRing = highlight(gradient, 0.45);
    QColor selection = rgb(0.1, 0.4, 0.65);
    QColor placeholderText = rgb(0.74, 0.74, 0.74);
    QColor link = rgb(0.65, 0.84, 1);
    QColor cancelled = rgb(0.62, 0.63, 0.65);
    QColor cancelled2 = rgb(0.5, 0.51, 0.53);
};

const Colors &colors()
{
    static const Colors instance;
    return instance;
}

// Made after the colours, from them.
struct Gradients {
    const Colors &c = colors();
    HWCGradient success{c.successGradient, c.successGradient2};
    HWCGradient error{c.withGradient, c.withGradient2};
    HWCGradient defaultGradient{c.gradient, c.gradient2};
    HWCGradient startButtonHighlight{c.startButton, c.startButtonHighlight};
    HWCGradient warning{
        QGradientStops{{0.0, c.errorGradient2Color3}, {1.0, c.errorGradient2Color2}}};
    HWCGradient startButton{QGradientStops{{0.01, c.startButtonHighlight},
                                           {0.5, blend(c.startButtonHighlight, c.startButton, 0.5)},
                                           {1.0, c.startButton}}};
    HWCGradient cancelled{c.cancelled, c.cancelled2};
};

const Gradients &gradients()
{
    static const Gradients instance;
    return instance;
}

const QColor kTrackColor = rgb(0.113, 0.119, 0.13);

void fillGradientBar(QPainter &painter, const QRectF &frame, const HWCGradient &gradient,
                     qreal radius)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    gradient.drawInPath(painter, roundedRect(frame, radius), -90);
    painter.restore();
}

} // namespace

const QColor &HWCStyleKit::lineColor()
{
    return colors().line;
}
const QColor &HWCStyleKit::fillColor()
{
    return colors().fill;
}
const QColor &HWCStyleKit::backgroundColor()
{
    return colors().background;
}
const QColor &HWCStyleKit::backgroundColorSlightlyDarker()
{
    return colors().backgroundSlightlyDarker;
}
const QColor &HWCStyleKit::backgroundColorSlightlyLighter()
{
    return colors().backgroundSlightlyLighter;
}
const QColor &HWCStyleKit::buttonGradientColor()
{
    return colors().buttonGradient;
}
const QColor &HWCStyleKit::uIButtonBackgroundColor()
{
    return colors().uIButtonBackground;
}
const QColor &HWCStyleKit::uIButtonBackgroundColorHighlighted()
{
    return colors().uIButtonBackgroundHighlighted;
}
const QColor &HWCStyleKit::errorGradient2Color()
{
    return colors().errorGradient2;
}
const QColor &HWCStyleKit::errorGradient2Color2()
{
    return colors().errorGradient2Color2;
}
const QColor &HWCStyleKit::gradientColor()
{
    return colors().gradient;
}
const QColor &HWCStyleKit::titlebarGrey()
{
    return colors().titlebarGrey;
}
const QColor &HWCStyleKit::hoverButtonColor()
{
    return colors().hoverButton;
}
const QColor &HWCStyleKit::hoverButtonTextColor()
{
    return colors().hoverButtonText;
}
const QColor &HWCStyleKit::secondaryTextColor()
{
    return colors().secondaryText;
}
const QColor &HWCStyleKit::selectedTextColor()
{
    return colors().selectedText;
}
const QColor &HWCStyleKit::focusRingColor()
{
    return colors().focusRing;
}

QPalette HWCStyleKit::palette()
{
    const Colors &c = colors();
    QPalette palette;
    for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive}) {
        palette.setColor(group, QPalette::Window, c.background);
        palette.setColor(group, QPalette::WindowText, Qt::white);
        palette.setColor(group, QPalette::Base, c.backgroundSlightlyDarker);
        palette.setColor(group, QPalette::AlternateBase, c.background);
        palette.setColor(group, QPalette::Text, Qt::white);
        palette.setColor(group, QPalette::PlaceholderText, c.placeholderText);
        palette.setColor(group, QPalette::Button, c.hoverButton);
        palette.setColor(group, QPalette::ButtonText, Qt::white);
        palette.setColor(group, QPalette::BrightText, Qt::white);
        palette.setColor(group, QPalette::Highlight, c.selection);
        palette.setColor(group, QPalette::HighlightedText, Qt::white);
        palette.setColor(group, QPalette::ToolTipBase, c.titlebarGrey);
        palette.setColor(group, QPalette::ToolTipText, Qt::white);
        palette.setColor(group, QPalette::Link, c.link);
        palette.setColor(group, QPalette::LinkVisited, c.link);
        palette.setColor(group, QPalette::Light, c.backgroundSlightlyLighter);
        palette.setColor(group, QPalette::Midlight, c.backgroundSlightlyLighter);
        palette.setColor(group, QPalette::Mid, c.backgroundSlightlyDarker);
        palette.setColor(group, QPalette::Dark, c.titlebarGrey);
        palette.setColor(group, QPalette::Shadow, Qt::black);
    }
    palette.setColor(QPalette::Disabled, QPalette::Window, c.background);
    palette.setColor(QPalette::Disabled, QPalette::Base, c.backgroundSlightlyDarker);
    palette.setColor(QPalette::Disabled, QPalette::Button, c.hoverButton);
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, c.line.darker(130));
    return palette;
}

QString HWCStyleKit::styleSheet()
{
    const Colors &c = colors();
    return QStringLiteral("QToolTip{color:white;background:%1;border:1px solid %2}"
                          "QLineEdit{background:%3;color:white;border:1px solid %2;"
                          "border-radius:3px;padding:3px}"
                          "QLineEdit:focus{border:2px solid %4}")
        .arg(c.titlebarGrey.name(), c.line.name(), c.backgroundSlightlyDarker.name(),
             c.focusRing.name());
}

void HWCStyleKit::applyToApplication()
{
    QApplication::setStyle(QStringLiteral("Fusion"));
    QApplication::setPalette(palette());
    qApp->setStyleSheet(styleSheet());
}

const HWCGradient &HWCStyleKit::successGradient()
{
    return gradients().success;
}
const HWCGradient &HWCStyleKit::errorGradient()
{
    return gradients().error;
}
const HWCGradient &HWCStyleKit::defaultGradient()
{
    return gradients().defaultGradient;
}
const HWCGradient &HWCStyleKit::startButtonHighlightGradient()
{
    return gradients().startButtonHighlight;
}
const HWCGradient &HWCStyleKit::warningGradient()
{
    return gradients().warning;
}
const HWCGradient &HWCStyleKit::startButtonGradient()
{
    return gradients().startButton;
}
const HWCGradient &HWCStyleKit::cancelledGradient()
{
    return gradients().cancelled;
}

void HWCStyleKit::drawBackgroundViewWithFrame(QPainter &painter, const QRectF &frame)
{
    painter.fillRect(frame, backgroundColor());
}

void HWCStyleKit::drawBigButtonWithFrame(QPainter &painter, const QRectF &frame,
                                         const HWCGradient &gradient2)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF body = frame.adjusted(0.5, 0.5, -0.5, -0.5);
    const QPainterPath path = roundedRect(body, std::min(6.0, body.height() / 4));
    gradient2.drawInPath(painter, path, -90);
    painter.setPen(QPen(QColor(0, 0, 0, 90), 1));
    painter.drawPath(path);
    painter.restore();
}

void HWCStyleKit::drawProgressBarTrackWithFrame(QPainter &painter, const QRectF &frame,
                                                qreal progressBarTrackRadius)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(roundedRect(frame, progressBarTrackRadius), kTrackColor);
    painter.restore();
}

void HWCStyleKit::drawProgressBarWithFrame(QPainter &painter, const QRectF &frame,
                                           const HWCGradient &gradient2,
                                           qreal progressBarTrackRadius)
{
    fillGradientBar(painter, frame, gradient2, progressBarTrackRadius);
}

void HWCStyleKit::drawSubProgressBarWithFrame(QPainter &painter, const QRectF &frame,
                                              const HWCGradient &gradient2,
                                              qreal progressBarTrackRadius)
{
    fillGradientBar(painter, frame, gradient2, progressBarTrackRadius);
}

QIcon HWCStyleKit::imageOfIconCancelWithSize(const QSizeF &size, const QColor &color)
{
    return HWCDrawingIconEngine::icon(size, [color](QPainter &painter, const QRectF &frame) {
        drawIconCancelWithFrame(painter, frame, color);
    });
}
