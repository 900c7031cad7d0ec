#include "engine/operations/HWCSource.h"
#include "engine/session/HWCAnalytics.h"
#include "engine/session/HWCNotificationCenter.h"
#include "support/VerificationFixtures.h"
#include "ui/drawing/HWCPoofAnimation.h"
#include "ui/sources/HWCCollectionViewGridLayout.h"
#include "ui/sources/HWCDiskCollectionViewItem.h"
#include "ui/sources/HWCSourceCollectionOpenPanel.h"
#include "ui/sources/HWCSourceCollectionViewController.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QMimeData>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>
#include <QTimer>
#include <algorithm>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using TestSupport::waitUntil;

// While it lives, holds the pool's only thread, so that a scan started meanwhile waits.
class PoolBlocker {
public:
    PoolBlocker()
    {
        QThreadPool::globalInstance()->setMaxThreadCount(1);
        QThreadPool::globalInstance()->start([this] { m_gate.acquire(); });
    }
    ~PoolBlocker()
    {
        m_gate.release();
        QThreadPool::globalInstance()->setMaxThreadCount(QThread::idealThreadCount());
    }

private:
    QSemaphore m_gate;
};

class SourceCollection : public VerificationFixtures::VerificationTest {
protected:
    void SetUp() override
    {
        VerificationTest::SetUp();
        m_controller.setActionReceivedBlock(
            [this](const std::shared_ptr<HWCSource> &source) { m_started.append(source); });
        m_controller.resize(560, 420);
        m_controller.show();
        m_controller.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&m_controller));
    }

    QString folder(const QString &name, int files = 1, bool withList = false)
    {
        const QString path = m_folder.filePath(name);
        for (int index = 0; index < files; ++index)
            TestSupport::writeFile(QStringLiteral("%1/clip%2.mov").arg(path).arg(index), 100);
        if (withList)
            TestSupport::writeText(path + "/deep/er/list.mhl", "<hashlist/>");
        return path;
    }

    // Enter, move and drop over the drop area, as a file manager's drag does.
    bool drop(const QList<QUrl> &urls)
    {
        QMimeData data;
        data.setUrls(urls);
        HWCSourceCollectionView *view = m_controller.collectionView();
        const QPoint at = view->rect().center();
        const Qt::DropActions actions = Qt::CopyAction | Qt::MoveAction | Qt::LinkAction;
        QDragEnterEvent enter(at, actions, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(view, &enter);
        EXPECT_EQ(enter.dropAction(), Qt::LinkAction); // never a move of the user's media
        EXPECT_TRUE(view->isDragging());
        EXPECT_EQ(view->dropOperation(), HWCDropOperation::Before);
        QDragMoveEvent move(at, actions, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(view, &move);
        QDropEvent dropped(at, actions, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(view, &dropped);
        EXPECT_FALSE(view->isDragging());
        return dropped.isAccepted();
    }

    std::shared_ptr<HWCSource> shown() const { return m_controller.disks().value(0); }
    HWCDiskCollectionViewItem *item() const
    {
        return m_controller.collectionView()->visibleItems().value(0);
    }
    bool scanned() const { return shown() && shown()->isScanFinished(); }
    // Event, type, source and method of each usage event.
    QList<QStringList> actions() const
    {
        QList<QStringList> rows;
        for (const QJsonObject &line : events()) {
            const QJsonObject properties = line["properties"].toObject();
            rows.append({line["event"].toString(), properties["1 - Type"].toString(),
                         properties["2 - Source"].toString(), properties["3 - Method"].toString()});
        }
        return rows;
    }

    HWCSourceCollectionViewController m_controller;
    QList<std::shared_ptr<HWCSource>> m_started;
};

QUrl url(const QString &path)
{
    return QUrl::fromLocalFile(path);
}

} // namespace

TEST_F(SourceCollection, dropsReplaceTheSourceAndOnlyFoldersAndListsMakeOne)
{
    const QString first = folder("first"), second = folder("second"), third = folder("third");
    TestSupport::writeText(m_folder.filePath("notes.txt"), "plain");
    const QByteArray latin1Name = QFile::encodeName(m_folder.path()) + "/caf\xe9";
    ASSERT_EQ(::mkdir(latin1Name.constData(), 0755), 0);
    QSignalSpy populated(&m_controller, &HWCSourceCollectionViewController::isPopulatedChanged);
    QList<QUrl> twenty;
    for (int index = 0; index < 20; ++index)
        twenty.append(url(index ? folder(QString::number(index)) : third));

    const struct {
        QList<QUrl> urls;
        bool accepted;
        QString shown;
    } cases[] = {
        {{url(first)}, true, first},
        {{url(second), url(third)}, true, second},
        {{url(m_folder.filePath("notes.txt"))}, false, second},
        {{QUrl("http://example.com/card")}, false, second},
        {{QUrl::fromEncoded("file://" + QUrl::toPercentEncoding(latin1Name, "/"))}, false, second},
        {{url(m_folder.filePath("vanished"))}, true, m_folder.filePath("vanished")},
        {twenty, true, third},
    };
    for (const auto &drop : cases) {
        EXPECT_EQ(this->drop(drop.urls), drop.accepted)
            << drop.urls.first().toString().toStdString();
        ASSERT_EQ(m_controller.disks().size(), 1);
        EXPECT_EQ(shown()->path(), drop.shown);
        EXPECT_EQ(m_controller.collectionView()->visibleItems().size(), 1);
    }
    EXPECT_EQ(populated.size(), 4);
    EXPECT_TRUE(m_controller.isPopulated());
    const QStringList dragged{"New Action", "Create", "Directory", "Dragged from Finder"};
    ASSERT_TRUE(waitUntil([&] { return actions().size() == 4; }));
    EXPECT_EQ(actions(), QList<QStringList>(4, dragged));
    EXPECT_EQ(::rmdir(latin1Name.constData()), 0); // a name the temporary folder cannot remove
}

TEST_F(SourceCollection, theButtonWaitsForTheScanAndStartsTheSource)
{
    const QString card = folder("card", 3, true);
    {
        PoolBlocker blocker;
        ASSERT_TRUE(drop({url(card)}));
        EXPECT_TRUE(item()->button()->isHidden());
        EXPECT_EQ(item()->textField()->text(), "card");
        EXPECT_EQ(item()->subTextField()->text(), "Calculating...");
        m_controller.receivedActionFromItemAtIndexPath(0);
        EXPECT_TRUE(m_started.isEmpty());
        EXPECT_TRUE(actions().isEmpty());
    }
    // The event waits for the scan, which decides the card's action.
    ASSERT_TRUE(waitUntil([&] { return scanned() && !actions().isEmpty(); }));
    EXPECT_EQ(actions(),
              (QList<QStringList>{{"New Action", "Verify", "Directory", "Dragged from Finder"}}));
    EXPECT_FALSE(item()->button()->isHidden());
    EXPECT_EQ(item()->button()->text(), "Verify");
    EXPECT_EQ(item()->subTextField()->text(), "311 Bytes");
    EXPECT_EQ(item()->imageView()->pixmap().deviceIndependentSize(), QSizeF(90, 90));
    EXPECT_EQ(item()->accessibleName(), "card");
    EXPECT_EQ(item()->accessibleDescription(), "311 Bytes, Verify");

    // Tab reaches the area, the card, then its button; Return on the button starts it.
    m_controller.collectionView()->setFocus();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), item());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    ASSERT_EQ(QApplication::focusWidget(), item()->button());
    QTest::keyClick(item()->button(), Qt::Key_Return);
    ASSERT_TRUE(waitUntil([&] { return !m_started.isEmpty(); }));
    EXPECT_EQ(m_started, QList<std::shared_ptr<HWCSource>>{shown()});
}

TEST_F(SourceCollection, aStaleScanNeverLandsOnTheNextSource)
{
    QThreadPool::globalInstance()->setMaxThreadCount(2);
    const QString big = folder("big", 2000, true), small = folder("small", 2);
    ASSERT_TRUE(drop({url(big)}));
    const std::shared_ptr<HWCSource> first = shown();
    ASSERT_TRUE(drop({url(small)}));
    ASSERT_TRUE(waitUntil([&] { return first->isScanFinished() && scanned(); }));
    QCoreApplication::processEvents();
    QThreadPool::globalInstance()->setMaxThreadCount(QThread::idealThreadCount());
    EXPECT_EQ(item()->representedObject(), shown());
    EXPECT_EQ(item()->subTextField()->text(), "200 Bytes");
    EXPECT_EQ(item()->button()->text(), "Create");
}

TEST_F(SourceCollection, anOpenedListIsTakenOnlyByAShownEmptyCollection)
{
    const QString list = m_folder.filePath("day1.mhl");
    TestSupport::writeText(list, "<hashlist/>");
    const QVariantMap info{{kHWCFilenameKey, list}};
    TestSupport::LogCapture log;
    m_controller.hide();
    HWCNotificationCenter::defaultCenter().post(kHWCAppOpenedWithMHLNotification, info);
    EXPECT_FALSE(m_controller.isPopulated());
    m_controller.show();
    HWCNotificationCenter::defaultCenter().post(kHWCAppOpenedWithMHLNotification, info);
    ASSERT_TRUE(m_controller.isPopulated());
    EXPECT_EQ(shown()->path(), list);
    HWCNotificationCenter::defaultCenter().post(kHWCAppOpenedWithMHLNotification,
                                                {{kHWCFilenameKey, folder("other")}});
    EXPECT_EQ(shown()->path(), list);
    EXPECT_EQ(log.lines()
                  .filter("Won't create a new Verification source, because one already "
                          "exists")
                  .size(),
              2);
    ASSERT_TRUE(waitUntil([&] { return !actions().isEmpty(); }));
    EXPECT_EQ(actions(),
              (QList<QStringList>{{"New Action", "Verify", "MHL", "App Opened with MHL"}}));
}

TEST_F(SourceCollection, theOpenPanelChoosesFoldersAndListsAndLogsACancel)
{
    const QString chosen = folder("chosen");
    const QString list = m_folder.filePath("card.mhl");
    TestSupport::writeText(list, "<hashlist/>");
    const QByteArray home = qgetenv("HOME");
    qputenv("HOME", QFile::encodeName(m_folder.filePath("home")));
    const auto restoreHome = qScopeGuard([&] { qputenv("HOME", home); });
    const QString documents = m_folder.filePath("home/Documents");
    ASSERT_TRUE(QDir().mkpath(documents));
    TestSupport::LogCapture log;
    for (const QString &path : {chosen, list}) {
        QTest::keyClick(&m_controller, Qt::Key_O, Qt::ControlModifier);
        HWCSourceCollectionOpenPanel *panel = m_controller.openPanel();
        ASSERT_TRUE(panel);
        EXPECT_EQ(panel->windowModality(), Qt::WindowModal);
        EXPECT_TRUE(panel->testOption(QFileDialog::DontUseNativeDialog));
        EXPECT_FALSE(panel->filter() & QDir::Hidden);
        EXPECT_EQ(panel->directory().absolutePath(), documents);
        panel->selectFile(path);
        panel->accept();
        EXPECT_EQ(shown()->path(), path);
    }
    m_controller.browsePressed();
    m_controller.openPanel()->reject();
    EXPECT_EQ(shown()->path(), list);
    EXPECT_TRUE(log.contains("Can't export failed files (result: 0)"));
    ASSERT_TRUE(waitUntil([&] { return actions().size() == 2; }));
    // Each event waits for its own source's scan, and the two scans may end in either order.
    QList<QStringList> events = actions();
    std::sort(events.begin(), events.end());
    EXPECT_EQ(events, (QList<QStringList>{{"New Action", "Create", "Directory", "Browse Pressed"},
                                          {"New Action", "Verify", "MHL", "Browse Pressed"}}));
}

TEST(SourceCollectionKinds, aMountPointIsADiskAListAnMHLAndAnythingElseADirectory)
{
    QTemporaryDir dir;
    EXPECT_EQ(HWCSourceCollectionViewController::sourceKindForPath("/"), "Disk");
    EXPECT_EQ(HWCSourceCollectionViewController::sourceKindForPath(dir.filePath("x.mhl")), "MHL");
    EXPECT_EQ(HWCSourceCollectionViewController::sourceKindForPath(dir.path()), "Directory");
    EXPECT_EQ(HWCSourceCollectionViewController::sourceKindForPath(dir.filePath("X.MHL")),
              "Directory");
}

// The card's own drag; where the pointer is when it ends decides. A platform whose drag
// runs a loop of its own gets an Escape from inside that loop.
TEST_F(SourceCollection, draggingTheSourceOutOfTheWindowRemovesIt)
{
    ASSERT_TRUE(drop({url(folder("source"))}));
    QSignalSpy populated(&m_controller, &HWCSourceCollectionViewController::isPopulatedChanged);
    const QPoint inside = m_controller.mapToGlobal(m_controller.rect().center());
    const QPoint outside = m_controller.window()->frameGeometry().bottomRight() + QPoint(200, 200);
    for (const QPoint &end : {inside, outside}) {
        QCursor::setPos(end);
        QTimer::singleShot(0, &m_controller, [this] {
            QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
            QCoreApplication::sendEvent(&m_controller, &escape);
        });
        m_controller.collectionView()->beginDraggingItem(item());
        EXPECT_TRUE(m_controller.indexPathsOfItemsBeingDragged().isEmpty());
        EXPECT_EQ(m_controller.isPopulated(), end == inside);
    }
    EXPECT_EQ(populated.size(), 1);
    EXPECT_TRUE(m_controller.collectionView()->visibleItems().isEmpty());
    const QString invitation = m_controller.collectionView()->accessibleDescription();
    for (const char *kind : {"disk", "folder", "MHL file"})
        EXPECT_TRUE(invitation.contains(kind)) << kind;
    const QWidgetList windows = QApplication::topLevelWidgets();
    EXPECT_TRUE(std::any_of(windows.begin(), windows.end(), [](QWidget *window) {
        return qobject_cast<HWCPoofAnimation *>(window) && window->isVisible();
    }));
    EXPECT_TRUE(waitUntil([&] { return actions().size() == 1; }));
}

TEST(HWCCollectionViewGridLayout, itemsAreCentredTwentyApartAndWrap)
{
    QWidget area;
    auto *layout = new HWCCollectionViewGridLayout(&area);
    QList<QWidget *> items;
    for (int index = 0; index < 3; ++index) {
        items.append(new QWidget(&area));
        items.last()->setFixedSize(100, 50);
        layout->addWidget(items.last());
    }
    layout->setGeometry(QRect(0, 0, 300, 200)); // two fit in a row, the third wraps
    EXPECT_EQ(items[0]->geometry(), QRect(40, 40, 100, 50));
    EXPECT_EQ(items[1]->geometry(), QRect(160, 40, 100, 50));
    EXPECT_EQ(items[2]->geometry(), QRect(100, 110, 100, 50));
}
