#include "HWCWindowScenes.h"

#include "HWCGallery.h"
#include "app/HWCApplicationMenu.h"
#include "engine/operations/HWCOperationController.h"
#include "engine/operations/HWCSource.h"
#include "engine/operations/HWCSourceOperation.h"
#include "support/VerificationFixtures.h"
#include "ui/controls/HWCWindowButton.h"
#include "ui/operations/HWCOperationViewController.h"
#include "ui/sources/HWCDiskCollectionViewItem.h"
#include "ui/sources/HWCSourceCollectionViewController.h"
#include "ui/window/HWCCustomizableWindowFrame.h"
#include "ui/window/HWCListSettings.h"
#include "ui/window/HWCMainViewController.h"
#include "ui/window/HWCMainWindow.h"
#include "ui/window/HWCMainWindowController.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMenu>
#include <QScreen>
#include <QSettings>
#include <QTemporaryDir>
#include <QWindow>

namespace {

constexpr int kMargin = 12;

bool waitFor(const std::function<bool()> &done, int milliseconds = 30000)
{
    return TestSupport::waitUntil(done, std::chrono::milliseconds(milliseconds));
}

void settle(int milliseconds)
{
    waitFor([] { return false; }, milliseconds);
}

// A card whose list carries one right and one wrong digest and misses a file.
QString troubledCard(const QTemporaryDir &dir)
{
    using VerificationFixtures::hashElement;
    const QString card = dir.filePath(QStringLiteral("B002"));
    TestSupport::writeText(card + QStringLiteral("/clip1.mov"), "abc");
    TestSupport::writeText(card + QStringLiteral("/clip2.mov"), "changed since");
    const QString wrong(32, QLatin1Char('0'));
    VerificationFixtures::writeMHL(
        card + QStringLiteral("/B002.mhl"),
        {hashElement("clip1.mov", 3, {{"md5", "900150983cd24fb0d6963f7d28e17f72"}}),
         hashElement("clip2.mov", 13, {{"md5", wrong}}),
         hashElement("clip3.mov", 9, {{"md5", wrong}})},
        QStringLiteral("Scene 1.0"));
    return card;
}

class Director {
public:
    Director()
    {
        // The desktop behind the window, and the window that takes the focus away.
        m_desktop.setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
        QPalette palette = m_desktop.palette();
        palette.setColor(QPalette::Window, HWCGallery::backdropColor());
        m_desktop.setPalette(palette);
        m_desktop.setAutoFillBackground(true);
        m_desktop.setGeometry(QGuiApplication::primaryScreen()->geometry());
        m_desktop.show();
        m_windows.setOperationController(&m_operations);
        // As the application puts it, so that the menu shows it.
        m_menu.menu()->insertMenu(m_menu.aboutAction(), m_lists.menu());
        m_menu.menu()->insertSeparator(m_menu.aboutAction());
        m_windows.window()->frameView()->setMenu(m_menu.menu());
        m_windows.window()->move(40, 40);
        m_windows.showWindow();
        m_windows.window()->move(40, 40);
        waitFor([this] { return window()->windowHandle()->isExposed(); });
    }

    ~Director() { m_operations.cancelAllOperations(); }

    HWCMainWindow *window() const { return m_windows.window(); }
    HWCMainViewController *content() const { return m_windows.contentViewController(); }

    void focus(bool key)
    {
        QWidget *target = key ? static_cast<QWidget *>(window()) : &m_desktop;
        target->activateWindow();
        waitFor([&] { return window()->isActiveWindow() == key; }, 5000);
        settle(150);
    }

    // Waits for the window to settle for that long first.
    void shoot(const QString &name, int settleMilliseconds = 150)
    {
        settle(settleMilliseconds);
        // A submenu may open beyond the window's edge.
        QRect frame = window()->frameGeometry();
        for (const QMenu *menu : {m_menu.menu(), m_lists.menu()}) {
            if (menu->isVisible())
                frame |= menu->geometry();
        }
        frame.adjust(-kMargin, -kMargin, kMargin, kMargin);
        const QPixmap pixmap =
            window()->screen()->grabWindow(0, frame.x(), frame.y(), frame.width(), frame.height());
        m_shots.append({name, pixmap.toImage()});
    }

    // The application menu as the title bar's menu button pops it up.
    void openMenu()
    {
        HWCWindowButton *button = window()->frameView()->menuButton();
        m_menu.menu()->popup(button->mapToGlobal(QPoint(button->width(), button->height())) -
                             QPoint(m_menu.menu()->sizeHint().width(), 0));
        waitFor([this] { return m_menu.menu()->isVisible(); });
    }

    // The "New lists" submenu, opened from the application menu.
    void openListsMenu()
    {
        m_menu.menu()->setActiveAction(m_lists.menu()->menuAction());
        waitFor([this] { return m_lists.menu()->isVisible(); });
    }

    void closeMenu()
    {
        m_lists.menu()->hide();
        m_menu.menu()->hide();
    }

    void chooseAndStart(const QString &path)
    {
        HWCSourceCollectionViewController *sources = m_windows.sourceCollection();
        sources->createNewSourceWithPath(path, 0, QStringLiteral("Browse Pressed"));
        waitFor([&] { return sources->disks().value(0)->isScanFinished(); });
        settle(200);
    }

    void pressAction()
    {
        HWCSourceCollectionViewController *sources = m_windows.sourceCollection();
        sources->collectionView()->visibleItems().value(0)->button()->click();
    }

    void waitForOperations()
    {
        waitFor([this] { return !content()->isTransitioning(); });
        waitFor([this] {
            for (const auto &operation : m_operations.operations()) {
                if (!operation->isFinished())
                    return false;
            }
            return true;
        });
        settle(700);
    }

    void done()
    {
        auto *list =
            qobject_cast<HWCOperationViewController *>(content()->childViewControllers().value(0));
        if (list)
            list->doneButton()->click();
    }

    QList<HWCWindowShot> m_shots;

private:
    QWidget m_desktop;
    HWCOperationController m_operations;
    HWCMainWindowController m_windows;
    HWCApplicationMenu m_menu;
    HWCListSettings m_lists;
};

} // namespace

QList<HWCWindowShot> windowScenes()
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return {};
    QTemporaryDir dir;
    // The window's saved frame goes here, so that each run starts at the default size and
    // leaves the user's own settings alone.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, dir.filePath("settings"));
    const QString folder = dir.filePath(QStringLiteral("A001"));
    TestSupport::writeText(folder + QStringLiteral("/A001C001.mov"), QByteArray(3 << 20, 'a'));
    TestSupport::writeText(folder + QStringLiteral("/A001C002.mov"), QByteArray(2 << 20, 'b'));

    Director director;
    director.focus(true);
    director.shoot(QStringLiteral("Source collection, key"));
    director.focus(false);
    director.shoot(QStringLiteral("Source collection, non-key"));
    director.focus(true);
    director.openMenu();
    director.shoot(QStringLiteral("Application menu"));
    director.openListsMenu();
    director.shoot(QStringLiteral("Application menu, New lists"));
    director.closeMenu();
    director.chooseAndStart(folder);
    director.shoot(QStringLiteral("A folder to create an MHL for"));
    director.pressAction();
    settle(HWCViewTransition::kDurationMilliseconds / 2);
    director.shoot(QStringLiteral("Sliding to the operation list"), 0);
    director.waitForOperations();
    director.shoot(QStringLiteral("Operation list, created, key"));
    director.focus(false);
    director.shoot(QStringLiteral("Operation list, created, non-key"));
    director.focus(true);
    director.done();
    settle(HWCViewTransition::kDurationMilliseconds / 2);
    director.shoot(QStringLiteral("Sliding back to a new collection"), 0);
    waitFor([&] { return !director.content()->isTransitioning(); });
    director.shoot(QStringLiteral("Back to an empty collection"));
    director.chooseAndStart(troubledCard(dir));
    director.pressAction();
    director.waitForOperations();
    director.shoot(QStringLiteral("Verification with warnings"));
    director.window()->resize(HWCMainWindowController::minimumSize());
    director.shoot(QStringLiteral("Verification with warnings at the minimum size"));
    director.done();
    waitFor([&] { return !director.content()->isTransitioning(); });
    director.chooseAndStart(troubledCard(dir));
    director.shoot(QStringLiteral("A card to verify at the minimum size"));
    return director.m_shots;
}
