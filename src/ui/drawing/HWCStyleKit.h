#pragma once

#include "ui/drawing/HWCGradient.h"

#include <QColor>
#include <QIcon>
#include <QPalette>
#include <QRectF>
#include <QSizeF>

class QPainter;

// The application's own artwork, drawn in code so that it stays crisp at any size and
// device pixel ratio. Colours and gradients are made once per process and shared; they may
// be read on any thread. A draw method paints into the given painter inside frame and
// leaves the painter's state as it found it; it runs on the thread that owns the painter's
// device. An image method returns a new icon on every call whose pixels are drawn by the
// matching draw method whenever the icon is rendered (nothing is cached).
class HWCStyleKit {
public:
    HWCStyleKit() = delete;

    static const QColor &lineColor();
    static const QColor &fillColor();
    static const QColor &backgroundColor();
    static const QColor &backgroundColorSlightlyDarker();
    static const QColor &backgroundColorSlightlyLighter();
    static const QColor &buttonGradientColor();
    static const QColor &uIButtonBackgroundColor();
    static const QColor &uIButtonBackgroundColorHighlighted();
    static const QColor &errorGradient2Color();
    static const QColor &errorGradient2Color2();
    static const QColor &gradientColor();
    static const QColor &titlebarGrey();
    static const QColor &hoverButtonColor();
    static const QColor &hoverButtonTextColor();
    // Secondary text (paths, figures) on backgroundColor(): 4.5:1 or more.
    static const QColor &secondaryTextColor();
    // Text on the selection colour (errorGradient2Color2) of a table row.
    static const QColor &selectedTextColor();
    // The ring around the control that has the keyboard focus: 3:1 or more on every
    // background of the window.
    static const QColor &focusRingColor();

    // The application's dark palette, so that dialogs, menus, file panels and the other
    // windows look like the main window; every text role meets 4.5:1 on its background.
    static QPalette palette();
    // The same look for what a palette does not reach (tooltips, line edits).
    static QString styleSheet();
    // Gives the running application the Fusion style (which follows the palette on every
    // desktop), the palette and the style sheet. Main thread, once the application exists.
    static void applyToApplication();

    static const HWCGradient &successGradient();
    static const HWCGradient &errorGradient();
    static const HWCGradient &defaultGradient();
    static const HWCGradient &startButtonHighlightGradient();
    static const HWCGradient &warningGradient();
    static const HWCGradient &startButtonGradient();
    // The bar of a cancelled operation: neither success nor failure.
    static const HWCGradient &cancelledGradient();

    // Drop area: a drag is over it / it is empty and invites a drop.
    static void drawActiveDropZoneViewWithFrame(QPainter &painter, const QRectF &frame);
    static void drawEmptyDropZoneViewWithFrame(QPainter &painter, const QRectF &frame);
    static void drawBackgroundViewWithFrame(QPainter &painter, const QRectF &frame);

    static void drawIconCancelWithFrame(QPainter &painter, const QRectF &frame,
                                        const QColor &color);
    static void drawBigButtonWithFrame(QPainter &painter, const QRectF &frame,
                                       const HWCGradient &gradient2);

    // A rounded rectangle of the given radius in the opaque track colour.
    static void drawProgressBarTrackWithFrame(QPainter &painter, const QRectF &frame,
                                              qreal progressBarTrackRadius);
    // Rounded rectangles of the given radius filled with the gradient from top to bottom.
    static void drawProgressBarWithFrame(QPainter &painter, const QRectF &frame,
                                         const HWCGradient &gradient2,
                                         qreal progressBarTrackRadius);
    static void drawSubProgressBarWithFrame(QPainter &painter, const QRectF &frame,
                                            const HWCGradient &gradient2,
                                            qreal progressBarTrackRadius);

    // A band across the bottom-right corner of frame.
    static void drawAlphaRibbonWithFrame(QPainter &painter, const QRectF &frame);
    static void drawBetaRibbonWithFrame(QPainter &painter, const QRectF &frame);

    // Image methods: main thread (icons need the GUI application).
    static QIcon imageOfIconCancelWithSize(const QSizeF &size, const QColor &color);
};
