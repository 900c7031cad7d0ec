#include "engine/operations/HWCOperationController.h"
#include "engine/operations/HWCSource.h"
#include "engine/operations/HWCSourceOperation.h"
#include "engine/session/HWCAnalytics.h"
#include "engine/session/HWCNotificationCenter.h"
#include "support/VerificationFixtures.h"
#include "ui/controls/HWCWindowButton.h"
#include "ui/drawing/HWCRibbonView.h"
#include "ui/operations/HWCOperationViewController.h"
#include "ui/sources/HWCDiskCollectionViewItem.h"
#include "ui/sources/HWCSourceCollectionViewController.h"
#include "ui/support/WidgetSupport.h"
#include "ui/window/HWCCustomizableWindowFrame.h"
#include "ui/window/HWCMainViewController.h"
#include "ui/window/HWCMainWindow.h"
#include "ui/window/HWCMainWindowController.h"
#include "ui/window/HWCWindowDragger.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QMenu>
#include <QMimeData>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

namespace {

using Frame = HWCCustomizableWindowFrame;

TEST(CustomizableWindowFrame, aLightTitleGetsADarkShadowAndADarkOneALightShadow)
{
    HWCMainWindow window;
    const std::pair<QColor, bool> cases[] = {{Qt::white, true},
                                             {Qt::black, false},
                                             {QColor::fromRgbF(0.8f, 0.1f, 0.1f), true},
                                             {QColor::fromRgbF(0.1f, 0.1f, 0.5f), true},
                                             {QColor::fromRgbF(0.2f, 0.2f, 0.4f), false}};
    for (const auto &[title, dark] : cases) {
        window.setTitleColor(title);
        EXPECT_EQ(window.frameView()->shouldUseDarkShadow(), dark) << title.name().toStdString();
        EXPECT_EQ(window.frameView()->titleStringShadow().color.lightness() < 128, dark);
    }
}

TEST(CustomizableWindowFrame, buttonsFollowTheSettersAndTheContentCoversTheFrameInFullScreen)
{
    HWCMainWindow window;
    auto *content = new QWidget;
    window.setContentView(content);
    window.resize(600, 400);
    const QRect frame(0, 0, 600, 400);
    EXPECT_EQ(window.contentRectForFrameRect(frame, Qt::WindowNoState), QRect(0, 50, 600, 350));
    EXPECT_EQ(window.contentRectForFrameRect(frame, Qt::WindowFullScreen), frame);

    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    EXPECT_EQ(content->geometry(), QRect(0, 50, 600, 350));
    // The buttons: offset 10, centred in the bar; they move with every setter.
    Frame *bar = window.frameView();
    EXPECT_EQ(bar->closeButton()->pos(), QPoint(16, 18));
    EXPECT_EQ(bar->zoomButton()->pos(), QPoint(56, 18));
    window.setControlsXOffset(20);
    window.setTitlebarHeight(60);
    EXPECT_EQ(bar->closeButton()->pos(), QPoint(26, 23));
    window.setCenterControls(false);
    EXPECT_EQ(bar->zoomButton()->pos(), QPoint(66, 5));
    QMenu menu;
    bar->setMenu(&menu);
    ASSERT_NE(bar->menuButton(), nullptr);
    EXPECT_EQ(bar->menuButton()->geometry().right(), 600 - 12 - 1);
    window.setTitlebarHeight(50);
    window.toggleFullScreen();
    ASSERT_TRUE(TestSupport::waitUntil([&] { return window.isFullScreen(); }));
    EXPECT_EQ(content->geometry(), window.rect());
    EXPECT_FALSE(window.frameView()->closeButton()->isVisible());
    window.toggleFullScreen();
    ASSERT_TRUE(TestSupport::waitUntil([&] { return !window.isFullScreen(); }));
    EXPECT_TRUE(window.frameView()->closeButton()->isVisible());
    EXPECT_EQ(content->geometry().top(), 50);
}

TEST(WindowDragger, edgesAndResizesKeepTheOppositeSideAndTheMinimum)
{
    const QSize size(400, 300);
    struct Case {
        QPoint at;
        Qt::Edges edges;
    };
    const Case cases[] = {{{0, 150}, Qt::LeftEdge},
                          {{399, 150}, Qt::RightEdge},
                          {{200, 5}, Qt::TopEdge},
                          {{200, 6}, {}},
                          {{394, 294}, Qt::RightEdge | Qt::BottomEdge},
                          {{2, 298}, Qt::LeftEdge | Qt::BottomEdge}};
    for (const Case &c : cases)
        EXPECT_EQ(HWCWindowDragger::edgesAt(c.at, size, 6), c.edges) << c.at.x() << "," << c.at.y();

    const QRect start(100, 100, 400, 300);
    const QSize minimum(200, 150);
    EXPECT_EQ(HWCWindowDragger::resized(start, Qt::RightEdge | Qt::BottomEdge, {50, 20}, minimum),
              QRect(100, 100, 450, 320));
    EXPECT_EQ(HWCWindowDragger::resized(start, Qt::LeftEdge | Qt::TopEdge, {-30, 40}, minimum),
              QRect(70, 140, 430, 260));
    EXPECT_EQ(HWCWindowDragger::resized(start, Qt::LeftEdge, {350, 0}, minimum),
              QRect(300, 100, 200, 300));
    EXPECT_EQ(HWCWindowDragger::resized(start, Qt::BottomEdge, {0, -500}, minimum),
              QRect(100, 100, 400, 150));
}

class MainView : public VerificationFixtures::VerificationTest {
protected:
    void SetUp() override
    {
        VerificationTest::SetUp();
        m_view.setOperationController(&m_controller);
        m_view.resize(600, 450);
        m_view.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&m_view));
    }
    void TearDown() override
    {
        m_controller.cancelAllOperations();
        VerificationTest::TearDown();
    }

    // Shows a folder of one file in the collection and presses its action button.
    std::shared_ptr<HWCSource> pressActionOn(const QString &name)
    {
        const QString path = m_folder.filePath(name);
        TestSupport::writeFile(path + "/clip.mov", 1000);
        HWCSourceCollectionViewController *sources = m_view.sourceCollection();
        EXPECT_TRUE(sources->createNewSourceWithPath(path, 0, "Browse Pressed"));
        const std::shared_ptr<HWCSource> source = sources->disks().value(0);
        EXPECT_TRUE(TestSupport::waitUntil([&] { return source->isScanFinished(); }));
        HWCDiskCollectionViewItem *item = sources->collectionView()->visibleItems().value(0);
        QTest::mouseClick(item->button(), Qt::LeftButton);
        return source;
    }

    bool transitionEnded()
    {
        return TestSupport::waitUntil([this] { return !m_view.isTransitioning(); });
    }

    HWCOperationController m_controller;
    HWCMainViewController m_view;
};

TEST_F(MainView, theActionButtonHandsItsSourceOnAndTheListComesBackAsAnEmptyCollection)
{
    HWCSourceCollectionViewController *first = m_view.sourceCollection();
    ASSERT_NE(first, nullptr);
    ASSERT_EQ(m_view.childViewControllers(), QList<QWidget *>{first});
    const std::shared_ptr<HWCSource> source = pressActionOn("A001");
    // Both screens are there while the list slides in: never an empty content area.
    EXPECT_TRUE(m_view.isTransitioning());
    EXPECT_EQ(m_view.childViewControllers().size(), 2);
    ASSERT_TRUE(transitionEnded());
    ASSERT_EQ(m_controller.operations().size(), 1);
    EXPECT_EQ(m_controller.operations().first()->source(), source);
    ASSERT_EQ(m_view.childViewControllers().size(), 1);
    auto *list = qobject_cast<HWCOperationViewController *>(m_view.childViewControllers().first());
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->representedObject(), &m_controller);
    EXPECT_EQ(list->geometry(), m_view.rect());
    EXPECT_EQ(m_view.sourceCollection(), nullptr);
    // The ribbon keeps its corner, above the screen that came in after it.
    m_view.resize(640, 480);
    EXPECT_EQ(m_view.ribbonView()->geometry(), QRect(640 - 38, 480 - 38, 38, 38));
    EXPECT_GT(m_view.children().indexOf(m_view.ribbonView()), m_view.children().indexOf(list));

    ASSERT_TRUE(
        TestSupport::waitUntil([&] { return m_controller.operations().first()->isFinished(); }));
    list->done();
    EXPECT_EQ(m_view.childViewControllers().size(), 2);
    ASSERT_TRUE(transitionEnded());
    ASSERT_EQ(m_view.childViewControllers().size(), 1);
    HWCSourceCollectionViewController *again = m_view.sourceCollection();
    ASSERT_NE(again, nullptr);
    EXPECT_TRUE(again->disks().isEmpty());
    EXPECT_EQ(again->geometry(), m_view.rect());
    // A new collection, whose button starts the next source again.
    const std::shared_ptr<HWCSource> next = pressActionOn("A002");
    ASSERT_TRUE(transitionEnded());
    ASSERT_EQ(m_controller.operations().size(), 1);
    EXPECT_EQ(m_controller.operations().first()->source(), next);
}

// While the list is shown, a list opened from outside and a dropped card each join it as an
// operation of their own, its action decided by its scan; Done asks while one runs, and only Stop
// empties the list.
TEST_F(MainView, sourcesArrivingAtTheListJoinItAndDoneAsksWhileOneRuns)
{
    pressActionOn("A001");
    ASSERT_TRUE(transitionEnded());
    auto *list = qobject_cast<HWCOperationViewController *>(m_view.childViewControllers().first());
    ASSERT_NE(list, nullptr);
    // One at a time, so that no run waits for a free thread behind the endless one.
    const auto rowFinished = [&](int rows) {
        return TestSupport::waitUntil([&] {
            return list->numberOfRows() == rows && m_controller.operations().last()->isFinished();
        });
    };
    ASSERT_TRUE(rowFinished(1));
    QMimeData dropped;
    dropped.setUrls({QUrl::fromLocalFile(m_folder.filePath("A001"))});
    const Qt::DropActions offered = Qt::CopyAction | Qt::MoveAction | Qt::LinkAction;
    QDragEnterEvent enter(QPoint(10, 10), offered, &dropped, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(list, &enter);
    EXPECT_EQ(enter.dropAction(), Qt::LinkAction); // never a move of the user's media
    QDropEvent drop(QPointF(10, 10), offered, &dropped, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(list, &drop);
    ASSERT_TRUE(rowFinished(2));
    // Each decided by its own scan: the dropped card now holds the list its creation wrote.
    EXPECT_EQ(m_controller.operations()[0]->actionType(), HWCActionType::Create);
    EXPECT_EQ(m_controller.operations()[1]->actionType(), HWCActionType::Verify);
    const QString endless = VerificationFixtures::endlessFolder(m_folder.filePath("ENDLESS"));
    HWCNotificationCenter::defaultCenter().post(kHWCAppOpenedWithMHLNotification,
                                                {{kHWCFilenameKey, endless + "/list.mhl"}});
    ASSERT_TRUE(TestSupport::waitUntil([&] { return list->numberOfRows() == 3; }));

    for (const QString button : {"Keep Running", "Stop"}) {
        list->done();
        EXPECT_EQ(answerQuestion(button), "Stop 1 running verification?");
    }
    EXPECT_TRUE(m_controller.operations().isEmpty());
}

// Closing the window while a creation runs asks first; Keep Running leaves it open.
TEST(MainWindowController, closingWhileWorkRunsAsksFirst)
{
    QTemporaryDir settings;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
    TestSupport::writeEndlessFile(settings.filePath("CARD/endless.mov"));
    HWCOperationController operations;
    HWCMainWindowController controller;
    controller.setOperationController(&operations);
    controller.showWindow();
    const auto creation =
        operations.addDisk(VerificationFixtures::scannedSource(settings.filePath("CARD")));
    for (const QString button : {"Keep Running", "Stop"}) {
        controller.window()->close();
        EXPECT_EQ(answerQuestion(button), "Stop 1 running creation?");
        EXPECT_EQ(controller.window()->isVisible(), button == "Keep Running");
    }
    EXPECT_TRUE(TestSupport::waitUntil([&] { return creation->isFinished(); }));
    EXPECT_TRUE(creation->writtenList().path.isNull());
}

// The frameless window is a frame to screen readers; F10 and the Menu key open its menu,
// and the title bar's buttons are Tab stops.
TEST(MainWindowController, theFrameServesKeyboardAndScreenReader)
{
    HWCMainWindowController controller;
    QMenu menu;
    menu.addAction("About");
    HWCMainWindow *window = controller.window();
    window->frameView()->setMenu(&menu);
    controller.showWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    EXPECT_EQ(QAccessible::queryAccessibleInterface(window)->role(), QAccessible::Window);
    EXPECT_EQ(window->frameView()->closeButton()->focusPolicy(), Qt::TabFocus);
    for (const Qt::Key key : {Qt::Key_F10, Qt::Key_Menu}) {
        QTest::keyClick(window, key);
        EXPECT_TRUE(menu.isVisible()) << key;
        EXPECT_EQ(menu.activeAction(), menu.actions().first());
        menu.hide();
    }
}

TEST(MainWindowController, theWindowComesBackAtItsLastSizeAndPlace)
{
    QTemporaryDir settings;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
    QRect before;
    {
        HWCMainWindowController controller;
        controller.showWindow();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(controller.window()));
        EXPECT_EQ(controller.window()->size(), HWCMainWindowController::defaultSize());
        EXPECT_NE(controller.sourceCollection(), nullptr);
        controller.window()->setGeometry(60, 70, 810, 610);
        controller.window()->resize(100, 100); // held at the minimum
        EXPECT_EQ(controller.window()->size(), HWCMainWindowController::minimumSize());
        controller.window()->resize(810, 610);
        before = controller.window()->geometry();
        controller.window()->close();
    }
    HWCMainWindowController controller;
    controller.showWindow();
    EXPECT_EQ(controller.window()->geometry(), before);
}

} // namespace
