#pragma once

#include "ui/drawing/HWCGradient.h"

#include <QColor>
#include <QRectF>

class QPainter;

// Drawings of the kits that no screen uses, kept so that the gallery still shows them. Same
// contract as HWCStyleKit: each paints inside frame on the painter's thread and leaves the
// painter's state as it found it.
namespace HWCGalleryKit {

void drawQuicklookWithFrame(QPainter &painter, const QRectF &frame, const QColor &color);
void drawIconOpenInFinderWithFrame(QPainter &painter, const QRectF &frame, const QColor &color);
void drawCancelButtonWithFrame(QPainter &painter, const QRectF &frame, const QColor &color,
                               qreal progressBarTrackRadius);
void drawEjectButtonWithFrame(QPainter &painter, const QRectF &frame);
void drawEjectButtonBussyWithFrame(QPainter &painter, const QRectF &frame);
void drawDoneButtonWithFrame(QPainter &painter, const QRectF &frame, const HWCGradient &gradient);

// The small kit's track, checkboxes and arrows.
const HWCGradient &trackGradient();
void drawProgressBarTrackWithFrame(QPainter &painter, const QRectF &frame,
                                   const HWCGradient &gradient, qreal progressBarTrackRadius);
void drawCheckboxWithFrame(QPainter &painter, const QRectF &frame, const QColor &color);
void drawCheckboxCheckedWithFrame(QPainter &painter, const QRectF &frame, const QColor &color);
void drawCheckboxSemiCheckedWithFrame(QPainter &painter, const QRectF &frame, const QColor &color);
void drawIconDownWithFrame(QPainter &painter, const QRectF &frame, const QColor &color);
void drawIconUpWithFrame(QPainter &painter, const QRectF &frame, const QColor &color);
void drawIconLeftWithFrame(QPainter &painter, const QRectF &frame, const QColor &color);
void drawIconRightWithFrame(QPainter &painter, const QRectF &frame, const QColor &color);

} // namespace HWCGalleryKit
