#include "ui/operations/HWCOperationViewController.h"

#include "engine/operations/HWCSource.h"
#include "engine/operations/HWCSourceOperation.h"
#include "engine/reports/HWCReportText.h"
#include "engine/session/HWCLog.h"
#include "ui/controls/HWCHoverButtonCell.h"
#include "ui/operations/HWCOperationBackgroundView.h"
#include "ui/operations/HWCOperationTableCellView.h"
#include "ui/window/HWCScreenFactory.h"
#include "ui/window/HWCWorkspaceAdditions.h"

#include <QAbstractFileIconProvider>
#include <QBoxLayout>
#include <QDateTime>
#include <QFileDialog>
#include <QFileInfo>
#include <QScrollArea>
#include <QScrollBar>
#include <QStandardPaths>

HWCOperationViewController::HWCOperationViewController(HWCOperationController *controller,
                                                       QWidget *parent)
    : HWCViewController(parent), m_representedObject(controller),
      m_tableView(new QScrollArea(this)), m_rows(nullptr),
      m_actionButton(new HWCHoverButtonCell(tr("Export"), this)),
      m_doneButton(new HWCHoverButtonCell(tr("Done"), this))
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
    m_tableView->setStyleSheet(QStringLiteral("QScrollArea{background:transparent}"));
    m_tableView->viewport()->setAutoFillBackground(false);
    m_tableView->setAccessibleName(tr("Operations"));

    m_actionButton->setAccessibleName(m_actionButton->text());
    m_doneButton->setAccessibleName(m_doneButton->text());
    connect(m_actionButton, &QAbstractButton::clicked, this, &HWCOperationViewController::action);
    connect(m_doneButton, &QAbstractButton::clicked, this, &HWCOperationViewController::done);
    auto *buttons = new QHBoxLayout;
    buttons->setContentsMargins(24, 0, 24, 0);
    buttons->addWidget(m_actionButton);
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

    if (controller) {
        connect(controller, &HWCOperationController::operationsChanged, this,
                &HWCOperationViewController::operationsChanged);
        connect(controller, &HWCOperationController::completedOperation, this,
                &HWCOperationViewController::completedOperation);
    }
    windowResized();
    reloadData();
    updateActionTitle();
}

HWCOperationViewController::~HWCOperationViewController() = default;

const HWCOperationController::Operations &HWCOperationViewController::operations() const
{
    static const HWCOperationController::Operations none;
    return m_representedObject ? m_representedObject->operations() : none;
}

QAbstractButton *HWCOperationViewController::actionButton() const
{
    return m_actionButton;
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
    for (HWCOperationTableCellView *cell : std::as_const(m_cellViews))
        cell->setFixedHeight(m_rowHeight);
    // Scrolling moves from operation to operation.
    m_tableView->verticalScrollBar()->setSingleStep(std::max(1, m_rowHeight));
    m_tableView->verticalScrollBar()->setPageStep(std::max(1, m_rowHeight));
}

void HWCOperationViewController::operationsChanged()
{
    reloadData();
    updateActionTitle();
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
        cell->setFixedHeight(m_rowHeight);
    }
    m_cellViews = cells;
}

void HWCOperationViewController::completedOperation()
{
    bool allDone = true;
    for (int row = 0; row < numberOfRows(); ++row) {
        const std::shared_ptr<HWCSourceOperation> &operation = operations()[row];
        // Deliberately "not executing" rather than "finished": an operation still waiting
        // in the queue gets its panel now as well.
        if (operation->isExecuting()) {
            allDone = false;
            continue;
        }
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
}

void HWCOperationViewController::addCompletedViewToView(
    QWidget *container, const std::shared_ptr<HWCSourceOperation> &operation)
{
    if (!operation || (container && container->findChild<QWidget *>()))
        return;
    const bool warnings = !operation->filesWithState(HWCFileState::ReadSuccessfully, true).isEmpty();
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
}

void HWCOperationViewController::setAllOperationsDone(bool done)
{
    m_allOperationsDone = done;
    Q_EMIT allOperationsDoneChanged();
}

void HWCOperationViewController::updateActionTitle()
{
    if (operations().isEmpty())
        return;
    const HWCActionType type = operations().last()->actionType();
    if (type == HWCActionType::Verify)
        m_actionButton->setText(tr("Export"));
    else if (type == HWCActionType::Create)
        m_actionButton->setText(tr("Show"));
    m_actionButton->setAccessibleName(m_actionButton->text());
}

void HWCOperationViewController::done()
{
    // remove() takes each operation out of the list that is being walked: walk a copy.
    const HWCOperationController::Operations listed = operations();
    for (const auto &operation : listed)
        operation->remove();
}

void HWCOperationViewController::action()
{
    if (operations().isEmpty())
        return;
    const HWCActionType type = operations().last()->actionType();
    if (type == HWCActionType::Create)
        revealMHLFiles();
    else if (type == HWCActionType::Verify)
        exportLog();
}

void HWCOperationViewController::revealMHLFiles()
{
    for (const auto &operation : operations()) {
        if (const QString written = operation->writtenList().path; !written.isEmpty())
            hwc_activateFileViewerSelecting(written);
    }
}

void HWCOperationViewController::exportLog()
{
    const QString name =
        HWCReportText::logTitle(QDateTime::currentDateTime()) + QStringLiteral(".txt");
    const QStringList documents =
        QStandardPaths::standardLocations(QStandardPaths::DocumentsLocation);
    auto *panel = new QFileDialog(window(), QString(), documents.value(documents.size() - 1));
    panel->setAcceptMode(QFileDialog::AcceptSave);
    panel->setFileMode(QFileDialog::AnyFile);
    panel->setLabelText(QFileDialog::Accept, tr("Export"));
    panel->setDefaultSuffix(QStringLiteral("txt"));
    panel->selectFile(name);
    panel->setWindowModality(Qt::WindowModal);
    panel->setAttribute(Qt::WA_DeleteOnClose);
    connect(panel, &QFileDialog::finished, this,
            [this, panel = QPointer<QFileDialog>(panel)](int result) {
                if (result != QDialog::Accepted || !panel || panel->selectedFiles().isEmpty()) {
                    HWCLogError(QStringLiteral("Export was cancelled."));
                    return;
                }
                const QString path = panel->selectedFiles().constFirst();
                for (const auto &operation : operations())
                    operation->exportFailedFilesTo(path);
            });
    panel->open();
}
