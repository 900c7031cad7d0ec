#pragma once

#include "ui/drawing/HWCGradient.h"

#include <QColor>
#include <QIcon>
#include <QRectF>
#include <QSizeF>

class QPainter;

// A small kit of checkboxes, arrows, a track and the frame around a chosen source. Same
// contract as HWCStyleKit: shared colours on any thread, draw methods on the painter's
// thread, image methods (new vector icons on each call) on the main thread.
class HWLStylekit {
public:
    HWLStylekit() = delete;

    static const QColor &withGradientColor();
    static const QColor &trackColor();
    static const QColor &trackColor2();
    static const QColor &lineColor();
    static const QColor &backgroundColor();
    static const QColor &fillColor();
    static const HWCGradient &trackGradient();

    static void drawProgressBarTrackWithFrame(QPainter &painter, const QRectF &frame,
                                              const HWCGradient &gradient,
                                              qreal progressBarTrackRadius);
    // The drop area while it shows a source.
    static void drawDropZoneViewWithFrame(QPainter &painter, const QRectF &frame);
    static void drawCheckboxWithFrame(QPainter &painter, const QRectF &frame, const QColor &color);
    static void drawCheckboxCheckedWithFrame(QPainter &painter, const QRectF &frame,
                                             const QColor &color);
    static void drawCheckboxSemiCheckedWithFrame(QPainter &painter, const QRectF &frame,
                                                 const QColor &color);
    static void drawIconDownWithFrame(QPainter &painter, const QRectF &frame, const QColor &color);
    static void drawIconUpWithFrame(QPainter &painter, const QRectF &frame, const QColor &color);
    static void drawIconLeftWithFrame(QPainter &painter, const QRectF &frame, const QColor &color);
    static void drawIconRightWithFrame(QPainter &painter, const QRectF &frame, const QColor &color);

    static QIcon imageOfCheckboxWithSize(const QSizeF &size, const QColor &color);
    static QIcon imageOfCheckboxCheckedWithSize(const QSizeF &size, const QColor &color);
    static QIcon imageOfCheckboxSemiCheckedWithSize(const QSizeF &size, const QColor &color);
    static QIcon imageOfIconDownWithSize(const QSizeF &size, const QColor &color);
    static QIcon imageOfIconUpWithSize(const QSizeF &size, const QColor &color);
    static QIcon imageOfIconLeftWithSize(const QSizeF &size, const QColor &color);
    static QIcon imageOfIconRightWithSize(const QSizeF &size, const QColor &color);
};
