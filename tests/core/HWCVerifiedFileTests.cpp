#include "Classes/HWCVerifiedFile.h"
#include "support/TestSupport.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDesktopServices>
#include <QLocale>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <QUrl>
#include <gtest/gtest.h>
#include <mutex>

namespace {

class LocaleScope {
public:
    // Sizes use the default locale's decimal separator; the expected texts use ".".
    LocaleScope() { QLocale::setDefault(QLocale::c()); }
    ~LocaleScope() { QLocale::setDefault(m_previous); }

private:
    QLocale m_previous;
};

} // namespace

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
    void ShowItems(const QStringList &uris, const QString &startupId)
    {
        std::lock_guard lock(m_mutex);
        m_received << uris.join(QLatin1Char(',')) + QLatin1Char('|') + startupId;
    }

private:
    mutable std::mutex m_mutex;
    QStringList m_received;
};

// Receives what QDesktopServices would open.
class UrlSink : public QObject {
    Q_OBJECT

public:
    QList<QUrl> opened;

public Q_SLOTS:
    void open(const QUrl &url) { opened << url; }
};

TEST(HWCVerifiedFile, PathsJoinAsComponentsAndFullPathNeedsAFile)
{
    QTemporaryDir source;
    ASSERT_TRUE(source.isValid());
    TestSupport::writeText(source.filePath(QStringLiteral("Card01/Clips/A001.mov")), "x");
    const QString full = source.path() + QStringLiteral("/Card01/Clips/A001.mov");
    const std::tuple<QString, QString, QString, const char *, QString> cases[] = {
        {source.path(), "/Card01", "Clips/A001.mov", "/Card01/Clips/A001.mov", full},
        {source.path() + "/", "/Card01/", "/Clips/A001.mov", "/Card01/Clips/A001.mov", full},
        {source.path(), "/", "a.mov", "/a.mov", QString()},
        {source.path(), QString(), "Card01", "Card01", source.path() + "/Card01"},
    };
    for (const auto &[sourcePath, root, relative, path, fullPath] : cases) {
        const HWCVerifiedFile file(sourcePath, root, relative, 1, 1, 1);
        EXPECT_EQ(file.path(), QString::fromUtf8(path));
        EXPECT_EQ(file.fullPath(), fullPath) << path;
        EXPECT_EQ(file.sourcePath(), sourcePath);
    }
}

TEST(HWCVerifiedFile, SpeedSizeStateAndDescriptionTexts)
{
    LocaleScope scope;
    // 1,000,000,020 ns is exactly 1 s in single precision: "1 MB", not "1000 KB".
    const std::tuple<quint64, quint64, const char *> speeds[] = {{1048576, 500000000, "2.1 MB/sec"},
                                                                 {1000000, 1000000020, "1 MB/sec"},
                                                                 {500, 2000000000, "250 Bytes/sec"},
                                                                 {~0ULL, 1, "9200000 TB/sec"},
                                                                 {0, 5, nullptr},
                                                                 {5, 0, nullptr}};
    for (const auto &[bytes, time, speed] : speeds) {
        const HWCVerifiedFile file("/s", "/r", "f", 1, bytes, time);
        EXPECT_EQ(file.speed(), speed ? QString::fromLatin1(speed) : QString()) << bytes;
    }
    const HWCVerifiedFile missing("/Volumes/Card", "/Day1", "A001.mov", 3, 0, 0);
    EXPECT_EQ(missing.size(), QStringLiteral("0 Bytes"));
    EXPECT_EQ(missing.description(), "HWCVerifiedFile Missing file /Day1/A001.mov ((null))");
    const HWCVerifiedFile read("/Volumes/Card", "/Day1", "A002.mov", 1, 1048576, 500000000);
    EXPECT_EQ(read.size(), QStringLiteral("1 MB"));
    EXPECT_EQ(read.description(),
              "HWCVerifiedFile File read successfully /Day1/A002.mov (2.1 MB/sec)");
    EXPECT_TRUE(HWCVerifiedFile(QString(), QString(), QString(), 0, 0, 0).state().isNull());
}

// The reveal goes to the desktop's file manager over the session bus; when that fails the
// folder is opened instead; a record without a file does nothing.
TEST(HWCVerifiedFile, ShowInFinderAsksTheFileManagerOrOpensTheFolder)
{
    QProcess daemon;
    daemon.start(QStringLiteral("dbus-daemon"),
                 {QStringLiteral("--session"), QStringLiteral("--nofork"),
                  QStringLiteral("--print-address=1")});
    ASSERT_TRUE(daemon.waitForReadyRead(10000));
    const QByteArray address = daemon.readLine().trimmed();
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    ASSERT_TRUE(QDBusConnection::sessionBus().isConnected());

    QThread serviceThread;
    serviceThread.start();
    FakeFileManager manager;
    manager.moveToThread(&serviceThread);
    QDBusConnection service = QDBusConnection::connectToBus(QString::fromUtf8(address),
                                                            QStringLiteral("fake-file-manager"));
    ASSERT_TRUE(service.registerObject(QStringLiteral("/org/freedesktop/FileManager1"), &manager,
                                       QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(service.registerService(QStringLiteral("org.freedesktop.FileManager1")));
    UrlSink sink;
    QDesktopServices::setUrlHandler(QStringLiteral("file"), &sink, "open");

    QTemporaryDir source;
    ASSERT_TRUE(source.isValid());
    TestSupport::writeText(source.filePath(QStringLiteral("Card/clip one.mov")), "x");
    const HWCVerifiedFile file(source.path(), QStringLiteral("/Card"),
                               QStringLiteral("clip one.mov"), 1, 1, 1);
    HWCVerifiedFile(source.path(), QStringLiteral("/Card"), QStringLiteral("gone.mov"), 3, 0, 0)
        .showInFinder();
    file.showInFinder();
    ASSERT_TRUE(TestSupport::waitUntil([&] { return !manager.received().isEmpty(); }));
    EXPECT_EQ(
        manager.received(),
        QStringList{
            QUrl::fromLocalFile(source.filePath(QStringLiteral("Card/clip one.mov"))).toString() +
            QLatin1Char('|')});

    service.unregisterService(QStringLiteral("org.freedesktop.FileManager1"));
    file.showInFinder();
    ASSERT_TRUE(TestSupport::waitUntil([&] { return !sink.opened.isEmpty(); }));
    EXPECT_EQ(sink.opened,
              QList<QUrl>{QUrl::fromLocalFile(source.filePath(QStringLiteral("Card")))});
    EXPECT_EQ(manager.received().size(), 1);

    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
    QDBusConnection::disconnectFromBus(QStringLiteral("fake-file-manager"));
    serviceThread.quit();
    serviceThread.wait();
    daemon.kill();
    daemon.waitForFinished();
}

#include "HWCVerifiedFileTests.moc"
