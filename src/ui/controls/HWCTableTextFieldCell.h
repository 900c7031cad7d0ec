#pragma once

#include <QStyledItemDelegate>
#include <functional>

class HWCCompletedWarningsTableRowView;

// Draws one cell of the warnings table: its part of the row's drawing (shading, selection,
// separator) from the row view the table hands out for that row, then the text in the
// header cells' white 13-pixel type. The first column leaves room for a disclosure triangle,
// drawn on a row that has a child (pointing down when the row is open in a QTreeView). A
// child row is a detail: its several lines in the secondary colour, on its row's shading.
// Main thread.
class HWCTableTextFieldCell : public QStyledItemDelegate {
    Q_OBJECT

public:
    using RowViewForRow = std::function<const HWCCompletedWarningsTableRowView &(int row)>;

    // The width of the triangle's place at the start of the first column.
    static constexpr int kDisclosureWidth = 14;

    explicit HWCTableTextFieldCell(RowViewForRow rowViewForRow, QObject *parent = nullptr);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    void paintDetail(QPainter &painter, const QStyleOptionViewItem &option,
                     const QModelIndex &index) const;
    static void paintDisclosure(QPainter &painter, const QRect &cell, bool open,
                                const QColor &color);

    RowViewForRow m_rowViewForRow;
};
