#include "ui/controls/HWCTableHeaderView.h"

#include "ui/drawing/HWCStyleKit.h"

#include <QPaintEvent>
#include <QPainter>

HWCTableHeaderView::HWCTableHeaderView(QWidget *parent) : QHeaderView(Qt::Horizontal, parent)
{
    setHighlightSections(false);
    setFixedHeight(HWCTableHeaderCell::kLineHeight + 8);
}

void HWCTableHeaderView::replaceHeaderCells()
{
    m_cells.clear();
    if (!model())
        return;
    for (int column = 0; column < model()->columnCount(); ++column)
        m_cells.emplace_back(model()->headerData(column, Qt::Horizontal).toString());
}

void HWCTableHeaderView::paintEvent(QPaintEvent *event)
{
    {
        QPainter painter(viewport());
        painter.fillRect(event->rect(), HWCStyleKit::backgroundColorSlightlyLighter());
    }
    QHeaderView::paintEvent(event);
}

void HWCTableHeaderView::paintSection(QPainter *painter, const QRect &rect, int logicalIndex) const
{
    if (logicalIndex < 0 || size_t(logicalIndex) >= m_cells.size())
        return;
    m_cells[size_t(logicalIndex)].drawWithFrame(*painter, rect);
    if (logicalIndex != sortIndicatorSection())
        return;
    const QString arrow =
        sortIndicatorOrder() == Qt::AscendingOrder ? QStringLiteral("▲") : QStringLiteral("▼");
    painter->save();
    painter->setPen(Qt::white);
    painter->drawText(rect.adjusted(0, 0, -8, 0), Qt::AlignRight | Qt::AlignVCenter, arrow);
    painter->restore();
}
