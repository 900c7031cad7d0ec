#include "HWIWindowBackgroundView.h"

#include "HWIStyleKit.h"

#include <QPainter>

HWIWindowBackgroundView::HWIWindowBackgroundView(QWidget *parent) : QWidget(parent)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void HWIWindowBackgroundView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    HWIStyleKit::drawWindowBackgroundViewWithFrame(painter, rect());
}
