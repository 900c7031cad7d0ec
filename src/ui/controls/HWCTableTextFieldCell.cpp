#include "ui/controls/HWCTableTextFieldCell.h"

#include "ui/controls/HWCTableHeaderCell.h"
#include "ui/drawing/HWCStyleKit.h"
#include "ui/operations/HWCCompletedWarningsTableRowView.h"

#include <QPainter>

HWCTableTextFieldCell::HWCTableTextFieldCell(RowViewForRow rowViewForRow, QObject *parent)
    : QStyledItemDelegate(parent), m_rowViewForRow(std::move(rowViewForRow))
{
}

void HWCTableTextFieldCell::paint(QPainter *painter, const QStyleOptionViewItem &option,
                                  const QModelIndex &index) const
{
    const HWCCompletedWarningsTableRowView &row = m_rowViewForRow(index.row());
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    const QRect cell = option.rect;
    if (selected)
        row.drawSelectionInRect(*painter, cell);
    else
        row.drawBackgroundInRect(*painter, cell);
    // The separator is drawn in the cell's own coordinates, where the row starts at y 0.
    painter->save();
    painter->translate(0, cell.y());
    row.drawSeparatorInRect(*painter, QRect(cell.x(), 0, cell.width(), cell.height()), selected);
    painter->restore();
    HWCTableHeaderCell::drawTitle(*painter, cell, index.data().toString(),
                                  selected ? HWCStyleKit::selectedTextColor() : QColor(Qt::white));
}

QSize HWCTableTextFieldCell::sizeHint(const QStyleOptionViewItem &option,
                                      const QModelIndex &index) const
{
    return {QStyledItemDelegate::sizeHint(option, index).width() +
                2 * HWCTableHeaderCell::kHeadIndent,
            HWCTableHeaderCell::kLineHeight + 6};
}
