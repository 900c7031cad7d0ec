#pragma once

#include <QObject>
#include <memory>

class QAction;
class QMenu;
class QWidget;

// The application's commands and the menu that the title bar's menu button shows: Open…
// (Ctrl+O), History… (Ctrl+H), About Hashwarden, Send Feedback…, Get Support…, Report a Bug…, Quit
// (Ctrl+Q). Main thread.
class HWCApplicationMenu : public QObject {
    Q_OBJECT

public:
    explicit HWCApplicationMenu(QObject *parent = nullptr);
    ~HWCApplicationMenu() override;

    QMenu *menu() const { return m_menu.get(); }

    // Makes the shortcuts work anywhere in window. Open's Ctrl+O stays the source
    // collection's own, which knows whether it is shown.
    void addShortcutsTo(QWidget *window) const;

    QAction *openAction() const { return m_open; }
    QAction *historyAction() const { return m_history; }
    QAction *aboutAction() const { return m_about; }
    QAction *feedbackAction() const { return m_feedback; }
    QAction *supportAction() const { return m_support; }
    QAction *bugReportAction() const { return m_bugReport; }
    QAction *quitAction() const { return m_quit; }

private:
    std::unique_ptr<QMenu> m_menu;
    QAction *m_open;
    QAction *m_history;
    QAction *m_about;
    QAction *m_feedback;
    QAction *m_support;
    QAction *m_bugReport;
    QAction *m_quit;
};
