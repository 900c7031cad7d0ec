#include "HWCDrawingView.h"

#include <QPainter>

HWCDrawingView::HWCDrawingView(const QSize &size, HWCDrawingIconEngine::Drawing drawing,
                               QWidget *parent)
    : QWidget(parent), m_drawing(std::move(drawing))
{
    setFixedSize(size);
}

void HWCDrawingView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    m_drawing(painter, rect());
}
