#include "HWIToolbarView.h"

#include "HWIStyleKit.h"

#include <QEvent>
#include <QPainter>

HWIToolbarView::HWIToolbarView(QWidget *parent) : QWidget(parent)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void HWIToolbarView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    HWIStyleKit::drawToolbarWithFrame(painter, rect(),
                                      isActiveWindow() ? HWIStyleKit::toolbarGradientActive()
                                                       : HWIStyleKit::toolbarGradientInactive());
}

bool HWIToolbarView::event(QEvent *event)
{
    if (event->type() == QEvent::WindowActivate || event->type() == QEvent::WindowDeactivate)
        update();
    return QWidget::event(event);
}
