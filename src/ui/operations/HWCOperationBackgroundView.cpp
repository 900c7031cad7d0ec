#include "ui/operations/HWCOperationBackgroundView.h"

#include <QMouseEvent>

void HWCOperationBackgroundView::mousePressEvent(QMouseEvent *event)
{
    event->accept();
}
