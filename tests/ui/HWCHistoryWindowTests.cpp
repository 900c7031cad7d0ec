#include "engine/history/HWCHistoryDatabase.h"
#include "engine/records/HWCStateNames.h"
#include "support/TestSupport.h"
#include "ui/history/HWCHistoryTableModel.h"
#include "ui/history/HWCHistoryWindow.h"
#include "ui/history/HWCReportExport.h"

#include <QLineEdit>
#include <QSortFilterProxyModel>
#include <QTableView>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

HWCHistoryEntry entry(const QString &card, HWCOperationState state, int minutesAgo)
{
    HWCHistoryEntry made;
    made.source = "/media/" + card;
    made.state = state;
    made.stateName = HWCOperationStateName(state);
    made.ended = QDateTime::currentDateTime().addSecs(-60 * minutesAgo);
    made.files = made.filesTotal = 2;
    made.counts[HWCFileState::ReadSuccessfully] = 2;
    return made;
}

} // namespace

TEST(HWCHistoryWindowTest, ListsSearchesRemovesAndExports)
{
    QTemporaryDir folder;
    const QString path = folder.filePath("history.sqlite");
    HWCHistoryEntry damaged = entry("A002", HWCOperationState::FinishedWithWarnings, 2);
    damaged.counts = {{HWCFileState::ReadSuccessfully, 1}, {HWCFileState::HashFail, 1}};
    damaged.records = {{"C001.mov", HWCFileState::HashFail, 9, {"md5", "aa11", "bb22", {}, {}}}};
    {
        HWCHistoryDatabase database(path);
        for (const HWCHistoryEntry &made :
             {entry("A001", HWCOperationState::VerifiedOK, 3), damaged,
              entry("B001", HWCOperationState::VerifiedOK, 1)})
            ASSERT_GT(database.add(made), 0);
    }
    HWCHistoryWindow window(path);
    auto *table = window.findChild<QTableView *>();
    QAbstractItemModel *rows = table->model();
    ASSERT_EQ(rows->rowCount(), 3);
    EXPECT_EQ(rows->index(0, HWCHistoryTableModel::Card).data().toString(), "B001");
    EXPECT_EQ(rows->index(1, HWCHistoryTableModel::Outcome).data(Qt::ForegroundRole),
              QColor(0xa1, 0x16, 0x1a));
    EXPECT_EQ(rows->index(2, HWCHistoryTableModel::Outcome).data(Qt::ForegroundRole),
              QColor(0x17, 0x69, 0x2e));

    auto *search = window.findChild<QLineEdit *>();
    for (const auto &[text, found] : {std::pair{"a00", 2}, {"/media/b", 1}, {"", 3}}) {
        search->setText(text);
        EXPECT_EQ(rows->rowCount(), found) << text;
    }

    table->selectRow(1);
    const QList<HWCHistoryEntry> selected = window.selectedEntries();
    ASSERT_EQ(selected.size(), 1);
    EXPECT_EQ(selected.first().records.first().detail.actual, "bb22");
    QString error;
    ASSERT_TRUE(HWCReportExport::write(folder.filePath("day.pdf"), selected, &error))
        << error.toStdString();
    EXPECT_TRUE(TestSupport::runTool("pdftotext", {folder.filePath("day.pdf"), "-"})
                    .contains("A002 did not verify: 1 of 2"));

    window.removeSelected();
    EXPECT_EQ(rows->rowCount(), 2);
    EXPECT_EQ(HWCHistoryDatabase(path).entries().size(), 2);
}
