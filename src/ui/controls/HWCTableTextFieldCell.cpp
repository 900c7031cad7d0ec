#include "ui/controls/HWCTableTextFieldCell.h"

#include "ui/controls/HWCTableHeaderCell.h"
#include "ui/drawing/HWCStyleKit.h"
#include "ui/operations/HWCCompletedWarningsTableRowView.h"

#include <QPainter>
#include <QTreeView>

namespace {

// The detail's lines, a little apart from the row above and the row below.
constexpr int kDetailMargin = 4;

int lineCount(const QString &text)
{
    return int(text.count(QLatin1Char('\n'))) + 1;
}

} // namespace

HWCTableTextFieldCell::HWCTableTextFieldCell(RowViewForRow rowViewForRow, QObject *parent)
    : QStyledItemDelegate(parent), m_rowViewForRow(std::move(rowViewForRow))
{
}

void HWCTableTextFieldCell::paint(QPainter *painter, const QStyleOptionViewItem &option,
                                  const QModelIndex &index) const
{
    if (index.parent().isValid()) {
        paintDetail(*painter, option, index);
        return;
    }
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
    const QColor text = selected ? HWCStyleKit::selectedTextColor() : QColor(Qt::white);
    QRect title = cell;
    if (index.column() == 0) {
        const auto *tree = qobject_cast<const QTreeView *>(option.widget);
        if (index.model()->hasChildren(index))
            paintDisclosure(*painter, cell, tree && tree->isExpanded(index), text);
        title.setLeft(cell.left() + kDisclosureWidth);
    }
    HWCTableHeaderCell::drawTitle(*painter, title, index.data().toString(), text);
}

void HWCTableTextFieldCell::paintDetail(QPainter &painter, const QStyleOptionViewItem &option,
                                        const QModelIndex &index) const
{
    const QRect cell = option.rect;
    m_rowViewForRow(index.parent().row()).drawBackgroundInRect(painter, cell);
    const QString detail = index.data().toString();
    if (detail.isEmpty())
        return;
    painter.save();
    QFont font = painter.font();
    font.setPixelSize(HWCTableHeaderCell::kFontPixelSize);
    painter.setFont(font);
    painter.setPen(HWCStyleKit::secondaryTextColor());
    const int indent = kDisclosureWidth + HWCTableHeaderCell::kHeadIndent;
    painter.drawText(cell.adjusted(indent, kDetailMargin, -HWCTableHeaderCell::kHeadIndent, 0),
                     Qt::AlignLeft | Qt::AlignTop, detail);
    painter.restore();
}

void HWCTableTextFieldCell::paintDisclosure(QPainter &painter, const QRect &cell, bool open,
                                            const QColor &color)
{
    const QPointF centre(cell.left() + HWCTableHeaderCell::kHeadIndent + 2,
                         cell.top() + cell.height() / 2.0);
    const double half = 4;
    const QPolygonF triangle =
        open ? QPolygonF{centre + QPointF(-half, -half / 2), centre + QPointF(half, -half / 2),
                         centre + QPointF(0, half)}
             : QPolygonF{centre + QPointF(-half / 2, -half), centre + QPointF(half, 0),
                         centre + QPointF(-half / 2, half)};
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawPolygon(triangle);
    painter.restore();
}

QSize HWCTableTextFieldCell::sizeHint(const QStyleOptionViewItem &option,
                                      const QModelIndex &index) const
{
    const int width =
        QStyledItemDelegate::sizeHint(option, index).width() + 2 * HWCTableHeaderCell::kHeadIndent;
    if (index.parent().isValid())
        return {width, lineCount(index.data().toString()) * HWCTableHeaderCell::kLineHeight +
                           2 * kDetailMargin};
    return {width, HWCTableHeaderCell::kLineHeight + 6};
}
