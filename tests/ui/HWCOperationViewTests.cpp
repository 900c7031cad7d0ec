// The operation screen against real operations on small temporary trees.
#include "engine/operations/HWCOperationController.h"
#include "engine/operations/HWCSource.h"
#include "engine/records/HWCOperationInfo.h"
#include "support/VerificationFixtures.h"
#include "ui/controls/HWCTableHeaderView.h"
#include "ui/controls/HWIProgressIndicator.h"
#include "ui/operations/HWCCompletedViewController.h"
#include "ui/operations/HWCCompletedWarningsViewController.h"
#include "ui/operations/HWCLogExport.h"
#include "ui/operations/HWCOperationTableCellView.h"
#include "ui/operations/HWCOperationViewController.h"
#include "ui/support/WidgetSupport.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QTreeView>
#include <QUrl>
#include <gtest/gtest.h>
#include <mutex>

namespace {

using TestSupport::waitUntil;
using namespace VerificationFixtures;

// A screen over its own controller; waits for every operation when it goes.
struct Screen {
    HWCOperationController controller{HWCOperationParameters{.searchUnlistedFiles = true}};
    HWCViewController parent;
    HWCOperationViewController *view = new HWCOperationViewController(&controller);

    Screen()
    {
        parent.resize(700, 500);
        parent.addChildViewController(view);
        parent.addConstraintsToChildViewController(view);
        parent.show();
    }
    void add(const QString &path) { controller.addDisk(scannedSource(path)); }
    HWCOperationTableCellView *row(int index) const { return view->cellViewAtRow(index); }
    QWidget *panel(int index) const
    {
        const QList<QWidget *> panels =
            row(index)->completedView()->findChildren<QWidget *>(Qt::FindDirectChildrenOnly);
        return panels.size() == 1 ? panels.first() : nullptr;
    }
    bool settled() const
    {
        // Not allOperationsDone alone: an operation still waiting in the queue counts as done.
        for (int i = 0; i < view->numberOfRows(); ++i) {
            if (!panel(i) || !controller.operations()[i]->isFinished())
                return false;
        }
        return view->allOperationsDone();
    }
};

// Stands in for the desktop's file manager on a private session bus.
class FakeFileManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    QStringList received() const
    {
        std::lock_guard lock(m_mutex);
        return m_received;
    }

public Q_SLOTS:
    void ShowItems(const QStringList &uris, const QString &) // NOLINT: D-Bus method name
    {
        std::lock_guard lock(m_mutex);
        m_received << uris;
    }

private:
    mutable std::mutex m_mutex;
    QStringList m_received;
};

} // namespace

// A verification held in an endless read shows the running look; its cancel button ends it
// with the plain panel.
TEST(HWCOperationView, RowWhileRunningAndAfter)
{
    QTemporaryDir dir;
    const QString folder = listedFolder(dir.filePath("CARD"), {"a.mov", "z.mov"});
    TestSupport::writeEndlessFile(folder + QStringLiteral("/z.mov"));
    Screen screen;
    screen.add(folder);
    HWCOperationTableCellView *row = screen.row(0);
    ASSERT_TRUE(waitUntil([&] { return row->progressLabel()->text() == QStringLiteral("z.mov"); }));

    EXPECT_FALSE(screen.view->exportButton()->isHidden());
    EXPECT_TRUE(screen.view->showButton()->isHidden());
    EXPECT_EQ(row->height(), 500 - HWCOperationViewController::kTableViewBottomSpace);
    EXPECT_FALSE(row->cancelButton()->isHidden());
    EXPECT_EQ(row->cancelButton()->accessibleName(), QStringLiteral("Cancel"));
    const QString counts = row->countsLabel()->text();
    EXPECT_TRUE(counts.startsWith(QStringLiteral("1 of 2 files  ·  ")) &&
                counts.contains(QStringLiteral(" of 150 KB")))
        << counts.toStdString();
    EXPECT_EQ(row->progressIndicator()->theme(), HWCTheme::Default);
    EXPECT_EQ(screen.panel(0), nullptr);
    row->askToCancel();
    EXPECT_EQ(answerQuestion("Keep Running"), "Stop 1 running verification?");

    QTest::mouseClick(row->cancelButton(), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([&] { return screen.settled(); }));
    EXPECT_TRUE(row->cancelButton()->isHidden());
    EXPECT_TRUE(row->progressLabel()->isHidden());
    EXPECT_EQ(row->progressIndicator()->theme(), HWCTheme::Cancelled);
    const auto *panel = qobject_cast<HWCCompletedViewController *>(screen.panel(0));
    ASSERT_NE(panel, nullptr);
    EXPECT_EQ(
        panel->explanationLabel()->text(),
        QStringLiteral("Stopped before the end, after 1 of 2 files; those read so far matched."));
    EXPECT_FALSE(screen.view->warnings());
}

// One good card and one with a missing, a changed and an unlisted file: the plain panel
// and the warnings table, one panel per row however many completions arrive, each outcome
// in its own colour; the table's rows, detail, a failed row opened in place, sorting, filter,
// copy and Tab. A history that cannot be written is one quiet line of each result.
TEST(HWCOperationView, PanelsTellEachOutcomeAndTheFilesBehindIt)
{
    QTemporaryDir dir;
    const QByteArray data = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", dir.path().toUtf8());
    const QString database = dir.filePath("hashwarden/history.sqlite");
    QDir().mkpath(database);
    const QString good = listedFolder(dir.filePath("GOOD"), {"a.mov"});
    const QString bad = listedFolder(dir.filePath("BAD"), {"a.mov", "b.mov", "c.mov"});
    QFile::remove(bad + QStringLiteral("/b.mov"));
    const QString listed = toolDigest("md5", bad + QStringLiteral("/c.mov"));
    TestSupport::writeText(bad + QStringLiteral("/c.mov"), "changed");
    TestSupport::writeText(bad + QStringLiteral("/x.mov"), "x");
    Screen screen;
    screen.add(good);
    screen.add(bad);
    // The engine calls a run over a list that is not well-formed a success; the panel may not.
    const QString broken = dir.filePath(QStringLiteral("BROKEN"));
    TestSupport::writeText(broken + QStringLiteral("/a.mov"), "aaaa");
    TestSupport::writeText(broken + QStringLiteral("/Card.mhl"), "<hashlist><hash><file>a.mov");
    screen.add(broken);
    const QString left = listedFolder(dir.filePath("LEFT"), {"a.mov"});
    TestSupport::writeText(left + QStringLiteral("/z.mov"), "z");
    screen.add(left);
    ASSERT_TRUE(waitUntil([&] { return screen.settled(); }));
    qputenv("XDG_DATA_HOME", data);
    for (const auto &operation : screen.controller.operations())
        Q_EMIT screen.controller.completedOperation(operation);
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();

    const auto *plain = qobject_cast<HWCCompletedViewController *>(screen.panel(0));
    ASSERT_NE(plain, nullptr);
    EXPECT_EQ(plain->headlineLabel()->text(), QStringLiteral("Verification successful."));
    for (int row : {0, 1})
        EXPECT_EQ(HWCCompletedViewController::of(screen.panel(row))->notRecordedLabel()->text(),
                  "This run could not be recorded in the history: " + database +
                      ": unable to open database file");
    // Its file is listed in no usable MHL.
    const auto *unusable = qobject_cast<HWCCompletedWarningsViewController *>(screen.panel(2));
    ASSERT_NE(unusable, nullptr);
    const HWCCompletedViewController *nothing = unusable->summary();
    EXPECT_EQ(nothing->headlineLabel()->text(), QStringLiteral("Nothing was verified."));
    EXPECT_TRUE(nothing->explanationLabel()->text().startsWith(
        QStringLiteral("No MHL of the source could be used: Card.mhl is not well-formed XML")))
        << nothing->explanationLabel()->text().toStdString();
    // Green, red for failures, red for nothing verified, amber for a file left out; every
    // bar full, its count complete.
    const HWCTheme themes[] = {HWCTheme::Success, HWCTheme::Error, HWCTheme::Error,
                               HWCTheme::Warning};
    for (int row = 0; row < 4; ++row) {
        EXPECT_EQ(screen.row(row)->progressIndicator()->theme(), themes[row]) << row;
        EXPECT_EQ(screen.row(row)->progressIndicator()->subDoubleValue(), 100.0) << row;
    }
    EXPECT_TRUE(screen.row(1)->countsLabel()->text().startsWith("3 of 3 files  ·  "));

    auto *warnings = qobject_cast<HWCCompletedWarningsViewController *>(screen.panel(1));
    ASSERT_NE(warnings, nullptr);
    EXPECT_TRUE(screen.view->warnings());
    QTreeView *table = warnings->tableView();
    EXPECT_EQ(table->accessibleName(), QStringLiteral("Files with problems"));
    QStringList titles;
    for (const HWCTableHeaderCell &cell :
         static_cast<HWCTableHeaderView *>(table->header())->headerCells())
        titles << cell.title();
    EXPECT_EQ(titles, (QStringList{"File", "State", "Size", "Speed"}));
    EXPECT_EQ(table->model()->index(0, 2).data().toString(), QString()); // no "0 Bytes"
    table->setCurrentIndex(table->model()->index(1, 0));
    EXPECT_EQ(warnings->detailPane()->text(),
              "Hash fail: /c.mov\nmd5 listed " + listed + "\nmd5 computed " +
                  toolDigest("md5", bad + "/c.mov") +
                  "\nSize found 7 bytes, listed 150,000 bytes (truncated)\nListed in list.mhl");

    // Right opens the changed file's row in place, with the pane's detail across the table;
    // the detail is no stop of Down. An unlisted file has nothing to open; Left closes.
    const QModelIndex changed = table->model()->index(1, 0);
    QTest::keyClick(table, Qt::Key_Right);
    ASSERT_TRUE(table->isExpanded(changed));
    const QModelIndex detail = table->model()->index(0, 0, changed);
    EXPECT_EQ(detail.data().toString(), warnings->detailPane()->text());
    EXPECT_TRUE(table->isFirstColumnSpanned(0, changed));
    EXPECT_GE(table->visualRect(detail).height(), 5 * 18);
    QTest::keyClick(table, Qt::Key_Down);
    EXPECT_EQ(table->currentIndex(), table->model()->index(2, 0));
    QTest::keyClick(table, Qt::Key_Right);
    EXPECT_FALSE(table->isExpanded(table->model()->index(2, 0)));
    EXPECT_EQ(table->currentIndex(), table->model()->index(2, 0));
    table->setCurrentIndex(changed);
    QTest::keyClick(table, Qt::Key_Left);
    EXPECT_FALSE(table->isExpanded(changed));
    QTest::keyClick(table, Qt::Key_Right);
    // A click on the missing file's triangle opens its row, a second closes it.
    const QModelIndex missing = table->model()->index(0, 0);
    const QPoint triangle(12, table->visualRect(missing).center().y());
    QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, triangle);
    EXPECT_TRUE(table->isExpanded(missing));
    QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, triangle);
    EXPECT_FALSE(table->isExpanded(missing));

    // Shading by the row a drawing was made for.
    EXPECT_TRUE(warnings->rowViewForRow(0).even());
    EXPECT_TRUE(warnings->rowViewForRow(1).isEmphasized());
    const auto rowsText = [&] {
        table->selectAll();
        return warnings->selectedRowsText();
    };
    EXPECT_EQ(rowsText(),
              "/b.mov\tMissing file\n/c.mov\tHash fail\n/x.mov\tNot listed in any MHL\n");
    table->sortByColumn(2, Qt::DescendingOrder);
    EXPECT_EQ(rowsText(),
              "/c.mov\tHash fail\n/b.mov\tMissing file\n/x.mov\tNot listed in any MHL\n");
    warnings->filterField()->setText("C.MOV");
    EXPECT_EQ(rowsText(), "/c.mov\tHash fail\n");
    EXPECT_TRUE(table->isExpanded(table->model()->index(0, 0)));
    EXPECT_EQ(table->model()->rowCount(table->model()->index(0, 0)), 1);

    // One Tab stop: Tab leaves the table at once.
    screen.parent.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&screen.parent));
    table->setFocus();
    QTest::keyClick(table, Qt::Key_Tab);
    EXPECT_FALSE(table->hasFocus());
}

// A verification listed before two creations: "Export" stays beside "Show", which reveals
// the new MHL of every creation in one request, in list order. Without the verification
// "Show" is alone.
TEST(HWCOperationView, MixedListOffersExportAndShow)
{
    QProcess daemon;
    daemon.start(QStringLiteral("dbus-daemon"),
                 {QStringLiteral("--session"), QStringLiteral("--nofork"),
                  QStringLiteral("--print-address=1")});
    ASSERT_TRUE(daemon.waitForReadyRead(10000));
    const QByteArray address = daemon.readLine().trimmed();
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    QThread serviceThread;
    serviceThread.start();
    FakeFileManager manager;
    manager.moveToThread(&serviceThread);
    QDBusConnection service =
        QDBusConnection::connectToBus(QString::fromUtf8(address), QStringLiteral("fake-manager"));
    ASSERT_TRUE(service.registerObject(QStringLiteral("/org/freedesktop/FileManager1"), &manager,
                                       QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(service.registerService(QStringLiteral("org.freedesktop.FileManager1")));

    QTemporaryDir dir;
    TestSupport::writeText(dir.filePath(QStringLiteral("ONE/a.mov")), "one");
    TestSupport::writeText(dir.filePath(QStringLiteral("TWO/b.mov")), "two");
    QStringList expected;
    {
        Screen screen;
        screen.add(listedFolder(dir.filePath("CARD"), {"a.mov"}));
        screen.add(dir.filePath(QStringLiteral("ONE")));
        screen.add(dir.filePath(QStringLiteral("TWO")));
        ASSERT_TRUE(waitUntil([&] { return screen.settled(); }));
        EXPECT_FALSE(screen.view->exportButton()->isHidden());
        EXPECT_FALSE(screen.view->showButton()->isHidden());
        for (const auto &operation : screen.controller.operations().mid(1))
            expected << QUrl::fromLocalFile(operation->writtenList().path).toString();
        screen.view->showButton()->click();
        EXPECT_TRUE(waitUntil([&] { return manager.received().size() == 2; }));
        screen.controller.operations().first()->remove();
        EXPECT_TRUE(screen.view->exportButton()->isHidden());
        EXPECT_FALSE(screen.view->showButton()->isHidden());
    }
    EXPECT_EQ(manager.received(), expected);

    QDBusConnection::disconnectFromBus(QStringLiteral("fake-manager"));
    serviceThread.quit();
    serviceThread.wait();
    daemon.kill();
    daemon.waitForFinished();
}

// "Export" with two verifications asks for a folder and writes one log each, named after
// its card; the next export starts there. A cancelled panel writes nothing. A result's
// "Export Report…" then writes the report of both cards there. "Done" empties the screen.
TEST(HWCOperationView, ExportWritesLogsAndReportThenDoneEmpties)
{
    QTemporaryDir dir;
    // A home of its own, with the Documents folder where the panel starts.
    const QByteArray home = qgetenv("HOME");
    qputenv("HOME", dir.path().toUtf8());
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, dir.filePath("settings"));
    QDir(dir.path()).mkpath(QStringLiteral("Documents"));
    const QString first = listedFolder(dir.filePath("FIRST"), {"a.mov"});
    const QString second = listedFolder(dir.filePath("SECOND"), {"b.mov"});
    Screen screen;
    screen.add(first);
    screen.add(second);
    ASSERT_TRUE(waitUntil([&] { return screen.settled(); }));
    EXPECT_EQ(HWCLogExport::fileName(*screen.controller.operations()[0],
                                     QDateTime(QDate(2024, 3, 12), QTime(10, 4))),
              "Hashwarden Log - FIRST - 2024-03-12 at 10.04.00.txt");

    const QString target = dir.filePath(QStringLiteral("logs"));
    QDir().mkpath(target);
    for (const bool accept : {false, true}) {
        screen.view->exportButton()->click();
        auto *panel = screen.view->window()->findChild<QFileDialog *>();
        ASSERT_NE(panel, nullptr);
        EXPECT_EQ(panel->fileMode(), QFileDialog::Directory);
        EXPECT_EQ(panel->labelText(QFileDialog::Accept), QStringLiteral("Export"));
        EXPECT_EQ(panel->directory().absolutePath(),
                  QStandardPaths::standardLocations(QStandardPaths::DocumentsLocation).last());
        panel->setDirectory(target);
        panel->selectFile(target);
        QDialog *dialog = panel;
        accept ? dialog->accept() : dialog->reject();
        ASSERT_TRUE(waitUntil([&] { return !screen.view->window()->findChild<QFileDialog *>(); }));
    }
    EXPECT_EQ(answerQuestion("OK"), "2 logs were written to " + target + ".");
    EXPECT_EQ(HWCLogExport::startFolder(), target);
    qputenv("HOME", home);
    const QStringList logs = QDir(target).entryList(QDir::Files, QDir::Name);
    ASSERT_EQ(logs.size(), 2);
    EXPECT_TRUE(logs[1].startsWith("Hashwarden Log - SECOND - ")) << logs[1].toStdString();
    // The report the command line's --log writes, of that card alone.
    const QByteArray text = TestSupport::readFile(target + "/" + logs[1]);
    EXPECT_TRUE(text.contains("\nResult:    Verified OK\n")) << text.toStdString();
    EXPECT_TRUE(text.contains("\nFile read successfully\n/b.mov (50 KB read, 50000 bytes)\n"));
    EXPECT_FALSE(text.contains("FIRST"));

    HWCCompletedViewController::of(screen.panel(1))->exportReportButton()->click();
    auto *panel = screen.view->window()->findChild<QFileDialog *>();
    ASSERT_NE(panel, nullptr);
    EXPECT_EQ(panel->directory().absolutePath(), target);
    const QString proposed = panel->selectedFiles().value(0);
    EXPECT_TRUE(proposed.startsWith(target + "/Hashwarden Report - 2 cards - "))
        << proposed.toStdString();
    // Choosing the web page format makes the name end in ".html".
    Q_EMIT panel->filterSelected("Web page (*.html)");
    const QString report = panel->selectedFiles().value(0);
    static_cast<QDialog *>(panel)->accept();
    EXPECT_EQ(answerQuestion("OK"), "The report was written to " + report + ".");
    EXPECT_TRUE(TestSupport::readFile(report).contains(
        "<p>All 2 cards verified: 2 files, 100.00 kB, every file matched its MHL.</p>"))
        << TestSupport::readFile(report).toStdString();

    screen.view->doneButton()->click();
    EXPECT_TRUE(screen.controller.operations().isEmpty());
    EXPECT_TRUE(screen.parent.childViewControllers().isEmpty());
}

// A notice of the row's former operation that arrives after the row was given another is
// dropped; observing twice or stopping twice changes nothing. A cancelled operation that
// has not yet finished is told in the window's words.
TEST(HWCOperationView, LateNoticeOfAFormerOperationIsDropped)
{
    QTemporaryDir dir;
    const auto source = scannedSource(listedFolder(dir.filePath("CARD"), {"a"}));
    const auto former = std::make_shared<HWCVerificationOperation>(HWCOperationParameters{source});
    const auto current = std::make_shared<HWCVerificationOperation>(HWCOperationParameters{source});
    former->info()->setFileTotal(1, 100);
    HWCOperationTableCellView row;
    row.setObjectValue(former);
    row.startObserving();
    EXPECT_TRUE(row.isObserving());
    former->info()->addBytes(40);
    former->info()->setState(HWCOperationState::FinishedWithWarnings);
    row.setObjectValue(current);
    QCoreApplication::processEvents();
    EXPECT_EQ(row.progressIndicator()->subDoubleValue(), 0.0);
    EXPECT_EQ(row.progressIndicator()->theme(), HWCTheme::Default);

    current->info()->setFileTotal(1, 100);
    current->info()->addBytes(25);
    QCoreApplication::processEvents();
    EXPECT_EQ(row.progressIndicator()->subDoubleValue(), 25.0);
    EXPECT_FALSE(row.cancelButton()->isHidden()); // not finished: the cancel button stays
    row.stopObserving();
    row.stopObserving();
    EXPECT_FALSE(row.isObserving());
    current->info()->setState(HWCOperationState::Cancelled);
    row.startObserving();
    EXPECT_EQ(row.progressLabel()->text(), QStringLiteral("Cancelled."));
    EXPECT_EQ(HWCCompletedViewController::headline(*current), QStringLiteral("Cancelled."));
}

#include "HWCOperationViewTests.moc"
