#include "HWCBuildInfo.h"
#include "app/AppDelegate.h"
#include "app/HWCInstallPrompt.h"
#include "app/HWCInstaller.h"
#include "engine/session/HWCAnalytics.h"
#include "engine/session/HWCCrashReporter.h"
#include "engine/session/HWCLog.h"
#include "support/VerificationFixtures.h"
#include "ui/window/HWCAboutWindowController.h"
#include "ui/window/HWCFeedbackController.h"
#include "ui/window/HWCFeedbackReport.h"

#include <QComboBox>
#include <QDirIterator>
#include <QImage>
#include <QProcess>
#include <QSettings>
#include <QTextBrowser>
#include <QUrlQuery>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using TestSupport::waitUntil;

// Every test gets a home, data, config, state and runtime folder of its own.
class Application : public VerificationFixtures::VerificationTest {
protected:
    void SetUp() override
    {
        VerificationTest::SetUp();
        for (const char *folder : {"data", "config", "state", "run"})
            QDir(m_folder.path()).mkpath(folder);
        QFile::setPermissions(path("run"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        m_environment = {{"HOME", m_folder.path()},
                         {"XDG_DATA_HOME", path("data")},
                         {"XDG_CONFIG_HOME", path("config")},
                         {"XDG_STATE_HOME", path("state")},
                         {"XDG_RUNTIME_DIR", path("run")},
                         {HWCAnalytics::kLogEnvironmentVariable, m_eventLog}};
        for (const auto &[name, value] : m_environment)
            qputenv(name.toLatin1(), QFile::encodeName(value));
    }

    // Files below folder, relative to the home folder, sorted.
    QStringList filesBelow(const QString &folder) const
    {
        QStringList files;
        QDirIterator it(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (it.hasNext())
            files << QDir(m_folder.path()).relativeFilePath(it.next());
        files.sort();
        return files;
    }

    QProcess *startHashwarden(const QStringList &arguments)
    {
        auto *process = new QProcess;
        m_processes.emplace_back(process);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const auto &[name, value] : m_environment)
            environment.insert(name, value);
        process->setProcessEnvironment(environment);
        process->setWorkingDirectory(m_folder.path());
        process->start(QStringLiteral(HWC_HASHWARDEN_EXECUTABLE), arguments);
        EXPECT_TRUE(process->waitForStarted());
        return process;
    }

    QList<std::pair<QString, QString>> m_environment;
    std::vector<std::unique_ptr<QProcess>> m_processes;
};

TEST_F(Application, StartUpOffersInstallThenCrashReportThenSendsAppOpen)
{
    TestSupport::writeText(path("state/hashwarden/crash-report.txt"), "Signal: SIGSEGV\n");
    TestSupport::LogCapture log;
    AppDelegate delegate;
    ASSERT_TRUE(delegate.applicationDidFinishLaunching());
    EXPECT_TRUE(delegate.mainWindow()->isVisible());

    const QStringList lines = log.lines();
    const auto indexOf = [&](const QString &text) {
        return std::find_if(lines.begin(), lines.end(),
                            [&](const QString &line) { return line.contains(text); }) -
               lines.begin();
    };
    const auto install = indexOf("Not offering to install: nobody to ask on the offscreen");
    const auto crash =
        indexOf("A crash report from an earlier run waits in " + path("state/hashwarden"));
    EXPECT_LT(install, crash) << lines.join('\n').toStdString();
    EXPECT_LT(crash, lines.size());

    const QList<QJsonObject> sent = events();
    ASSERT_EQ(sent.size(), 1);
    EXPECT_EQ(sent[0]["event"], "App Open");
    EXPECT_EQ(sent[0]["token"], HWCBuildInfo::kAnalyticsTokenRelease);
    EXPECT_EQ(sent[0]["properties"].toObject(),
              (QJsonObject{{"2 - Download Reference", ""}, {"3 - Download Week", ""}}));
    const QJsonObject super = sent[0]["superProperties"].toObject();
    EXPECT_EQ(super.keys(), (QStringList{"Build Type", "Release Type", "Session Start Date"}));
    EXPECT_EQ(super["Release Type"], "Release");
    EXPECT_EQ(super["Build Type"], "Release");

    EXPECT_EQ(AppDelegate::analyticsToken("Alpha"), HWCBuildInfo::kAnalyticsTokenAlpha);
    EXPECT_EQ(AppDelegate::analyticsToken("Beta"), HWCBuildInfo::kAnalyticsTokenRelease);
}

TEST_F(Application, SecondLaunchHandsItsPathToTheRunningInstance)
{
    QProcess *first = startHashwarden({});
    ASSERT_TRUE(waitUntil([&] { return QFile::exists(path("run/hashwarden.socket")); }));
    QDir(m_folder.path()).mkpath("A001");
    TestSupport::writeFile(path("A001/clip.mov"), 100);

    QProcess *second = startHashwarden({"A001"}); // relative to the second one's folder
    ASSERT_TRUE(second->waitForFinished(30000));
    EXPECT_EQ(second->exitCode(), 0);
    ASSERT_TRUE(waitUntil([&] { return events().size() == 2; }));
    EXPECT_EQ(events()[0]["event"], "App Open");
    EXPECT_EQ(events()[1]["event"], "New Action");
    EXPECT_EQ(events()[1]["properties"].toObject()["3 - Method"], "App Opened with MHL");

    // A source is shown now: a third launch's path is dropped with a warning.
    QProcess *third = startHashwarden({path("A001")});
    ASSERT_TRUE(third->waitForFinished(30000));
    QByteArray errors;
    ASSERT_TRUE(waitUntil([&] {
        errors += first->readAllStandardError();
        return errors.contains("Won't create a new Verification source");
    }));
    EXPECT_EQ(events().size(), 2);
    first->terminate();
    EXPECT_TRUE(first->waitForFinished(30000));
}

TEST_F(Application, WithoutADisplayTheWindowSaysSoAndShowsTheUsage)
{
    for (const char *display : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
        m_environment.append(std::pair<QString, QString>(display, QString()));
    QProcess *process = startHashwarden({});
    ASSERT_TRUE(process->waitForFinished(30000));
    EXPECT_EQ(process->exitCode(), 64);
    const QByteArray errors = process->readAllStandardError();
    EXPECT_TRUE(errors.startsWith("hashwarden: the window needs a graphical display"));
    EXPECT_TRUE(errors.contains("verify SOURCE...")) << errors.toStdString();
}

TEST_F(Application, InstallOfferOnlyWhenInteractiveNotSuppressedAndNotInstalled)
{
    QSettings settings(path("config/settings.ini"), QSettings::IniFormat);
    const QString uninstalled = path("build/hashwarden");
    TestSupport::writeFile(uninstalled, 100);
    struct Case {
        QVariant suppressed;
        QString executable;
        bool interactive;
        QString reason;
    };
    for (const Case &c : {Case{{}, uninstalled, false, "nobody to ask on the offscreen platform"},
                          Case{true, uninstalled, true, "the user asked not to be asked again"},
                          Case{false, "/usr/bin/hashwarden", true, "installed already"},
                          Case{false, uninstalled, true, ""}, Case{{}, uninstalled, true, ""}}) {
        settings.setValue(HWCInstallPrompt::kSuppressKey, c.suppressed);
        EXPECT_EQ(HWCInstallPrompt::reasonNotToOffer(settings, c.executable, c.interactive),
                  c.reason)
            << c.executable.toStdString();
    }
    TestSupport::writeText(path("data/applications/hashwarden.desktop"), "[Desktop Entry]\n");
    EXPECT_EQ(HWCInstallPrompt::reasonNotToOffer(settings, uninstalled, true), "installed already");
}

TEST_F(Application, InstallWritesTheUserFilesAndKeepsTheOriginal)
{
    TestSupport::writeFile(path("build/hashwarden"), 5000);
    TestSupport::writeFile(path("build/libhashwarden-window.so"), 7000);
    TestSupport::writeText(path("config/mimeapps.list"),
                           "[Default Applications]\ntext/plain=editor.desktop\n");
    QString error;
    const QStringList written = HWCInstaller::install(
        path("build/hashwarden"), path("build/libhashwarden-window.so"), &error);
    ASSERT_FALSE(written.isEmpty()) << error.toStdString();

    // Where the installed executable looks for the window.
    const QString library = QDir::cleanPath(QStringLiteral(".local/bin/%1/libhashwarden-window.so")
                                                .arg(HWCBuildInfo::kWindowLibraryFolder));
    QStringList expected{".local/bin/hashwarden",
                         library,
                         "config/mimeapps.list",
                         "data/applications/hashwarden.desktop",
                         "data/hashwarden/acknowledgments.html",
                         "data/icons/hicolor/scalable/apps/hashwarden.svg",
                         "data/mime/packages/hashwarden.xml"};
    for (const int size : {16, 24, 32, 48, 64, 128, 256, 512})
        expected << QStringLiteral("data/icons/hicolor/%1x%1/apps/hashwarden.png").arg(size);
    expected.sort();
    QStringList outside = filesBelow(m_folder.path());
    outside.removeAll("build/hashwarden");
    outside.removeAll("build/libhashwarden-window.so");
    EXPECT_EQ(outside, expected);
    EXPECT_EQ(written.size(), expected.size());

    using TestSupport::readFile;
    EXPECT_EQ(readFile(path(".local/bin/hashwarden")), readFile(path("build/hashwarden")));
    EXPECT_EQ(readFile(path(library)), readFile(path("build/libhashwarden-window.so")));
    EXPECT_TRUE(QFileInfo(path(".local/bin/hashwarden")).isExecutable());
    EXPECT_EQ(QImage(path("data/icons/hicolor/48x48/apps/hashwarden.png")).size(), QSize(48, 48));
    EXPECT_TRUE(readFile(path("data/applications/hashwarden.desktop"))
                    .contains("\nExec=" + path(".local/bin/hashwarden").toUtf8() + " %f\n"));
    TestSupport::runTool("desktop-file-validate", {path("data/applications/hashwarden.desktop")});
    EXPECT_EQ(readFile(path("config/mimeapps.list")),
              "[Default Applications]\ntext/plain=editor.desktop\n"
              "application/x-mhl=hashwarden.desktop\n");
    // The MIME database tool reads the type: *.mhl and the hashlist root.
    TestSupport::runTool("update-mime-database", {path("data/mime")});
    EXPECT_TRUE(readFile(path("data/mime/globs2")).contains("application/x-mhl:*.mhl"));
    EXPECT_TRUE(HWCInstaller::isInstalled(path("build/hashwarden")));
}

TEST_F(Application, EachCommandFixesTheFeedbackTypeAndTheAboutWindowIsMadeOnce)
{
    AppDelegate delegate;
    const std::pair<void (AppDelegate::*)(), int> commands[] = {
        {&AppDelegate::showSupportDialog, 1},
        {&AppDelegate::showFeedbackDialog, 0},
        {&AppDelegate::showSubmitBugReportDialog, 2}};
    for (const auto &[command, type] : commands) {
        (delegate.*command)();
        HWCFeedbackController *dialog = delegate.feedbackController();
        EXPECT_TRUE(dialog->isVisible());
        EXPECT_EQ(dialog->feedbackTypeButton()->currentIndex(), type);
        EXPECT_FALSE(dialog->feedbackTypeButton()->isEnabled());
        EXPECT_EQ(dialog->windowTitle(),
                  HWCFeedbackReport::typeTitle(HWCFeedbackReport::Type(type)));
        EXPECT_EQ(dialog->report().type, type);
    }

    QDir(m_folder.path()).mkpath("data/hashwarden");
    QFile::copy(":/desktop/acknowledgments.html", path("data/hashwarden/acknowledgments.html"));
    delegate.showAboutWindow();
    HWCAboutWindowController *about = delegate.aboutWindowController();
    delegate.showAboutWindow();
    EXPECT_EQ(delegate.aboutWindowController(), about);
    EXPECT_TRUE(about->isVisible());
    EXPECT_EQ(about->websiteAddress(), QUrl(HWCBuildInfo::kWebSite));
    const QString acknowledgments = about->acknowledgmentsView()->toPlainText();
    for (const char *library : {"Qt 6", "pugixml", "OpenSSL", "xxHash", "spdlog", "{fmt}"})
        EXPECT_TRUE(acknowledgments.contains(library)) << library;
}

TEST_F(Application, ReportHoldsMessageSystemAndLastLogLinesAndSurvivesTheMailURL)
{
    ASSERT_TRUE(HWCLog::addFileSink(path("state/hashwarden")));
    for (int i = 0; i < 45; ++i)
        HWCLogInfo(QStringLiteral("line %1 of the test").arg(i));
    HWCFeedbackReport report{HWCFeedbackReport::BugReport, "Ada", "ada@example.org",
                             "Crashed & burned + more\nsecond line", true};
    const QString text = report.text();
    for (const QString &part :
         {QStringLiteral(
              "Type: Bug Report\nFrom: Ada <ada@example.org>\n\nCrashed & burned + more\n"
              "second line\n"),
          QStringLiteral("Version: %1\nBuild: %2\nRelease type: Release\nOS: ")
              .arg(HWCBuildInfo::kShortVersion, HWCBuildInfo::kBuildNumber),
          QStringLiteral("Qt: %1").arg(qVersion()), QStringLiteral("-- Last 40 log lines --"),
          QStringLiteral("line 44 of the test\n")})
        EXPECT_TRUE(text.contains(part)) << part.toStdString() << "\nin\n" << text.toStdString();
    EXPECT_FALSE(text.contains("line 4 of the test"));

    const QUrl url = report.mailtoUrl(HWCBuildInfo::kSupportAddress);
    EXPECT_EQ(url.scheme(), "mailto");
    EXPECT_EQ(url.path(), HWCBuildInfo::kSupportAddress);
    const QUrlQuery query(url);
    EXPECT_EQ(query.queryItemValue("subject", QUrl::FullyDecoded),
              QStringLiteral("Hashwarden %1: Bug Report").arg(HWCBuildInfo::kShortVersion));
    EXPECT_EQ(query.queryItemValue("body", QUrl::FullyDecoded), report.text());

    report.attachSystemInformation = false;
    EXPECT_EQ(report.text(), "Type: Bug Report\nFrom: Ada <ada@example.org>\n\n"
                             "Crashed & burned + more\nsecond line\n");
}

TEST_F(Application, ACrashingChildLeavesAReportThatIsFoundOnce)
{
    const QString folder = path("state/hashwarden");
    const std::tuple<int, const char *, std::function<void()>> crashes[] = {
        {SIGSEGV, "Signal: SIGSEGV (segmentation fault)", [] { raise(SIGSEGV); }},
        {SIGABRT, "Signal: SIGABRT (abort)", [] { abort(); }},
        {SIGABRT, "Uncaught exception: disk on fire",
         [] { throw std::runtime_error("disk on fire"); }}};
    for (const auto &[signal, cause, crash] : crashes) {
        const pid_t child = fork();
        if (child == 0) {
            const rlimit noCore{0, 0};
            setrlimit(RLIMIT_CORE, &noCore);
            HWCCrashReporter::install(folder);
            // Past a noexcept frame, so that the test framework cannot catch the exception.
            [&]() noexcept { crash(); }();
            _exit(0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << cause;
        const QString report = HWCCrashReporter::pendingReport(folder);
        EXPECT_TRUE(
            report.contains(QStringLiteral("Version: %1 (build %2)\nProcess: %3\n%4\n")
                                .arg(HWCBuildInfo::kShortVersion, HWCBuildInfo::kBuildNumber)
                                .arg(child)
                                .arg(cause)))
            << report.toStdString();
        const QString trace = report.section("Stack trace:\n", 1);
        EXPECT_GE(trace.count('\n'), 3) << report.toStdString();
        HWCCrashReporter::discardPendingReport(folder);
        EXPECT_TRUE(HWCCrashReporter::pendingReport(folder).isEmpty());
        EXPECT_TRUE(QFile::exists(folder + "/crash-report.old.txt"));
    }
}

} // namespace
