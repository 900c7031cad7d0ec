#pragma once

#include "ui/controls/HWCTableHeaderCell.h"

#include <QHeaderView>
#include <vector>

// The dark column header of the warnings table: a lighter band on which every section is
// drawn by its HWCTableHeaderCell, the sorted one with an arrow. Main thread.
class HWCTableHeaderView : public QHeaderView {
    Q_OBJECT

public:
    explicit HWCTableHeaderView(QWidget *parent = nullptr);

    // Replaces the cell of every column by a new one made from the column's current title.
    void replaceHeaderCells();
    const std::vector<HWCTableHeaderCell> &headerCells() const { return m_cells; }

protected:
    void paintEvent(QPaintEvent *event) override;
    void paintSection(QPainter *painter, const QRect &rect, int logicalIndex) const override;

private:
    std::vector<HWCTableHeaderCell> m_cells;
};
