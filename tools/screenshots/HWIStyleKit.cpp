#include "HWIStyleKit.h"

#include "ui/drawing/HWCArtwork.h"

#include <QPainter>
#include <QPixmap>

namespace {

struct Palette {
    QColor background = QColor::fromRgbF(0.165f, 0.176f, 0.2f);
    QColor border = QColor::fromRgbF(0.09f, 0.095f, 0.106f);
    QColor defaultSub = QColor::fromRgbF(0.44f, 0.72f, 1.0f);
    QColor defaultSub2 = QColor::fromRgbF(0.36f, 0.62f, 0.89f);
    HWCGradient defaultSubGradient{defaultSub, defaultSub2};
    HWCGradient toolbarActive{QColor::fromRgbF(0.239f, 0.255f, 0.29f),
                              QColor::fromRgbF(0.201f, 0.217f, 0.252f)};
    HWCGradient toolbarInactive{QColor::fromRgbF(0.255f, 0.263f, 0.282f),
                                QColor::fromRgbF(0.243f, 0.251f, 0.27f)};
};

const Palette &palette()
{
    static const Palette instance;
    return instance;
}

// The tile is drawn for a device pixel ratio of 2: 16 by 16 points.
QBrush stripeBrush()
{
    QPixmap stripes(QStringLiteral(":/UI/stripes.png"));
    stripes.setDevicePixelRatio(2.0);
    return QBrush(stripes);
}

} // namespace

const QColor &HWIStyleKit::backgroundColor()
{
    return palette().background;
}
const QColor &HWIStyleKit::borderColor()
{
    return palette().border;
}
const QColor &HWIStyleKit::defaultSubGradientColor()
{
    return palette().defaultSub;
}
const QColor &HWIStyleKit::defaultSubGradientColor2()
{
    return palette().defaultSub2;
}
const HWCGradient &HWIStyleKit::defaultSubGradient()
{
    return palette().defaultSubGradient;
}
const HWCGradient &HWIStyleKit::toolbarGradientActive()
{
    return palette().toolbarActive;
}
const HWCGradient &HWIStyleKit::toolbarGradientInactive()
{
    return palette().toolbarInactive;
}

void HWIStyleKit::drawWindowBackgroundViewWithFrame(QPainter &painter, const QRectF &frame)
{
    painter.fillRect(frame, backgroundColor());
}

void HWIStyleKit::drawToolbarWithFrame(QPainter &painter, const QRectF &frame,
                                       const HWCGradient &gradient)
{
    QPainterPath strip;
    strip.addRect(frame);
    gradient.drawInPath(painter, strip, -90);
    painter.fillRect(QRectF(frame.left(), frame.bottom() - 1, frame.width(), 1), borderColor());
}

void HWIStyleKit::drawSubProgressBarWithFrame(QPainter &painter, const QRectF &frame,
                                              const HWCGradient &gradient,
                                              qreal progressBarTrackRadius)
{
    const QPainterPath bar = HWCArtwork::roundedRect(frame, progressBarTrackRadius);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    gradient.drawInPath(painter, bar, -90);
    painter.setBrushOrigin(frame.topLeft());
    painter.fillPath(bar, stripeBrush());
    painter.restore();
}
