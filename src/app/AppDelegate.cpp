#include "app/AppDelegate.h"

#include "HWCBuildInfo.h"
#include "app/HWCApplicationMenu.h"
#include "app/HWCInstallPrompt.h"
#include "app/HWCInstaller.h"
#include "app/HWCSingleInstance.h"
#include "engine/history/HWCHistoryDatabase.h"
#include "engine/operations/HWCOperationController.h"
#include "engine/session/HWCAnalytics.h"
#include "engine/session/HWCCrashReporter.h"
#include "engine/session/HWCLog.h"
#include "engine/session/HWCNotificationCenter.h"
#include "engine/session/HWCSession.h"
#include "ui/drawing/HWCStyleKit.h"
#include "ui/history/HWCHistoryWindow.h"
#include "ui/sources/HWCSourceCollectionViewController.h"
#include "ui/window/HWCAboutWindowController.h"
#include "ui/window/HWCCustomizableWindowFrame.h"
#include "ui/window/HWCFeedbackController.h"
#include "ui/window/HWCFeedbackReport.h"
#include "ui/window/HWCListSettings.h"
#include "ui/window/HWCMainViewController.h"
#include "ui/window/HWCMainWindow.h"
#include "ui/window/HWCMainWindowController.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QMenu>
#include <QMessageBox>
#include <QProcess>
#include <QSettings>

AppDelegate::AppDelegate(QObject *parent)
    : QObject(parent), m_operationController(std::make_unique<HWCOperationController>(
                           HWCOperationParameters{.searchUnlistedFiles = true})),
      m_menu(std::make_unique<HWCApplicationMenu>())
{
    connect(m_menu->openAction(), &QAction::triggered, this, &AppDelegate::browse);
    connect(m_menu->aboutAction(), &QAction::triggered, this, &AppDelegate::showAboutWindow);
    connect(m_menu->historyAction(), &QAction::triggered, this, &AppDelegate::showHistory);
    connect(m_menu->feedbackAction(), &QAction::triggered, this, &AppDelegate::showFeedbackDialog);
    connect(m_menu->supportAction(), &QAction::triggered, this, &AppDelegate::showSupportDialog);
    connect(m_menu->bugReportAction(), &QAction::triggered, this,
            &AppDelegate::showSubmitBugReportDialog);
    // Through the main window's close, which asks while work runs.
    connect(m_menu->quitAction(), &QAction::triggered, this, [this] {
        if (QWidget *window = mainWindow())
            window->close();
        else
            QCoreApplication::quit();
    });
    // What new lists are and whether a verification is recorded: operations made later
    // take the settings as they stand.
    auto *lists = new HWCListSettings(this);
    m_menu->menu()->insertMenu(m_menu->aboutAction(), lists->menu());
    m_menu->menu()->insertSeparator(m_menu->aboutAction());
    m_operationController->setParameters(lists->parameters());
    connect(lists, &HWCListSettings::changed, this,
            [this, lists] { m_operationController->setParameters(lists->parameters()); });
    connect(qApp, &QGuiApplication::applicationStateChanged, this,
            [this](Qt::ApplicationState state) {
                if (state == Qt::ApplicationActive)
                    applicationDidBecomeActive();
            });
}

// The windows go before the operation controller, which their screens observe.
AppDelegate::~AppDelegate()
{
    m_mainWindowController.reset();
}

QString AppDelegate::analyticsToken(const QString &releaseType)
{
    return QString::fromUtf8(releaseType == QLatin1String("Alpha")
                                 ? HWCBuildInfo::kAnalyticsTokenAlpha
                                 : HWCBuildInfo::kAnalyticsTokenRelease);
}

QWidget *AppDelegate::mainWindow() const
{
    return m_mainWindowController ? m_mainWindowController->window() : nullptr;
}

HWCSourceCollectionViewController *AppDelegate::sourceCollection() const
{
    return m_mainWindowController ? m_mainWindowController->sourceCollection() : nullptr;
}

HWCFeedbackController *AppDelegate::feedbackController()
{
    if (!m_feedbackController) {
        m_feedbackController = std::make_unique<HWCFeedbackController>();
        m_feedbackController->setAttribute(Qt::WA_QuitOnClose, false);
        m_feedbackController->setSupportAddress(QString::fromUtf8(HWCBuildInfo::kSupportAddress));
    }
    return m_feedbackController.get();
}

bool AppDelegate::applicationDidFinishLaunching()
{
    if (offerInstall())
        return false;
    offerCrashReport();
    setUpAnalytics();
    makeMainWindow();
    return true;
}

bool AppDelegate::offerInstall()
{
    QSettings settings(QStringLiteral("Hashwarden"), QStringLiteral("Hashwarden"));
    const QString executable = QCoreApplication::applicationFilePath();
    const QString reason =
        HWCInstallPrompt::reasonNotToOffer(settings, executable, HWCInstallPrompt::isInteractive());
    if (!reason.isEmpty()) {
        HWCLogInfo(QStringLiteral("Not offering to install: %1").arg(reason));
        return false;
    }
    if (!HWCInstallPrompt::ask(settings))
        return false;
    QString error;
    if (HWCInstaller::install(executable, m_windowLibrary, &error).isEmpty()) {
        HWCLogError(QStringLiteral("Installing failed: %1").arg(error));
        QMessageBox::warning(nullptr, tr("Hashwarden"),
                             tr("Hashwarden could not be installed: %1").arg(error));
        return false;
    }
    HWCInstaller::updateDesktopDatabases();
    if (m_singleInstance)
        m_singleInstance->close();
    const QString installed = HWCInstaller::installedExecutablePath();
    HWCLogInfo(QStringLiteral("Installed; relaunching %1").arg(installed));
    return QProcess::startDetached(installed, QCoreApplication::arguments().mid(1));
}

void AppDelegate::offerCrashReport()
{
    const QString folder = HWCLog::stateFolder();
    const QString report = HWCCrashReporter::pendingReport(folder);
    if (report.isEmpty())
        return;
    if (!HWCInstallPrompt::isInteractive()) {
        HWCLogInfo(QStringLiteral("A crash report from an earlier run waits in %1").arg(folder));
        return;
    }
    HWCCrashReporter::discardPendingReport(folder);
    const auto answer = QMessageBox::question(
        nullptr, tr("Hashwarden"),
        tr("Hashwarden quit unexpectedly the last time it ran. Send a bug report?"),
        QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
    if (answer != QMessageBox::Yes)
        return;
    showSubmitBugReportDialog();
    m_feedbackController->setMessage(tr("What were you doing when Hashwarden quit?\n\n\n") +
                                     report);
}

void AppDelegate::setUpAnalytics()
{
    const HWCSession &session = HWCSession::sharedSession();
    HWCAnalytics::setupMixpanelWithToken(analyticsToken(session.releaseType()));
    HWCAnalytics::addEventSuperProperties(
        {{QStringLiteral("Session Start Date"), session.startDate()},
         {QStringLiteral("Release Type"), session.releaseType()},
         {QStringLiteral("Build Type"), session.buildType()}});
    QVariantMap download{{QStringLiteral("2 - Download Reference"), session.downloadReference()},
                         {QStringLiteral("3 - Download Week"), session.downloadWeek()}};
    // An executable not known to be downloaded gives no date rather than a made-up one.
    if (session.downloadDate().isValid())
        download.insert(QStringLiteral("1 - Download Date"), session.downloadDate());
    HWCAnalytics::event(QStringLiteral("App Open"), download);
}

void AppDelegate::makeMainWindow()
{
    m_mainWindowController = std::make_unique<HWCMainWindowController>();
    HWCMainWindow *window = m_mainWindowController->window();
    window->frameView()->setMenu(m_menu->menu());
    m_menu->addShortcutsTo(window);
    // The platform reports the first activation only once the window is shown; the content
    // needs the controller before that.
    applicationDidBecomeActive();
    m_mainWindowController->showWindow();
}

bool AppDelegate::openFile(const QString &path)
{
    HWCNotificationCenter::defaultCenter().post(QLatin1String(kHWCAppOpenedWithMHLNotification),
                                                {{QLatin1String(kHWCFilenameKey), path}});
    return true;
}

void AppDelegate::applicationDidBecomeActive()
{
    if (m_mainWindowController)
        m_mainWindowController->setOperationController(m_operationController.get());
}

void AppDelegate::raiseMainWindow()
{
    if (m_mainWindowController)
        m_mainWindowController->showWindow();
}

void AppDelegate::browse()
{
    if (m_mainWindowController)
        m_mainWindowController->contentViewController()->browse();
}

void AppDelegate::showAboutWindow()
{
    if (!m_aboutWindowController) {
        m_aboutWindowController = std::make_unique<HWCAboutWindowController>();
        // Closing the main window quits even while this one is open.
        m_aboutWindowController->setAttribute(Qt::WA_QuitOnClose, false);
        m_aboutWindowController->setWebsiteAddress(QUrl(QString::fromUtf8(HWCBuildInfo::kWebSite)));
    }
    m_aboutWindowController->showWindow();
}

void AppDelegate::showHistory()
{
    if (!m_historyWindow) {
        m_historyWindow = std::make_unique<HWCHistoryWindow>(HWCHistoryDatabase::defaultPath());
        // Closing the main window quits even while this one is open.
        m_historyWindow->setAttribute(Qt::WA_QuitOnClose, false);
    } else {
        m_historyWindow->reload();
    }
    m_historyWindow->show();
    m_historyWindow->raise();
    m_historyWindow->activateWindow();
}

void AppDelegate::showFeedbackDialogOfType(int type)
{
    HWCFeedbackController *controller = feedbackController();
    controller->show();
    controller->raise();
    controller->activateWindow();
    controller->fixFeedbackType(HWCFeedbackReport::Type(type));
}

void AppDelegate::showFeedbackDialog()
{
    showFeedbackDialogOfType(HWCFeedbackReport::Feedback);
}

void AppDelegate::showSupportDialog()
{
    showFeedbackDialogOfType(HWCFeedbackReport::SupportRequest);
}

void AppDelegate::showSubmitBugReportDialog()
{
    showFeedbackDialogOfType(HWCFeedbackReport::BugReport);
}

int AppDelegate::exec(int argc, char **argv, const QString &windowLibrary)
{
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Hashwarden"));
    QApplication::setApplicationName(QString::fromUtf8(HWCBuildInfo::kExecutableName));
    QApplication::setApplicationVersion(QString::fromUtf8(HWCBuildInfo::kShortVersion));
    QGuiApplication::setDesktopFileName(QStringLiteral("hashwarden"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/hashwarden-256.png")));
    HWCStyleKit::applyToApplication();
    const QString path = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    if (HWCSingleInstance::forward(path))
        return 0;
    HWCSingleInstance instance;
    instance.listen();
    AppDelegate delegate;
    delegate.setSingleInstance(&instance);
    delegate.setWindowLibrary(windowLibrary);
    if (!delegate.applicationDidFinishLaunching())
        return 0;
    connect(&instance, &HWCSingleInstance::openRequested, &delegate,
            [&delegate](const QString &path) {
                delegate.raiseMainWindow();
                if (!path.isEmpty())
                    delegate.openFile(path);
            });
    if (!path.isEmpty())
        delegate.openFile(path);
    return app.exec();
}
