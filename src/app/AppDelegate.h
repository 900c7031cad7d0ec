#pragma once

#include <QObject>
#include <QString>
#include <memory>

class HWCAboutWindowController;
class HWCApplicationMenu;
class HWCHistoryWindow;
class HWCFeedbackController;
class HWCMainWindowController;
class HWCOperationController;
class HWCSingleInstance;
class HWCSourceCollectionViewController;
class QWidget;

// The application's delegate: owns the one operation controller, runs the start-up steps in
// order, takes paths opened from outside, and answers the menu's commands. Main thread.
class AppDelegate : public QObject {
    Q_OBJECT

public:
    explicit AppDelegate(QObject *parent = nullptr);
    ~AppDelegate() override;

    // The window's program entry: forwards the path to a running instance, or starts the
    // application with it. windowLibrary is the library that holds the window, which an
    // install copies with the executable. Returns the exit code. Needs a display (or the
    // offscreen platform).
    static int exec(int argc, char **argv, const QString &windowLibrary);

    // The analytics project of a release type: alpha builds report to their own.
    static QString analyticsToken(const QString &releaseType);

    HWCApplicationMenu *menu() const { return m_menu.get(); }
    // Null until start-up has made the window.
    QWidget *mainWindow() const;
    HWCSourceCollectionViewController *sourceCollection() const;
    // Null until the about window is first shown.
    HWCAboutWindowController *aboutWindowController() const
    {
        return m_aboutWindowController.get();
    }
    // Made on first use.
    HWCFeedbackController *feedbackController();

    // Start-up, in order: the install offer, the crash report of an earlier run, analytics
    // with the session's super properties, "App Open"; then the main window is shown.
    // False when the application relaunched from its installed copy and should quit.
    bool applicationDidFinishLaunching();

    // Posts "AppOpenedWithMHL" with the path under "filename"; always true.
    bool openFile(const QString &path);

    // Hands the operation controller to the main window's content.
    void applicationDidBecomeActive();

    // Shows the main window and brings it to the front, as a later launch asks.
    void raiseMainWindow();

    // Takes over answering later launches; closed before a relaunch.
    void setSingleInstance(HWCSingleInstance *instance) { m_singleInstance = instance; }

    // The library that holds the window, for an install.
    void setWindowLibrary(const QString &path) { m_windowLibrary = path; }

public Q_SLOTS:
    void showAboutWindow();
    // Shows the History screen, read afresh.
    void showHistory();
    void showFeedbackDialog();
    void showSupportDialog();
    void showSubmitBugReportDialog();

private:
    bool offerInstall();
    void offerCrashReport();
    void setUpAnalytics();
    void makeMainWindow();
    void showFeedbackDialogOfType(int type);
    void browse();

    std::unique_ptr<HWCOperationController> m_operationController;
    std::unique_ptr<HWCApplicationMenu> m_menu;
    std::unique_ptr<HWCMainWindowController> m_mainWindowController;
    std::unique_ptr<HWCAboutWindowController> m_aboutWindowController;
    std::unique_ptr<HWCHistoryWindow> m_historyWindow;
    std::unique_ptr<HWCFeedbackController> m_feedbackController;
    HWCSingleInstance *m_singleInstance = nullptr;
    QString m_windowLibrary;
};
