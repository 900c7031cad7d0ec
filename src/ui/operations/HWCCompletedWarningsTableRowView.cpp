#include "ui/operations/HWCCompletedWarningsTableRowView.h"

#include "ui/drawing/HWCStyleKit.h"

#include <QPainter>

namespace {

const QColor kOrange(255, 128, 0);
const QColor kGrey(128, 128, 128);

} // namespace

void HWCCompletedWarningsTableRowView::drawBackgroundInRect(QPainter &painter,
                                                            const QRect &rect) const
{
    painter.fillRect(rect, isEmphasized() ? HWCStyleKit::backgroundColorSlightlyLighter()
                                          : HWCStyleKit::backgroundColorSlightlyDarker());
}

void HWCCompletedWarningsTableRowView::drawSelectionInRect(QPainter &painter,
                                                           const QRect &rect) const
{
    painter.fillRect(rect, HWCStyleKit::errorGradient2Color2());
}

void HWCCompletedWarningsTableRowView::drawSeparatorInRect(QPainter &painter, const QRect &rect,
                                                           bool selected) const
{
    painter.fillRect(QRect(rect.x(), rect.height() - 1, rect.width(), 1),
                     selected ? kOrange : kGrey);
}
