#include "ui/drawing/HWCBackgroundView.h"

#include "ui/drawing/HWCStyleKit.h"

#include <QPainter>

// Not marked opaque: while a screen fades, Qt would then skip painting what lies beneath
// it, and the fading screen would show the dark window frame through it.
HWCBackgroundView::HWCBackgroundView(QWidget *parent) : QWidget(parent)
{
}

void HWCBackgroundView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    HWCStyleKit::drawBackgroundViewWithFrame(painter, rect());
}
