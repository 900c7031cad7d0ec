#include "Classes/HWCMediaHashList.h"
#include "HWCBuildInfo.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <pugixml.hpp>
#include <sys/stat.h>
#include <thread>

namespace {

const QString kDateForm = QStringLiteral("yyyy-MM-dd'T'HH:mm:ss'Z'");
const QString kNamePrefix = QStringLiteral("Hashwarden Media Hash List - ");

QByteArray readAll(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

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

QStringList mhlFilesIn(const QString &directory)
{
    return QDir(directory).entryList(QDir::Files | QDir::Hidden | QDir::System);
}

QDateTime local(int year, int month, int day, int hour, int minute, int second)
{
    return QDateTime(QDate(year, month, day), QTime(hour, minute, second));
}

} // namespace

TEST(HWCMediaHashListWriting, WritesTheExpectedDocumentWithEscapedNamesAndRelativePaths)
{
    QTemporaryDir target;
    const QDateTime before = QDateTime::currentDateTime().addSecs(-1);
    HWCMediaHashList list(QStringLiteral("/media/CARD"), QString());
    const QDateTime modified = local(2017, 3, 2, 14, 5, 9);
    const QDateTime hashed = local(2017, 3, 2, 23, 59, 58);
    list.addHashForFile(QStringLiteral("/media/CARD/DCIM/100/A001.MOV"), 1048577, modified,
                        QStringLiteral("efcdab8967452301"), hashed);
    list.addHashForFile(QStringLiteral("/media/CARD/Tom & Jerry <take 2> \"final\" 'cut'.wav"), 0,
                        modified, QStringLiteral("99e9d85137db46ef"), hashed);
    list.addHashForFile(QStringLiteral("/media/CARD/Überspielung/Café 東京.mov"),
                        18446744073709551615ull, modified, QStringLiteral("0000000000000000"),
                        hashed);
    // Components equal to any component of the root are dropped wherever they stand.
    list.addHashForFile(QStringLiteral("/media/CARD/CARD/x.wav"), 7, modified,
                        QStringLiteral("0123456789abcdef"), hashed);
    list.addHashForFile(QStringLiteral("/media/CARD/sub/media/y.wav"), 8, modified,
                        QStringLiteral("fedcba9876543210"), hashed);
    list.writeToPath(target.path());
    const QDateTime after = QDateTime::currentDateTime().addSecs(1);

    ASSERT_FALSE(list.fullPath().isEmpty());
    const QByteArray written = readAll(list.fullPath());
    const QByteArray expected =
        readAll(QStringLiteral(HWC_TEST_DATA_DIR "/HWCMediaHashListWriting-expected.mhl"))
            .replace("@VERSION@", HWCBuildInfo::kShortVersion)
            .replace("@BUILD@", HWCBuildInfo::kBuildNumber);
    EXPECT_EQ(normalised(written), expected) << written.toStdString();

    // The volatile fields: independent tools for who and where, the clock for when.
    EXPECT_EQ(elementText(written, QStringLiteral("username")),
              QString::fromUtf8(TestSupport::runTool(QStringLiteral("id"), {"-un"})).trimmed());
    EXPECT_EQ(elementText(written, QStringLiteral("hostname")),
              QString::fromUtf8(TestSupport::runTool(QStringLiteral("hostname"), {})).trimmed());
    const QString passwdLine = QString::fromUtf8(
        TestSupport::runTool(QStringLiteral("getent"), {"passwd", QString::number(getuid())}));
    EXPECT_EQ(elementText(written, QStringLiteral("name")),
              passwdLine.section(QLatin1Char(':'), 4, 4).section(QLatin1Char(','), 0, 0));
    const QDateTime start =
        QDateTime::fromString(elementText(written, QStringLiteral("startdate")), kDateForm);
    const QDateTime finish =
        QDateTime::fromString(elementText(written, QStringLiteral("finishdate")), kDateForm);
    ASSERT_TRUE(start.isValid() && finish.isValid()) << written.toStdString();
    EXPECT_GE(start, before);
    EXPECT_LE(finish, after);
    EXPECT_LE(start.secsTo(finish), 1);
}

TEST(HWCMediaHashListWriting, AListWithoutFilesKeepsItsFrameAndDatesAreLocalWithALiteralZ)
{
    QTemporaryDir target;
    const char *previousZone = std::getenv("TZ");
    const std::string restore = previousZone ? previousZone : "";
    // Nine hours east of UTC: 14:30 UTC is 23:30 local.
    setenv("TZ", "XST-9", 1);
    tzset();
    HWCMediaHashList list(QStringLiteral("/a"), QStringLiteral("notes & more"));
    list.addHashForFile(QStringLiteral("/a/b"), 1,
                        QDateTime::fromSecsSinceEpoch(1488465000, Qt::UTC), QStringLiteral("00"),
                        QDateTime::fromSecsSinceEpoch(1488465000, Qt::UTC));
    list.writeToPath(target.path());
    previousZone ? setenv("TZ", restore.c_str(), 1) : unsetenv("TZ");
    tzset();

    const QByteArray written = readAll(list.fullPath());
    EXPECT_EQ(elementText(written, QStringLiteral("lastmodificationdate")),
              QStringLiteral("2017-03-02T23:30:00Z"));
    EXPECT_EQ(elementText(written, QStringLiteral("hashdate")),
              QStringLiteral("2017-03-02T23:30:00Z"));

    HWCMediaHashList empty(QStringLiteral("/a"), QString());
    empty.writeToPath(target.path() + QLatin1Char('/'));
    ASSERT_FALSE(empty.fullPath().isEmpty());
    EXPECT_FALSE(empty.fullPath().contains(QStringLiteral("//")));
    pugi::xml_document document;
    ASSERT_TRUE(document.load_file(QFile::encodeName(empty.fullPath()).constData(),
                                   pugi::parse_default | pugi::parse_declaration));
    const pugi::xml_node declaration = document.first_child();
    EXPECT_EQ(declaration.type(), pugi::node_declaration);
    EXPECT_STREQ(declaration.attribute("version").value(), "1.0");
    EXPECT_STREQ(declaration.attribute("encoding").value(), "UTF-8");
    const pugi::xml_node root = document.document_element();
    EXPECT_STREQ(root.name(), "hashlist");
    EXPECT_STREQ(root.attribute("version").value(), "1.1");
    EXPECT_STREQ(root.child("hashwarden").child_value("rootPath"), "/a");
    EXPECT_TRUE(root.child("hashwarden").child("info"));
    EXPECT_STREQ(root.child("hashwarden").child_value("info"), "");
    EXPECT_TRUE(root.child("creatorinfo"));
    EXPECT_FALSE(root.child("hash"));
}

TEST(HWCMediaHashListWriting, NameCarriesTheLocalTimeAndPermissionsAre0666WhateverTheUmask)
{
    QTemporaryDir target;
    const QDateTime before = QDateTime::currentDateTime().addSecs(-1);
    const mode_t previousMask = umask(077);
    HWCMediaHashList list(target.path(), QString());
    list.writeToPath(target.path());
    umask(previousMask);
    const QDateTime after = QDateTime::currentDateTime().addSecs(1);

    const QFileInfo written(list.fullPath());
    ASSERT_TRUE(written.isFile()) << list.fullPath().toStdString();
    EXPECT_EQ(written.absolutePath(), QFileInfo(target.path()).absoluteFilePath());
    const QString name = written.fileName();
    ASSERT_TRUE(name.startsWith(kNamePrefix) && name.endsWith(QStringLiteral(".mhl")));
    const QDateTime stamp = QDateTime::fromString(name.mid(kNamePrefix.size()).chopped(4),
                                                  QStringLiteral("yyyy-MM-dd 'at' HH.mm.ss"));
    ASSERT_TRUE(stamp.isValid()) << name.toStdString();
    EXPECT_GE(stamp, before);
    EXPECT_LE(stamp, after);

    struct stat status {};
    ASSERT_EQ(stat(QFile::encodeName(list.fullPath()).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0666u);
    EXPECT_EQ(mhlFilesIn(target.path()), QStringList{name});
}

TEST(HWCMediaHashListWriting, ASecondListWithinTheSameSecondReplacesTheFirst)
{
    QTemporaryDir target;
    // Retried when the two writes straddle a second boundary.
    for (int attempt = 0; attempt < 5; ++attempt) {
        for (const QString &file : mhlFilesIn(target.path()))
            QFile::remove(target.filePath(file));
        HWCMediaHashList first(target.path(), QStringLiteral("first"));
        HWCMediaHashList second(target.path(), QStringLiteral("second"));
        first.writeToPath(target.path());
        second.writeToPath(target.path());
        ASSERT_FALSE(first.fullPath().isEmpty());
        ASSERT_FALSE(second.fullPath().isEmpty());
        if (first.fullPath() != second.fullPath())
            continue;
        EXPECT_EQ(mhlFilesIn(target.path()), QStringList{QFileInfo(first.fullPath()).fileName()});
        EXPECT_EQ(elementText(readAll(second.fullPath()), QStringLiteral("info")),
                  QStringLiteral("second"));
        struct stat status {};
        ASSERT_EQ(stat(QFile::encodeName(second.fullPath()).constData(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0666u);
        return;
    }
    FAIL() << "never wrote two lists within one second";
}

TEST(HWCMediaHashListWriting, AnUnwritableTargetLogsTheFailureAndLeavesNothingBehind)
{
    QTemporaryDir base;
    const QString standIn = base.filePath(QStringLiteral("not a folder"));
    TestSupport::writeText(standIn, "plain file");
    {
        TestSupport::LogCapture capture;
        HWCMediaHashList list(standIn, QString());
        list.writeToPath(standIn);
        EXPECT_TRUE(list.fullPath().isNull());
        const QStringList errors = capture.lines().filter(QStringLiteral("ERROR  "));
        ASSERT_EQ(errors.size(), 1) << capture.lines().join('\n').toStdString();
        const QRegularExpression message(
            QStringLiteral(
                "\\] Creating an xml document at path: (.*/not a folder/%1\\d{4}-\\d\\d-\\d\\d at "
                "\\d\\d\\.\\d\\d\\.\\d\\d\\.mhl)$")
                .arg(kNamePrefix));
        EXPECT_TRUE(message.match(errors.first()).hasMatch()) << errors.first().toStdString();
        EXPECT_EQ(readAll(standIn), QByteArray("plain file"));
    }

    // Root writes anywhere, so the write runs on a thread whose file access is nobody's.
    const QString readOnly = base.filePath(QStringLiteral("read-only"));
    ASSERT_TRUE(QDir().mkpath(readOnly));
    ASSERT_EQ(chmod(QFile::encodeName(base.path()).constData(), 0755), 0);
    ASSERT_EQ(chmod(QFile::encodeName(readOnly).constData(), 0555), 0);
    TestSupport::LogCapture capture;
    HWCMediaHashList list(readOnly, QString());
    std::thread writer([&list, &readOnly] {
        TestSupport::FileAccessAsNobody asNobody;
        list.writeToPath(readOnly);
    });
    writer.join();
    EXPECT_TRUE(list.fullPath().isNull());
    const QStringList errors = capture.lines().filter(QStringLiteral("ERROR  "));
    ASSERT_EQ(errors.size(), 1) << capture.lines().join('\n').toStdString();
    EXPECT_TRUE(errors.first().contains(
        QStringLiteral("Creating an xml document at path: %1/%2").arg(readOnly, kNamePrefix)))
        << errors.first().toStdString();
    EXPECT_TRUE(mhlFilesIn(readOnly).isEmpty()) << mhlFilesIn(readOnly).join(',').toStdString();
}

TEST(HWCMediaHashListWriting, AnExistingItemThatCannotBeRemovedIsLoggedAndTheWriteFails)
{
    QTemporaryDir target;
    ASSERT_EQ(chmod(QFile::encodeName(target.path()).constData(), 0777), 0);
    // Folders named like the list for this second and the next few: nobody can empty them.
    const QDateTime now = QDateTime::currentDateTime();
    for (int second = 0; second < 4; ++second) {
        const QString blocker = target.filePath(
            kNamePrefix + now.addSecs(second).toString(QStringLiteral("yyyy-MM-dd 'at' HH.mm.ss")) +
            QStringLiteral(".mhl"));
        TestSupport::writeText(blocker + QStringLiteral("/locked/kept"), "kept");
        ASSERT_EQ(chmod(QFile::encodeName(blocker + QStringLiteral("/locked")).constData(), 0555),
                  0);
    }
    TestSupport::LogCapture capture;
    HWCMediaHashList list(target.path(), QString());
    std::thread writer([&list, &target] {
        TestSupport::FileAccessAsNobody asNobody;
        list.writeToPath(target.path());
    });
    writer.join();

    EXPECT_TRUE(list.fullPath().isNull());
    const QStringList errors = capture.lines().filter(QStringLiteral("ERROR  "));
    ASSERT_EQ(errors.size(), 2) << capture.lines().join('\n').toStdString();
    const QRegularExpression replaced(
        QStringLiteral("\\] Failed to write the xml document to (.*): File already exists and "
                       "can't be replaced by a new file\\.$"));
    const QRegularExpressionMatch match = replaced.match(errors.at(0));
    ASSERT_TRUE(match.hasMatch()) << errors.at(0).toStdString();
    EXPECT_TRUE(QFileInfo(match.captured(1) + QStringLiteral("/locked/kept")).isFile());
    EXPECT_TRUE(errors.at(1).endsWith(
        QStringLiteral("Creating an xml document at path: %1").arg(match.captured(1))))
        << errors.at(1).toStdString();
    EXPECT_EQ(QDir(target.path()).entryList(QDir::Files | QDir::Hidden), QStringList());
}
