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

    const HWCVerifiedFile found(source.path(), QStringLiteral("/Card01"),
                                QStringLiteral("Clips/A001.mov"), 1, 1, 1);
    EXPECT_EQ(found.path(), QStringLiteral("/Card01/Clips/A001.mov"));
    EXPECT_EQ(found.fullPath(), source.path() + QStringLiteral("/Card01/Clips/A001.mov"));
    EXPECT_EQ(found.sourcePath(), source.path());

    const HWCVerifiedFile trailing(source.path() + QLatin1Char('/'), QStringLiteral("/Card01/"),
                                   QStringLiteral("/Clips/A001.mov"), 1, 1, 1);
    EXPECT_EQ(trailing.path(), QStringLiteral("/Card01/Clips/A001.mov"));
    EXPECT_EQ(trailing.fullPath(), found.fullPath());

    const HWCVerifiedFile atRoot(source.path(), QStringLiteral("/"), QStringLiteral("a.mov"), 3, 0,
                                 0);
    EXPECT_EQ(atRoot.path(), QStringLiteral("/a.mov"));
    EXPECT_TRUE(atRoot.fullPath().isNull());
    const HWCVerifiedFile noRoot(source.path(), QString(), QStringLiteral("Card01"), 1, 0, 0);
    EXPECT_EQ(noRoot.path(), QStringLiteral("Card01"));
    EXPECT_EQ(noRoot.fullPath(), source.path() + QStringLiteral("/Card01"));
}

TEST(HWCVerifiedFile, SpeedUsesSinglePrecisionSeconds)
{
    LocaleScope scope;
    // 1,048,576 bytes in half a second: 2,097,152 bytes per second.
    const HWCVerifiedFile half(QStringLiteral("/s"), QStringLiteral("/r"), QStringLiteral("f"), 1,
                               1048576, 500000000);
    EXPECT_EQ(half.speed(), QStringLiteral("2.1 MB/sec"));
    EXPECT_EQ(half.size(), QStringLiteral("1 MB"));
    // 1,000,000,020 ns is exactly 1 s in single precision, so the rate is 1,000,000 bytes
    // per second ("1 MB"); double precision would give 999,999.98 and "1000 KB".
    const HWCVerifiedFile rounded(QStringLiteral("/s"), QStringLiteral("/r"), QStringLiteral("f"),
                                  1, 1000000, 1000000020);
    EXPECT_EQ(rounded.speed(), QStringLiteral("1 MB/sec"));
    const HWCVerifiedFile slow(QStringLiteral("/s"), QStringLiteral("/r"), QStringLiteral("f"), 1,
                               500, 2000000000);
    EXPECT_EQ(slow.speed(), QStringLiteral("250 Bytes/sec"));
    const HWCVerifiedFile instant(QStringLiteral("/s"), QStringLiteral("/r"), QStringLiteral("f"),
                                  1, ~0ULL, 1);
    EXPECT_EQ(instant.speed(), QStringLiteral("9200000 TB/sec"));
    EXPECT_TRUE(
        HWCVerifiedFile(QStringLiteral("/s"), QStringLiteral("/r"), QStringLiteral("f"), 1, 0, 5)
            .speed()
            .isNull());
    EXPECT_TRUE(
        HWCVerifiedFile(QStringLiteral("/s"), QStringLiteral("/r"), QStringLiteral("f"), 1, 5, 0)
            .speed()
            .isNull());
}

TEST(HWCVerifiedFile, StateAndDescriptionTexts)
{
    LocaleScope scope;
    const HWCVerifiedFile missing(QStringLiteral("/Volumes/Card"), QStringLiteral("/Day1"),
                                  QStringLiteral("A001.mov"), 3, 0, 0);
    EXPECT_EQ(missing.state(), QStringLiteral("Missing file"));
    EXPECT_EQ(missing.size(), QStringLiteral("0 Bytes"));
    EXPECT_EQ(missing.description(),
              QStringLiteral("HWCVerifiedFile Missing file /Day1/A001.mov ((null))"));
    const HWCVerifiedFile read(QStringLiteral("/Volumes/Card"), QStringLiteral("/Day1"),
                               QStringLiteral("A002.mov"), 1, 1048576, 500000000);
    EXPECT_EQ(read.description(),
              QStringLiteral("HWCVerifiedFile File read successfully /Day1/A002.mov (2.1 MB/sec)"));
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
