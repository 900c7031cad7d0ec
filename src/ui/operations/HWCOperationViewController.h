#pragma once

#include "engine/operations/HWCOperationController.h"
#include "ui/window/HWCViewController.h"

#include <QList>
#include <QPointer>
#include <memory>

class HWCHistoryNotices;
class HWCHoverButtonCell;
class HWCOperationTableCellView;
class HWCSourceOperation;
class QAbstractButton;
class QScrollArea;
class QVBoxLayout;

// The screen shown while operations run and after: one row per operation of the
// controller (one operation fills the list; several are compact rows, each with its own
// result), and below the list "Done" (removes every
// operation, after asking when one still runs; the screen then leaves its parent) and the
// action buttons: "Export" while a verification is listed saves the verification logs, each
// its own file (HWCLogExport); "Show" once a creation has written its MHL reveals the new
// MHL files; a list of both kinds has both. A result panel says when the history could not
// record its run (HWCHistoryNotices). A result's "Export Report…" exports the report of every
// finished operation listed, one card or a shooting day (HWCReportExport). Rows are kept for
// their operation across list changes and handed to another operation when theirs has left. A
// folder or list dropped on the screen or chosen with Ctrl+O is announced by sourceArrived(),
// to become a new operation. Main thread.
class HWCOperationViewController : public HWCViewController {
    Q_OBJECT
    Q_PROPERTY(bool allOperationsDone READ allOperationsDone NOTIFY allOperationsDoneChanged)

public:
    // The space under the list that holds the buttons; it is not part of a row.
    static constexpr int kTableViewBottomSpace = 56;

    explicit HWCOperationViewController(HWCOperationController *controller,
                                        QWidget *parent = nullptr);
    ~HWCOperationViewController() override;

    HWCOperationController *representedObject() const { return m_representedObject; }
    const HWCOperationController::Operations &operations() const;

    // True when, at the last completion, no listed operation was executing.
    bool allOperationsDone() const { return m_allOperationsDone; }
    // Set the first time a row gets the warnings panel; never cleared.
    bool warnings() const { return m_warnings; }

    QScrollArea *tableView() const { return m_tableView; }
    // Each hidden while it has nothing to act on.
    QAbstractButton *exportButton() const;
    QAbstractButton *showButton() const;
    QAbstractButton *doneButton() const;
    int numberOfRows() const { return int(operations().size()); }
    // The row's view if it exists; never makes one.
    HWCOperationTableCellView *cellViewAtRow(int row) const;
    // The height of the row when one operation fills the list.
    int rowHeight() const { return m_rowHeight; }

    // Removes every operation; asks first while one has not finished.
    void done();
    // The open panel (Ctrl+O); its choice is announced by sourceArrived().
    void browse();
    // Places the result panel of the stopped operation in container, unless it holds one.
    void addCompletedViewToView(QWidget *container,
                                const std::shared_ptr<HWCSourceOperation> &operation);

Q_SIGNALS:
    void allOperationsDoneChanged();
    // A path given to the screen while it is shown: dropped or chosen in the open panel.
    void sourceArrived(const QString &path);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void windowResized();
    void layoutRows();
    void orderTabs();
    void operationsChanged();
    void completedOperation();
    void reloadData();
    HWCOperationTableCellView *takeCellView(const std::shared_ptr<HWCSourceOperation> &op,
                                            QList<HWCOperationTableCellView *> &unused);
    void setAllOperationsDone(bool done);
    void updateActionButtons();
    void revealMHLFiles();
    void exportLog();
    void exportReport();

    QPointer<HWCOperationController> m_representedObject;
    QScrollArea *m_tableView;
    QVBoxLayout *m_rows;
    QList<HWCOperationTableCellView *> m_cellViews;
    HWCHoverButtonCell *m_exportButton;
    HWCHoverButtonCell *m_showButton;
    HWCHoverButtonCell *m_doneButton;
    HWCHistoryNotices *m_historyNotices;
    int m_rowHeight = 0;
    bool m_layoutPending = false;
    bool m_allOperationsDone = false;
    bool m_warnings = false;
};
