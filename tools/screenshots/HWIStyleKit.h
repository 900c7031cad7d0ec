#pragma once

#include "ui/drawing/HWCGradient.h"

#include <QColor>
#include <QRectF>

class QPainter;

// The shared interface kit (window background, the toolbar strip and the striped
// sub-progress bar): no screen draws it, the gallery shows it. Same contract as
// HWCStyleKit: shared colours on any thread, draw methods on the painter's thread.
class HWIStyleKit {
public:
    HWIStyleKit() = delete;

    static const QColor &backgroundColor();
    static const QColor &borderColor();
    static const QColor &defaultSubGradientColor();
    static const QColor &defaultSubGradientColor2();

    static const HWCGradient &defaultSubGradient();
    static const HWCGradient &toolbarGradientActive();
    static const HWCGradient &toolbarGradientInactive();

    static void drawWindowBackgroundViewWithFrame(QPainter &painter, const QRectF &frame);
    // The strip along the top of a window; the gradient tells key from non-key.
    static void drawToolbarWithFrame(QPainter &painter, const QRectF &frame,
                                     const HWCGradient &gradient);
    // A rounded bar filled with the gradient and overlaid with the stripe pattern.
    static void drawSubProgressBarWithFrame(QPainter &painter, const QRectF &frame,
                                            const HWCGradient &gradient,
                                            qreal progressBarTrackRadius);
};
