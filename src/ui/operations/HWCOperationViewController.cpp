#include "ui/operations/HWCOperationViewController.h"

#include "engine/operations/HWCSource.h"
#include "engine/operations/HWCSourceOperation.h"
#include "ui/controls/HWCHoverButtonCell.h"
#include "ui/drawing/HWCStyleKit.h"
#include "ui/history/HWCReportExport.h"
#include "ui/operations/HWCCompletedViewController.h"
#include "ui/operations/HWCHistoryNotices.h"
#include "ui/operations/HWCLogExport.h"
#include "ui/operations/HWCOperationBackgroundView.h"
#include "ui/operations/HWCOperationTableCellView.h"
#include "ui/operations/HWCStopConfirmation.h"
#include "ui/sources/HWCSourceCollectionOpenPanel.h"
#include "ui/window/HWCScreenFactory.h"
#include "ui/window/HWCWorkspaceAdditions.h"

#include <QAbstractFileIconProvider>
#include <QBoxLayout>
#include <QDropEvent>
#include <QFileInfo>
#include <QMimeData>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>

HWCOperationViewController::HWCOperationViewController(HWCOperationController *controller,
                                                       QWidget *parent)
    : HWCViewController(parent), m_representedObject(controller),
      m_tableView(new QScrollArea(this)), m_rows(nullptr),
      m_exportButton(new HWCHoverButtonCell(tr("Export"), this)),
      m_showButton(new HWCHoverButtonCell(tr("Show"), this)),
      m_doneButton(new HWCHoverButtonCell(tr("Done"), this)),
      m_historyNotices(new HWCHistoryNotices(controller, this))
{
    auto *background = new HWCOperationBackgroundView(this);
    addChildViewController(background);
    addConstraintsToChildViewController(background);

    auto *rows = new QWidget;
    rows->setAttribute(Qt::WA_TranslucentBackground);
    m_rows = new QVBoxLayout(rows);
    m_rows->setContentsMargins(0, 0, 0, 0);
    m_rows->setSpacing(0);
    m_rows->setSizeConstraint(QLayout::SetMinAndMaxSize);
    m_tableView->setWidget(rows);
    m_tableView->setWidgetResizable(true);
    m_tableView->setFrameShape(QFrame::NoFrame);
    m_tableView->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_tableView->setStyleSheet(
        QStringLiteral("QScrollArea{background:transparent}"
                       "QScrollBar:vertical{background:%1;width:10px;margin:0}"
                       "QScrollBar::handle:vertical{background:%2;border-radius:4px;"
                       "min-height:24px;margin:1px}"
                       "QScrollBar::add-line,QScrollBar::sub-line{height:0}"
                       "QScrollBar::add-page,QScrollBar::sub-page{background:none}")
            .arg(HWCStyleKit::backgroundColorSlightlyDarker().name(),
                 HWCStyleKit::uIButtonBackgroundColor().name()));
    m_tableView->viewport()->setAutoFillBackground(false);
    m_tableView->setAccessibleName(tr("Operations"));
    // The rows take the focus, not the area around them.
    m_tableView->setFocusPolicy(Qt::NoFocus);

    for (HWCHoverButtonCell *button : {m_exportButton, m_showButton, m_doneButton})
        button->setAccessibleName(button->text());
    connect(m_exportButton, &QAbstractButton::clicked, this,
            &HWCOperationViewController::exportLog);
    connect(m_showButton, &QAbstractButton::clicked, this,
            &HWCOperationViewController::revealMHLFiles);
    connect(m_doneButton, &QAbstractButton::clicked, this, &HWCOperationViewController::done);
    auto *buttons = new QHBoxLayout;
    buttons->setContentsMargins(24, 0, 24, 0);
    buttons->addWidget(m_exportButton);
    buttons->addWidget(m_showButton);
    buttons->addStretch(1);
    buttons->addWidget(m_doneButton);
    auto *screen = new QWidget(this);
    auto *column = new QVBoxLayout(screen);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_tableView, 1);
    auto *bottom = new QWidget(screen);
    bottom->setFixedHeight(kTableViewBottomSpace);
    bottom->setLayout(buttons);
    column->addWidget(bottom);
    addChildViewController(screen);
    addConstraintsToChildViewController(screen);

    setAcceptDrops(true);
    auto *open = new QShortcut(QKeySequence::Open, this);
    open->setContext(Qt::WidgetWithChildrenShortcut);
    connect(open, &QShortcut::activated, this, &HWCOperationViewController::browse);
    if (controller) {
        connect(controller, &HWCOperationController::operationsChanged, this,
                &HWCOperationViewController::operationsChanged);
        connect(controller, &HWCOperationController::completedOperation, this,
                &HWCOperationViewController::completedOperation);
    }
    windowResized();
    reloadData();
    updateActionButtons();
}

HWCOperationViewController::~HWCOperationViewController() = default;

const HWCOperationController::Operations &HWCOperationViewController::operations() const
{
    static const HWCOperationController::Operations none;
    return m_representedObject ? m_representedObject->operations() : none;
}

QAbstractButton *HWCOperationViewController::exportButton() const
{
    return m_exportButton;
}

QAbstractButton *HWCOperationViewController::showButton() const
{
    return m_showButton;
}

QAbstractButton *HWCOperationViewController::doneButton() const
{
    return m_doneButton;
}

HWCOperationTableCellView *HWCOperationViewController::cellViewAtRow(int row) const
{
    return row >= 0 && row < m_cellViews.size() ? m_cellViews[row] : nullptr;
}

void HWCOperationViewController::resizeEvent(QResizeEvent *event)
{
    HWCViewController::resizeEvent(event);
    windowResized();
}

void HWCOperationViewController::windowResized()
{
    m_rowHeight = std::max(0, height() - kTableViewBottomSpace);
    layoutRows();
}

void HWCOperationViewController::layoutRows()
{
    // One operation fills the list; several are compact rows, as tall as their content.
    m_layoutPending = false;
    const bool single = m_cellViews.size() == 1;
    const int width = m_tableView->viewport()->width();
    for (HWCOperationTableCellView *cell : std::as_const(m_cellViews)) {
        // Wrapped texts are as tall as the row's width makes them.
        const int content = cell->layout()->hasHeightForWidth()
                                ? cell->layout()->totalHeightForWidth(width)
                                : cell->sizeHint().height();
        const int height = single ? m_rowHeight : content;
        if (cell->height() != height || cell->minimumHeight() != height)
            cell->setFixedHeight(height);
    }
}

bool HWCOperationViewController::eventFilter(QObject *watched, QEvent *event)
{
    // A row whose content changed (a result panel came, a text wrapped anew) is measured
    // again, once for all the changes of one turn of the event loop.
    if (event->type() == QEvent::LayoutRequest && !m_layoutPending) {
        m_layoutPending = true;
        QMetaObject::invokeMethod(this, &HWCOperationViewController::layoutRows,
                                  Qt::QueuedConnection);
    }
    return HWCViewController::eventFilter(watched, event);
}

void HWCOperationViewController::operationsChanged()
{
    reloadData();
    updateActionButtons();
    if (!operations().isEmpty())
        return;
    if (auto *parent = qobject_cast<HWCViewController *>(parentWidget()))
        parent->removeChildViewController(this);
}

HWCOperationTableCellView *
HWCOperationViewController::takeCellView(const std::shared_ptr<HWCSourceOperation> &operation,
                                         QList<HWCOperationTableCellView *> &unused)
{
    for (HWCOperationTableCellView *cell : std::as_const(unused)) {
        if (cell->objectValue() == operation) {
            unused.removeOne(cell);
            return cell;
        }
    }
    // A row whose operation has left the list serves the new one.
    HWCOperationTableCellView *cell =
        unused.isEmpty() ? new HWCOperationTableCellView : unused.takeFirst();
    cell->installEventFilter(this);
    cell->setImage(QAbstractFileIconProvider().icon(QFileInfo(operation->source()->path())));
    cell->setObjectValue(operation);
    return cell;
}

void HWCOperationViewController::reloadData()
{
    QList<HWCOperationTableCellView *> unused = m_cellViews;
    // Rows that keep their operation are found first, so that none is handed over.
    for (HWCOperationTableCellView *cell : std::as_const(m_cellViews)) {
        if (!operations().contains(cell->objectValue()))
            unused.move(unused.indexOf(cell), unused.size() - 1);
    }
    QList<HWCOperationTableCellView *> cells;
    for (const auto &operation : operations())
        cells.append(takeCellView(operation, unused));
    for (HWCOperationTableCellView *cell : std::as_const(unused)) {
        cell->setObjectValue(nullptr);
        delete cell;
    }
    for (HWCOperationTableCellView *cell : std::as_const(cells)) {
        m_rows->removeWidget(cell);
        m_rows->addWidget(cell);
    }
    // A row that just came (a card dropped while others run) is scrolled into view.
    QWidget *arrived = nullptr;
    for (HWCOperationTableCellView *cell : std::as_const(cells))
        arrived = m_cellViews.contains(cell) ? arrived : cell;
    m_cellViews = cells;
    orderTabs();
    layoutRows();
    if (arrived && m_cellViews.size() > 1)
        QMetaObject::invokeMethod(
            this,
            [this, arrived = QPointer<QWidget>(arrived)] {
                if (arrived)
                    m_tableView->ensureWidgetVisible(arrived, 0, 0);
            },
            Qt::QueuedConnection);
}

void HWCOperationViewController::completedOperation()
{
    bool allDone = true;
    for (int row = 0; row < numberOfRows(); ++row) {
        const std::shared_ptr<HWCSourceOperation> &operation = operations()[row];
        if (operation->isExecuting())
            allDone = false;
        // Only a finished operation knows its outcome: one still queued gets its panel when
        // it ends, so that its failures are shown.
        if (!operation->isFinished())
            continue;
        HWCOperationTableCellView *cell = cellViewAtRow(row);
        if (!cell || cell->completedView()->findChild<QWidget *>())
            continue;
        QMetaObject::invokeMethod(
            this,
            [this, container = QPointer<QWidget>(cell->completedView()),
             represented = cell->objectValue()] { addCompletedViewToView(container, represented); },
            Qt::QueuedConnection);
    }
    setAllOperationsDone(allDone);
    updateActionButtons();
}

void HWCOperationViewController::addCompletedViewToView(
    QWidget *container, const std::shared_ptr<HWCSourceOperation> &operation)
{
    if (!operation || (container && container->findChild<QWidget *>()))
        return;
    const bool warnings =
        !operation->filesWithState(HWCFileState::ReadSuccessfully, true).isEmpty() ||
        !operation->unlistedFiles().isEmpty();
    m_warnings = m_warnings || warnings;
    QWidget *panel = HWCScreenFactory::instantiateControllerWithIdentifier(
        warnings ? QStringLiteral("CompletedWarningsViewController")
                 : QStringLiteral("CompletedViewController"),
        {nullptr, operation});
    if (!container) {
        // The row is gone: the panel has nowhere to be shown.
        panel->deleteLater();
        return;
    }
    container->layout()->addWidget(panel);
    if (HWCCompletedViewController *summary = HWCCompletedViewController::of(panel)) {
        connect(summary, &HWCCompletedViewController::exportReportRequested, this,
                &HWCOperationViewController::exportReport);
        m_historyNotices->attach(summary, operation);
    }
    orderTabs();
}

void HWCOperationViewController::orderTabs()
{
    // Row by row, each row and then its controls (a panel comes after the row was made),
    // then the buttons under the list.
    QWidget *previous = nullptr;
    const auto follow = [&previous](QWidget *next) {
        if (previous)
            QWidget::setTabOrder(previous, next);
        previous = next;
    };
    for (HWCOperationTableCellView *cell : std::as_const(m_cellViews)) {
        follow(cell);
        for (QWidget *control : cell->findChildren<QWidget *>()) {
            if (control->focusPolicy() & Qt::TabFocus)
                follow(control);
        }
    }
    follow(m_exportButton);
    follow(m_showButton);
    follow(m_doneButton);
}

void HWCOperationViewController::setAllOperationsDone(bool done)
{
    m_allOperationsDone = done;
    Q_EMIT allOperationsDoneChanged();
}

void HWCOperationViewController::updateActionButtons()
{
    bool verification = false;
    bool written = false;
    for (const auto &operation : operations()) {
        verification = verification || operation->actionType() == HWCActionType::Verify;
        // Only a creation writes a list, known once it has finished (its worker writes it).
        written = written || (operation->isFinished() && !operation->writtenList().path.isEmpty());
    }
    m_exportButton->setVisible(verification);
    m_showButton->setVisible(written);
}

void HWCOperationViewController::done()
{
    HWCStopConfirmation::confirm(this, operations(), [this] {
        // remove() takes each operation out of the list that is being walked: walk a copy.
        const HWCOperationController::Operations listed = operations();
        for (const auto &operation : listed)
            operation->remove();
    });
}

void HWCOperationViewController::browse()
{
    auto *panel = new HWCSourceCollectionOpenPanel(this);
    panel->setAttribute(Qt::WA_DeleteOnClose);
    connect(panel, &QDialog::accepted, this, [this, panel] {
        if (const QString path = panel->chosenPath(); !path.isEmpty())
            Q_EMIT sourceArrived(path);
    });
    panel->open();
}

void HWCOperationViewController::dragEnterEvent(QDragEnterEvent *event)
{
    if (event->source() || !event->mimeData()->hasUrls())
        return;
    // Never a move of the user's media.
    event->setDropAction(event->possibleActions().testFlag(Qt::LinkAction) ? Qt::LinkAction
                                                                           : Qt::CopyAction);
    event->accept();
}

void HWCOperationViewController::dropEvent(QDropEvent *event)
{
    // Several cards dropped at once each become an operation.
    for (const QUrl &url : event->mimeData()->urls()) {
        if (url.isLocalFile())
            Q_EMIT sourceArrived(url.toLocalFile());
    }
    event->setDropAction(event->possibleActions().testFlag(Qt::LinkAction) ? Qt::LinkAction
                                                                           : Qt::CopyAction);
    event->accept();
}

void HWCOperationViewController::revealMHLFiles()
{
    // One request for all, so that the file manager shows every new list.
    QStringList lists;
    for (const auto &operation : operations()) {
        // A creation still running is writing its list on its worker.
        if (!operation->isFinished())
            continue;
        if (const QString written = operation->writtenList().path; !written.isEmpty())
            lists << written;
    }
    if (!lists.isEmpty())
        hwc_activateFileViewerSelecting(lists);
}

void HWCOperationViewController::exportLog()
{
    HWCLogExport::exportLogs(this, operations());
}

void HWCOperationViewController::exportReport()
{
    QList<HWCHistoryEntry> entries;
    for (const auto &operation : operations()) {
        if (!operation->isFinished())
            continue;
        entries.append(HWCHistoryEntry::fromOperation(*operation, operation->endDate()));
        entries.last().addEnvironment();
    }
    HWCReportExport::ask(this, entries);
}
