#include "engine/session/HWCSession.h"
#include "support/TestSupport.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sys/xattr.h>

TEST(HWCSession, ReleaseTypeFollowsTheLettersOfTheVersion)
{
    const std::pair<std::optional<QString>, const char *> versions[] = {
        {"3.0", "Release"},      {"3.0b2", "Beta"},       {"3.0a1b", "Alpha"},
        {"2.0\u00DF1", "Beta"},  {"1.2\u03B13", "Alpha"}, {"1.2A3", "Release"},
        {std::nullopt, "Alpha"}, {QString(), "Release"},
    };
    for (const auto &[version, type] : versions)
        EXPECT_EQ(HWCSession::releaseTypeForVersion(version), type) << version->toStdString();
}

TEST(HWCSession, DownloadComesFromTheOriginLinkBrowsersLeaveOnTheFile)
{
    QTemporaryDir folder;
    const std::pair<const char *, const char *> origins[] = {
        {nullptr, "none"},
        {"https://e.com/Hashwarden-1.0.AppImage?ref=news&week=12", "news 12"},
        {"https://e.com/Hashwarden?week=7&ref=a&ref=b&other=x", "b 7"},
        {"not a link", " "},
        {"", " "},
    };
    for (const auto &[origin, expected] : origins) {
        const QString path = folder.filePath(QString::number(qHash(QByteArray(origin))));
        TestSupport::writeText(path, {});
        const QByteArray name = QFile::encodeName(path);
        if (origin &&
            setxattr(name.constData(), "user.xdg.origin.url", origin, std::strlen(origin), 0) != 0)
            GTEST_SKIP() << "no user extended attributes here: " << std::strerror(errno);
        const std::optional<HWCDownload> download = HWCSession::downloadOf(path);
        EXPECT_EQ(download ? (download->reference + ' ' + download->week).toStdString() : "none",
                  expected)
            << origin;
        if (!download)
            continue;
        const QFileInfo info(path);
        EXPECT_EQ(download->date,
                  info.birthTime().isValid() ? info.birthTime() : info.lastModified());
    }
    EXPECT_EQ(HWCSession::downloadOf(folder.filePath("missing")), std::nullopt);

    // The build folder's executable was never downloaded: no date, no link.
    HWCSession session;
    session.startSession();
    EXPECT_FALSE(session.downloadDate().isValid());
    EXPECT_EQ(session.downloadReference() + session.downloadWeek(), "");
}
