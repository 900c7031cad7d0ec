#pragma once

#include "ui/operations/HWCCompletedWarningsTableRowView.h"

#include <QHash>
#include <QWidget>
#include <memory>
#include <vector>

class HWCCompletedWarningsTableModel;
class HWCCompletedViewController;
class HWCTableHeaderView;
class HWCSourceOperation;
class QLabel;
class QLineEdit;
class QSortFilterProxyModel;
class QTreeView;
class QToolButton;

// The result panel of an operation with at least one file that did not read successfully
// or that no MHL lists: the outcome above a filter box and a dark table of every such file
// (path, state, size, speed), in list order until a column header sorts it, and below it
// the detail of the current row (also its tooltip), which a disclosure folds away. A failed
// row opens in place to show its detail: its triangle, or Right and Left on it. The table is
// one Tab stop. Double click or Return on a row reveals that file in the file manager; Ctrl+C
// copies the selected rows' paths and states as text. Main thread.
class HWCCompletedWarningsViewController : public QWidget {
    Q_OBJECT

public:
    explicit HWCCompletedWarningsViewController(std::shared_ptr<HWCSourceOperation> operation,
                                                QWidget *parent = nullptr);
    ~HWCCompletedWarningsViewController() override;

    HWCCompletedViewController *summary() const { return m_summary; }
    QTreeView *tableView() const { return m_tableView; }
    QLineEdit *filterField() const { return m_filterField; }
    QLabel *detailPane() const { return m_detailPane; }

    // The drawing of the row: the one already showing it, else one from the reuse queue
    // (with the shading it was made with), else a new one shaded by the row's parity.
    const HWCCompletedWarningsTableRowView &rowViewForRow(int row);

    // "path<TAB>state" for each selected row, one a line, in the order shown.
    QString selectedRowsText() const;
    void revealRow(int row) const;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    // Puts the drawings of rows that have left the visible part back into the reuse queue.
    void recycleRowViews();
    void setUpTable();
    void showDetailOfRow(const QModelIndex &index);
    void fitPathColumn();
    // Opens or closes a failed row in place; other rows have nothing to open.
    void setRowOpen(const QModelIndex &index, bool open);
    bool isOnDisclosure(const QPoint &viewportPosition) const;
    // The row of the table a row or a detail belongs to.
    static int fileRow(const QModelIndex &index);

    std::shared_ptr<HWCSourceOperation> m_representedObject;
    HWCCompletedViewController *m_summary;
    // Made before the table, so that Tab reaches it first.
    QLineEdit *m_filterField;
    QTreeView *m_tableView;
    HWCTableHeaderView *m_headerView;
    HWCCompletedWarningsTableModel *m_model;
    QSortFilterProxyModel *m_sortedModel;
    QToolButton *m_detailDisclosure;
    QLabel *m_detailPane;
    bool m_fittingColumns = false;
    bool m_columnsSizedByUser = false;
    std::vector<std::unique_ptr<HWCCompletedWarningsTableRowView>> m_rowViews;
    QHash<int, HWCCompletedWarningsTableRowView *> m_rowViewsInUse;
    QList<HWCCompletedWarningsTableRowView *> m_reuseQueue;
};
