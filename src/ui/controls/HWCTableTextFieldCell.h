#pragma once

#include <QStyledItemDelegate>
#include <functional>

class HWCCompletedWarningsTableRowView;

// Draws one cell of the warnings table: its part of the row's drawing (shading, selection,
// separator) from the row view the table hands out for that row, then the text in the
// header cells' white 13-pixel type. Main thread.
class HWCTableTextFieldCell : public QStyledItemDelegate {
    Q_OBJECT

public:
    using RowViewForRow = std::function<const HWCCompletedWarningsTableRowView &(int row)>;

    explicit HWCTableTextFieldCell(RowViewForRow rowViewForRow, QObject *parent = nullptr);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    RowViewForRow m_rowViewForRow;
};
