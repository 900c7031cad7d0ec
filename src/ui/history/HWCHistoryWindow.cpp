#include "ui/history/HWCHistoryWindow.h"

#include "engine/history/HWCHistoryDatabase.h"
#include "engine/history/HWCHistoryRecorder.h"
#include "engine/reports/HWCProductionReport.h"
#include "ui/history/HWCHistoryTableModel.h"
#include "ui/history/HWCReportExport.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QSortFilterProxyModel>
#include <QSpinBox>
#include <QTableView>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace {

QPushButton *button(const QString &text, QWidget *parent)
{
    auto *made = new QPushButton(text, parent);
    made->setAccessibleName(text);
    return made;
}

} // namespace

HWCHistoryWindow::HWCHistoryWindow(const QString &databasePath, QWidget *parent)
    : QWidget(parent, Qt::Window), m_databasePath(databasePath),
      m_model(new HWCHistoryTableModel(this)), m_filter(new QSortFilterProxyModel(this)),
      m_table(new QTableView(this)), m_search(new QLineEdit(this)), m_retention(new QSpinBox(this)),
      m_problem(new QLabel(this))
{
    setWindowTitle(tr("History"));
    resize(860, 480);
    m_search->setPlaceholderText(tr("Search by card or path"));
    m_search->setAccessibleName(tr("Search"));
    m_search->setClearButtonEnabled(true);
    m_filter->setSourceModel(m_model);
    m_filter->setFilterCaseSensitivity(Qt::CaseInsensitive);
    m_filter->setFilterKeyColumn(-1);
    connect(m_search, &QLineEdit::textChanged, m_filter,
            &QSortFilterProxyModel::setFilterFixedString);
    m_table->setModel(m_filter);
    m_table->setAccessibleName(tr("Runs"));
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->verticalHeader()->hide();
    m_table->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    m_table->horizontalHeader()->setSectionResizeMode(HWCHistoryTableModel::Source,
                                                      QHeaderView::Stretch);
    connect(m_table, &QTableView::activated, this, &HWCHistoryWindow::openEntry);
    m_problem->setWordWrap(true);
    m_problem->hide();

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_search);
    layout->addWidget(m_problem);
    layout->addWidget(m_table, 1);
    layout->addWidget(makeButtons());
    reload();
}

QWidget *HWCHistoryWindow::makeButtons()
{
    auto *bar = new QWidget(this);
    auto *layout = new QHBoxLayout(bar);
    layout->setContentsMargins(0, 0, 0, 0);
    QPushButton *exportButton = button(tr("Export Report…"), bar);
    QPushButton *removeButton = button(tr("Remove"), bar);
    QPushButton *clearButton = button(tr("Clear History…"), bar);
    connect(exportButton, &QPushButton::clicked, this,
            [this] { HWCReportExport::ask(this, selectedEntries()); });
    connect(removeButton, &QPushButton::clicked, this, &HWCHistoryWindow::removeSelected);
    connect(clearButton, &QPushButton::clicked, this, &HWCHistoryWindow::clearHistory);
    m_retention->setRange(1, 36500);
    m_retention->setSuffix(tr(" days"));
    m_retention->setAccessibleName(tr("Keep runs for"));
    m_retention->setValue(HWCHistoryRecorder::retentionDays());
    connect(m_retention, &QSpinBox::valueChanged, this, &HWCHistoryWindow::setRetentionDays);
    layout->addWidget(exportButton);
    layout->addWidget(removeButton);
    layout->addWidget(clearButton);
    layout->addStretch(1);
    layout->addWidget(new QLabel(tr("Keep runs for"), bar));
    layout->addWidget(m_retention);
    return bar;
}

void HWCHistoryWindow::reload()
{
    HWCHistoryDatabase database(m_databasePath);
    database.removeEndedBefore(
        QDateTime::currentDateTime().addDays(-HWCHistoryRecorder::retentionDays()));
    m_model->setEntries(database.entries());
    m_problem->setText(tr("The history cannot be read: %1").arg(database.error()));
    m_problem->setVisible(!database.error().isEmpty());
}

QList<HWCHistoryEntry> HWCHistoryWindow::selectedEntries() const
{
    QModelIndexList rows = m_table->selectionModel()->selectedRows();
    std::sort(rows.begin(), rows.end());
    HWCHistoryDatabase database(m_databasePath);
    QList<HWCHistoryEntry> entries;
    for (const QModelIndex &row : rows) {
        const qint64 id = m_model->entry(m_filter->mapToSource(row).row()).id;
        if (std::optional<HWCHistoryEntry> entry = database.entry(id))
            entries.append(*entry);
    }
    return entries;
}

void HWCHistoryWindow::removeSelected()
{
    QList<qint64> ids;
    for (const QModelIndex &row : m_table->selectionModel()->selectedRows())
        ids.append(m_model->entry(m_filter->mapToSource(row).row()).id);
    HWCHistoryDatabase(m_databasePath).remove(ids);
    reload();
}

void HWCHistoryWindow::clearHistory()
{
    if (QMessageBox::question(this, tr("Clear History"),
                              tr("Remove every run from the history? Reports already "
                                 "exported are kept.")) != QMessageBox::Yes)
        return;
    m_table->selectAll();
    removeSelected();
}

void HWCHistoryWindow::setRetentionDays(int days)
{
    QSettings(QStringLiteral("Hashwarden"), QStringLiteral("Hashwarden"))
        .setValue(QStringLiteral("HistoryRetentionDays"), days);
    reload();
}

void HWCHistoryWindow::openEntry(const QModelIndex &index)
{
    const std::optional<HWCHistoryEntry> entry =
        HWCHistoryDatabase(m_databasePath)
            .entry(m_model->entry(m_filter->mapToSource(index).row()).id);
    if (!entry)
        return;
    auto *dialog = new QDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(entry->cardName());
    dialog->resize(760, 640);
    auto *browser = new QTextBrowser(dialog);
    browser->setHtml(HWCProductionReport::html({*entry}, QDateTime::currentDateTime(),
                                               HWCProductionReport::paperForLocale()));
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close, dialog);
    QPushButton *exportButton = button(tr("Export Report…"), buttons);
    buttons->addButton(exportButton, QDialogButtonBox::ActionRole);
    connect(exportButton, &QPushButton::clicked, dialog,
            [dialog, entry = *entry] { HWCReportExport::ask(dialog, {entry}); });
    connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    auto *layout = new QVBoxLayout(dialog);
    layout->addWidget(browser);
    layout->addWidget(buttons);
    dialog->open();
}
