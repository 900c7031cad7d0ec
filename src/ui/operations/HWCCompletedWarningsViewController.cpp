#include "ui/operations/HWCCompletedWarningsViewController.h"

#include "engine/operations/HWCSourceOperation.h"
#include "ui/controls/HWCTableHeaderCell.h"
#include "ui/controls/HWCTableHeaderView.h"
#include "ui/controls/HWCTableTextFieldCell.h"
#include "ui/drawing/HWCStyleKit.h"
#include "ui/operations/HWCCompletedViewController.h"
#include "ui/operations/HWCCompletedWarningsTableModel.h"
#include "ui/window/HWCWorkspaceAdditions.h"

#include <QApplication>
#include <QBoxLayout>
#include <QClipboard>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QShortcut>
#include <QSortFilterProxyModel>
#include <QToolButton>
#include <QTreeView>

namespace {

constexpr int kPathColumnMinimum = 160;

} // namespace

HWCCompletedWarningsViewController::HWCCompletedWarningsViewController(
    std::shared_ptr<HWCSourceOperation> operation, QWidget *parent)
    : QWidget(parent), m_representedObject(std::move(operation)),
      m_summary(new HWCCompletedViewController(m_representedObject, this)),
      m_filterField(new QLineEdit(this)), m_tableView(new QTreeView(this)),
      m_headerView(new HWCTableHeaderView(m_tableView)),
      m_model(new HWCCompletedWarningsTableModel(m_representedObject, this)),
      m_sortedModel(new QSortFilterProxyModel(this)), m_detailDisclosure(new QToolButton(this)),
      m_detailPane(new QLabel(this))
{
    m_sortedModel->setSourceModel(m_model);
    m_sortedModel->setSortRole(HWCCompletedWarningsTableModel::SortRole);
    m_sortedModel->setFilterKeyColumn(HWCCompletedWarningsTableModel::PathColumn);
    m_sortedModel->setFilterRole(HWCCompletedWarningsTableModel::FilterRole);
    m_sortedModel->setFilterCaseSensitivity(Qt::CaseInsensitive);
    setUpTable();

    m_filterField->setPlaceholderText(tr("Filter by name"));
    m_filterField->setAccessibleName(tr("Filter files"));
    m_filterField->setClearButtonEnabled(true);
    connect(m_filterField, &QLineEdit::textChanged, m_sortedModel,
            &QSortFilterProxyModel::setFilterFixedString);
    m_detailPane->setWordWrap(true);
    m_detailPane->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_detailPane->setStyleSheet(
        QStringLiteral("color:%1").arg(HWCStyleKit::secondaryTextColor().name()));
    m_detailPane->hide();
    connect(m_tableView->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &HWCCompletedWarningsViewController::showDetailOfRow);
    // The disclosure folds the detail away, for more rows on the screen.
    m_detailDisclosure->setText(tr("Details"));
    m_detailDisclosure->setAccessibleName(tr("Show details of the current file"));
    m_detailDisclosure->setCheckable(true);
    m_detailDisclosure->setChecked(true);
    m_detailDisclosure->setArrowType(Qt::DownArrow);
    m_detailDisclosure->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_detailDisclosure->setAutoRaise(true);
    connect(m_detailDisclosure, &QToolButton::toggled, this, [this](bool open) {
        m_detailDisclosure->setArrowType(open ? Qt::DownArrow : Qt::RightArrow);
        showDetailOfRow(m_tableView->currentIndex());
    });

    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(8);
    column->addWidget(m_summary);
    column->addWidget(m_filterField);
    column->addWidget(m_tableView, 1);
    column->addWidget(m_detailDisclosure, 0, Qt::AlignLeft);
    column->addWidget(m_detailPane);
}

void HWCCompletedWarningsViewController::setUpTable()
{
    m_tableView->setHeader(m_headerView);
    m_tableView->setModel(m_sortedModel);
    m_headerView->replaceHeaderCells();
    m_headerView->setSectionResizeMode(QHeaderView::Interactive);
    m_headerView->setStretchLastSection(false);
    m_headerView->resizeSection(HWCCompletedWarningsTableModel::PathColumn, 300);
    m_headerView->resizeSection(HWCCompletedWarningsTableModel::StateColumn, 170);
    m_headerView->resizeSection(HWCCompletedWarningsTableModel::SizeColumn, 90);
    m_headerView->resizeSection(HWCCompletedWarningsTableModel::SpeedColumn, 110);
    m_headerView->setSectionsClickable(true);
    connect(m_headerView, &QHeaderView::sectionResized, this,
            [this] { m_columnsSizedByUser = m_columnsSizedByUser || !m_fittingColumns; });
    // List order until a header is clicked; a third click returns to it.
    m_headerView->setSortIndicatorClearable(true);
    m_headerView->setSortIndicator(-1, Qt::AscendingOrder);
    m_tableView->setSortingEnabled(true);
    m_tableView->setItemDelegate(new HWCTableTextFieldCell(
        [this](int row) -> const HWCCompletedWarningsTableRowView & { return rowViewForRow(row); },
        m_tableView));
    // The delegate draws the triangles, so that they sit on the row's own shading.
    m_tableView->setRootIsDecorated(false);
    m_tableView->setIndentation(0);
    m_tableView->setUniformRowHeights(false);
    m_tableView->setExpandsOnDoubleClick(false);
    m_tableView->setAllColumnsShowFocus(true);
    m_tableView->setWordWrap(false);
    // A detail fills the row's width, whichever columns it crosses.
    connect(m_tableView, &QTreeView::expanded, this, [this](const QModelIndex &index) {
        m_tableView->setFirstColumnSpanned(0, index, true);
    });
    // One Tab stop: the arrows move inside, Tab leaves.
    m_tableView->setTabKeyNavigation(false);
    m_tableView->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_tableView->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_tableView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_tableView->setFrameShape(QFrame::NoFrame);
    m_tableView->setStyleSheet(
        QStringLiteral("QTreeView{background:%1;border:2px solid transparent}"
                       "QTreeView:focus{border:2px solid %3}"
                       "QScrollBar{background:%1;width:10px;height:10px;margin:0}"
                       "QScrollBar::handle{background:%2;border-radius:4px;"
                       "min-height:24px;min-width:24px;margin:1px}"
                       "QScrollBar::add-line,QScrollBar::sub-line{height:0;width:0}"
                       "QScrollBar::add-page,QScrollBar::sub-page{background:none}")
            .arg(HWCStyleKit::backgroundColorSlightlyDarker().name(),
                 HWCStyleKit::uIButtonBackgroundColor().name(),
                 HWCStyleKit::focusRingColor().name()));
    m_tableView->setAccessibleName(tr("Files with problems"));
    m_tableView->viewport()->installEventFilter(this);
    m_tableView->installEventFilter(this);
    connect(m_tableView, &QTreeView::doubleClicked, this,
            [this](const QModelIndex &index) { revealRow(index.row()); });
    auto *copy =
        new QShortcut(QKeySequence::Copy, m_tableView, nullptr, nullptr, Qt::WidgetShortcut);
    connect(copy, &QShortcut::activated, this,
            [this] { QApplication::clipboard()->setText(selectedRowsText()); });
}

void HWCCompletedWarningsViewController::fitPathColumn()
{
    // The path takes the room the other columns leave, until the user sizes a column.
    if (m_columnsSizedByUser)
        return;
    int others = 0;
    for (int column = HWCCompletedWarningsTableModel::StateColumn;
         column < HWCCompletedWarningsTableModel::ColumnCount; ++column)
        others += m_headerView->sectionSize(column);
    const QScopedValueRollback fitting(m_fittingColumns, true);
    m_headerView->resizeSection(
        HWCCompletedWarningsTableModel::PathColumn,
        std::max(kPathColumnMinimum, m_tableView->viewport()->width() - others));
}

void HWCCompletedWarningsViewController::showDetailOfRow(const QModelIndex &index)
{
    const QString detail = index.data(Qt::ToolTipRole).toString();
    m_detailPane->setText(detail);
    m_detailPane->setVisible(!detail.isEmpty() && m_detailDisclosure->isChecked());
}

HWCCompletedWarningsViewController::~HWCCompletedWarningsViewController() = default;

const HWCCompletedWarningsTableRowView &HWCCompletedWarningsViewController::rowViewForRow(int row)
{
    if (HWCCompletedWarningsTableRowView *inUse = m_rowViewsInUse.value(row))
        return *inUse;
    HWCCompletedWarningsTableRowView *view = nullptr;
    if (!m_reuseQueue.isEmpty()) {
        view = m_reuseQueue.takeFirst();
    } else {
        m_rowViews.push_back(std::make_unique<HWCCompletedWarningsTableRowView>(row % 2 == 0));
        view = m_rowViews.back().get();
    }
    m_rowViewsInUse.insert(row, view);
    return *view;
}

void HWCCompletedWarningsViewController::recycleRowViews()
{
    const int first = fileRow(m_tableView->indexAt(QPoint(0, 0)));
    int last = fileRow(m_tableView->indexAt(QPoint(0, m_tableView->viewport()->height() - 1)));
    if (last < 0)
        last = m_model->rowCount() - 1;
    for (auto it = m_rowViewsInUse.begin(); it != m_rowViewsInUse.end();) {
        if (it.key() < first || it.key() > last) {
            m_reuseQueue.append(it.value());
            it = m_rowViewsInUse.erase(it);
        } else {
            ++it;
        }
    }
}

bool HWCCompletedWarningsViewController::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_tableView->viewport() && event->type() == QEvent::Paint)
        recycleRowViews();
    if (watched == m_tableView->viewport() && event->type() == QEvent::Resize)
        fitPathColumn();
    // A double click on the triangle opens and closes too, and reveals nothing.
    const bool press =
        event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonDblClick;
    if (watched == m_tableView->viewport() && press) {
        const QPoint position = static_cast<QMouseEvent *>(event)->position().toPoint();
        if (isOnDisclosure(position)) {
            const QModelIndex index = m_tableView->indexAt(position);
            setRowOpen(index, !m_tableView->isExpanded(index.siblingAtColumn(0)));
            return true;
        }
    }
    if (watched == m_tableView && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        const QModelIndex current = m_tableView->currentIndex();
        if ((key == Qt::Key_Return || key == Qt::Key_Enter) && current.isValid()) {
            revealRow(current.row());
            return true;
        }
        // The arrows open and close the row, never move across the columns.
        if (key == Qt::Key_Right || key == Qt::Key_Left) {
            setRowOpen(current, key == Qt::Key_Right);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void HWCCompletedWarningsViewController::setRowOpen(const QModelIndex &index, bool open)
{
    const QModelIndex row = index.siblingAtColumn(HWCCompletedWarningsTableModel::PathColumn);
    if (row.isValid() && m_sortedModel->hasChildren(row))
        m_tableView->setExpanded(row, open);
}

bool HWCCompletedWarningsViewController::isOnDisclosure(const QPoint &viewportPosition) const
{
    const QModelIndex index = m_tableView->indexAt(viewportPosition);
    if (index.column() != HWCCompletedWarningsTableModel::PathColumn ||
        !m_sortedModel->hasChildren(index))
        return false;
    const int inside = viewportPosition.x() - m_tableView->visualRect(index).left();
    return inside < HWCTableTextFieldCell::kDisclosureWidth + HWCTableHeaderCell::kHeadIndent;
}

int HWCCompletedWarningsViewController::fileRow(const QModelIndex &index)
{
    return index.parent().isValid() ? index.parent().row() : index.row();
}

QString HWCCompletedWarningsViewController::selectedRowsText() const
{
    QList<int> rows;
    for (const QModelIndex &index : m_tableView->selectionModel()->selectedRows()) {
        if (!index.parent().isValid())
            rows.append(index.row());
    }
    std::sort(rows.begin(), rows.end());
    QString text;
    for (int row : std::as_const(rows)) {
        text += m_sortedModel->index(row, HWCCompletedWarningsTableModel::PathColumn)
                    .data()
                    .toString() +
                QLatin1Char('\t') +
                m_sortedModel->index(row, HWCCompletedWarningsTableModel::StateColumn)
                    .data()
                    .toString() +
                QLatin1Char('\n');
    }
    return text;
}

void HWCCompletedWarningsViewController::revealRow(int row) const
{
    const QModelIndex index = m_sortedModel->mapToSource(m_sortedModel->index(row, 0));
    if (!index.isValid())
        return;
    if (const QString full = m_model->fullPath(index.row()); !full.isNull())
        hwc_activateFileViewerSelecting(full);
}
