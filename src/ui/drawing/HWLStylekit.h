#pragma once

#include <QColor>
#include <QRectF>

class QPainter;

// The small kit: the frame around a chosen source. Same contract as HWCStyleKit: the shared
// colour on any thread, the draw method on the painter's thread.
class HWLStylekit {
public:
    HWLStylekit() = delete;

    static const QColor &lineColor();

    // The drop area while it shows a source.
    static void drawDropZoneViewWithFrame(QPainter &painter, const QRectF &frame);
};
