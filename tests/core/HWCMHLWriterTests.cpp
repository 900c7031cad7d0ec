#include "HWCBuildInfo.h"
#include "engine/mhl/HWCMHLWriter.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

const QString kDateForm = QStringLiteral("yyyy-MM-dd'T'HH:mm:ss'Z'");
const QString kNamePrefix = QStringLiteral("Hashwarden Media Hash List - ");

QString elementText(const QByteArray &document, const QString &name)
{
    const QRegularExpression element(QStringLiteral("<%1>([^<]*)</%1>").arg(name));
    return element.match(QString::fromUtf8(document)).captured(1);
}

// Replaces the text of every element whose value depends on the machine or the clock.
QByteArray normalised(QByteArray document)
{
    for (const char *name : {"name", "username", "hostname", "startdate", "finishdate"}) {
        const QRegularExpression element(QStringLiteral("<%1>[^<]*</%1>|<%1 />").arg(name));
        document = QString::fromUtf8(document)
                       .replace(element, QStringLiteral("<%1>VOLATILE</%1>").arg(name))
                       .toUtf8();
    }
    return document;
}

QByteArray expectedDocument()
{
    return TestSupport::readFile(QStringLiteral(HWC_TEST_DATA_DIR "/HWCMHLWriter-expected.mhl"))
        .replace("@VERSION@", HWCBuildInfo::kShortVersion)
        .replace("@BUILD@", HWCBuildInfo::kBuildNumber);
}

// Nine hours east of UTC while it lives: a date written in UTC would not match.
struct EasternZone {
    EasternZone() { qputenv("TZ", "XST-9"), tzset(); }
    ~EasternZone() { previous.isNull() ? qunsetenv("TZ") : qputenv("TZ", previous), tzset(); }
    const QByteArray previous = qgetenv("TZ");
};

} // namespace

TEST(HWCMHLWriter, WritesTheExpectedDocumentWithEscapedNamesAndLocalDates)
{
    QTemporaryDir target;
    const EasternZone zone;
    const QDateTime before = QDateTime::currentDateTime().addSecs(-1);
    HWCMHLWriter list(QStringLiteral("/media/CARD"), QString());
    const QDateTime modified(QDate(2017, 3, 2), QTime(14, 5, 9));
    const QDateTime hashed(QDate(2017, 3, 2), QTime(23, 59, 58));
    const QList<std::tuple<QByteArray, quint64, QString>> files = {
        {"/media/CARD/DCIM/100/A001.MOV", 1048577, "efcdab8967452301"},
        {"/media/CARD/Tom & Jerry <take 2> \"final\" 'cut'.wav", 0, "99e9d85137db46ef"},
        {"/media/CARD/\xC3\x9C"
         "berspielung/Caf\xC3\xA9 \xE6\x9D\xB1\xE4\xBA\xAC.mov",
         18446744073709551615ull, "0000000000000000"},
        // Every entry is the path below the root, whatever its folders are named.
        {"/media/CARD/CARD/x.wav", 7, "0123456789abcdef"},
        {"/media/CARD/sub/media/y.wav", 8, "fedcba9876543210"},
        // A "%" stays as it is unless the name needs encoding anyway.
        {"/media/CARD/100%41.wav", 9, "1111111111111111"},
        {"/media/CARD/bad\xFF\r%.wav", 10, "2222222222222222"},
    };
    for (const auto &[path, size, digest] : files)
        list.addHashForFile(path, size, modified, {{"xxhash64", digest}}, hashed);
    list.writeToPath(target.path());
    const QDateTime after = QDateTime::currentDateTime().addSecs(1);

    ASSERT_FALSE(list.filePath().isEmpty());
    const QByteArray written = TestSupport::readFile(list.filePath());
    EXPECT_EQ(normalised(written), expectedDocument()) << written.toStdString();
    TestSupport::runTool(QStringLiteral("xmllint"), {"--noout", list.filePath()});

    // The volatile fields: independent tools for who and where, the clock for when.
    EXPECT_EQ(elementText(written, "username"),
              QString::fromUtf8(TestSupport::runTool("id", {"-un"})).trimmed());
    EXPECT_EQ(elementText(written, "hostname"),
              QString::fromUtf8(TestSupport::runTool("hostname", {})).trimmed());
    const QString passwd =
        QString::fromUtf8(TestSupport::runTool("getent", {"passwd", QString::number(getuid())}));
    EXPECT_EQ(elementText(written, "name"), passwd.section(':', 4, 4).section(',', 0, 0));
    const QDateTime start = QDateTime::fromString(elementText(written, "startdate"), kDateForm);
    EXPECT_TRUE(start >= before && start <= after) << written.toStdString();
    EXPECT_EQ(elementText(written, "finishdate"), elementText(written, "startdate"));
}

TEST(HWCMHLWriter, NameCarriesTheLocalTimeAndListsOfOneSecondAreNumbered)
{
    QTemporaryDir target;
    const mode_t previousMask = umask(077);
    // Retried when the writes straddle a second boundary.
    for (int attempt = 0; attempt < 5; ++attempt) {
        QDir(target.path()).removeRecursively() && QDir().mkpath(target.path());
        const QDateTime before = QDateTime::currentDateTime().addSecs(-1);
        HWCMHLWriter first(QStringLiteral("/media/CARD"), QStringLiteral("first"));
        HWCMHLWriter second(QStringLiteral("/media/CARD"), QString());
        first.writeToPath(target.path());
        second.writeToPath(target.path() + QLatin1Char('/'));
        ASSERT_FALSE(first.filePath().isEmpty());
        const QString stem = first.filePath().chopped(4);
        if (second.filePath() != stem + QStringLiteral(" (2).mhl"))
            continue;
        umask(previousMask);
        const QString name = QFileInfo(first.filePath()).fileName();
        EXPECT_EQ(first.filePath(), target.filePath(name));
        const QDateTime stamp = QDateTime::fromString(name.mid(kNamePrefix.size()).chopped(4),
                                                      QStringLiteral("yyyy-MM-dd 'at' HH.mm.ss"));
        EXPECT_TRUE(name.startsWith(kNamePrefix) && name.endsWith(QStringLiteral(".mhl")));
        EXPECT_TRUE(stamp >= before && stamp <= QDateTime::currentDateTime()) << name.toStdString();
        EXPECT_EQ(TestSupport::filesIn(target.path()).size(), 2);
        EXPECT_EQ(elementText(TestSupport::readFile(first.filePath()), "info"), "first");
        // A list without files keeps its frame and has no hash element.
        const QByteArray frame =
            QString::fromUtf8(expectedDocument())
                .remove(QRegularExpression("  <hash>.*</hash>\n",
                                           QRegularExpression::DotMatchesEverythingOption))
                .toUtf8();
        EXPECT_EQ(normalised(TestSupport::readFile(second.filePath())), frame);
        struct stat status {};
        ASSERT_EQ(stat(QFile::encodeName(second.filePath()).constData(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0666u);
        return;
    }
    umask(previousMask);
    FAIL() << "never wrote two lists within one second";
}

// A read-only folder and a full disk are met through the command line's create; here, a
// path that is no folder and a folder at the name, with what the log gets.
TEST(HWCMHLWriter, AFailedWriteIsLoggedAndLeavesNothingUnderTheName)
{
    QTemporaryDir base;
    struct Case {
        const char *name;
        std::function<void(const QString &folder)> setUp;
        const char *reason;
        const char *firstError;
    };
    const Case cases[] = {
        {"not a folder", [](const QString &f) { TestSupport::writeText(f, "plain"); },
         "Not a directory", nullptr},
        {"folder at the name", [](const QString &f) { TestSupport::blockMHLNames(f); },
         "File exists and is not a regular file",
         "Failed to write the xml document to %1: File already exists and can't be replaced "
         "by a new file."},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const QString folder = base.filePath(QString::fromLatin1(c.name));
        c.setUp(folder);
        const QStringList before = TestSupport::filesIn(folder);
        TestSupport::LogCapture capture;
        HWCMHLWriter list(folder, QString());
        list.addHashForFile("/file", 1, {}, {{"xxhash64", "00"}}, {});
        list.writeToPath(folder);
        EXPECT_TRUE(list.filePath().isNull());
        const QStringList errors = capture.lines().filter(QStringLiteral("ERROR  "));
        ASSERT_EQ(errors.size(), c.firstError ? 2 : 1) << capture.lines().join('\n').toStdString();
        const QRegularExpression written(
            QStringLiteral("\\] Creating an xml document at path: (%1/%2\\d{4}-\\d\\d-\\d\\d at "
                           "\\d\\d\\.\\d\\d\\.\\d\\d\\.mhl)$")
                .arg(QRegularExpression::escape(folder), kNamePrefix));
        const QString path = written.match(errors.last()).captured(1);
        ASSERT_FALSE(path.isEmpty()) << errors.last().toStdString();
        EXPECT_TRUE(!c.firstError ||
                    errors.first().endsWith(QString::fromLatin1(c.firstError).arg(path)));
        EXPECT_EQ(list.writeError(), path + QStringLiteral(": ") + QLatin1String(c.reason));
        EXPECT_EQ(TestSupport::filesIn(folder), before);
        EXPECT_TRUE(!c.firstError || QFile::exists(path + QStringLiteral("/kept")));
    }
}
