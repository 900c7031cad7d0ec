#include "app/HWCApplicationMenu.h"

#include <QAction>
#include <QMenu>
#include <QWidget>

HWCApplicationMenu::HWCApplicationMenu(QObject *parent)
    : QObject(parent), m_menu(std::make_unique<QMenu>())
{
    m_menu->setAccessibleName(tr("Application menu"));
    m_open = m_menu->addAction(tr("Open…"));
    m_open->setShortcut(QKeySequence::Open);
    // Shown in the menu, active only while the menu is open: the window's Ctrl+O belongs to
    // the source collection.
    m_open->setShortcutContext(Qt::WidgetShortcut);
    m_history = m_menu->addAction(tr("History…"));
    m_history->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_H));
    m_menu->addSeparator();
    m_about = m_menu->addAction(tr("About Hashwarden"));
    m_about->setMenuRole(QAction::AboutRole);
    m_menu->addSeparator();
    m_feedback = m_menu->addAction(tr("Send Feedback…"));
    m_support = m_menu->addAction(tr("Get Support…"));
    m_bugReport = m_menu->addAction(tr("Report a Bug…"));
    m_menu->addSeparator();
    m_quit = m_menu->addAction(tr("Quit"));
    m_quit->setShortcut(QKeySequence::Quit);
    m_quit->setMenuRole(QAction::QuitRole);
}

HWCApplicationMenu::~HWCApplicationMenu() = default;

void HWCApplicationMenu::addShortcutsTo(QWidget *window) const
{
    window->addAction(m_quit);
    window->addAction(m_history);
}
