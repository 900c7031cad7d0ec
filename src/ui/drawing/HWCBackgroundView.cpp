#include "ui/drawing/HWCBackgroundView.h"

#include "ui/drawing/HWCStyleKit.h"

#include <QPainter>

HWCBackgroundView::HWCBackgroundView(QWidget *parent) : QWidget(parent)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void HWCBackgroundView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    HWCStyleKit::drawBackgroundViewWithFrame(painter, rect());
}
