#include "engine/records/HWCVerifiedFile.h"
#include "support/TestSupport.h"

#include <QLocale>
#include <QTemporaryDir>
#include <gtest/gtest.h>

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
        const HWCVerifiedFile file(sourcePath, root, relative, HWCFileState::ReadSuccessfully, 1,
                                   1);
        EXPECT_EQ(file.path(), QString::fromUtf8(path));
        EXPECT_EQ(file.fullPath(), fullPath) << path;
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
        const HWCVerifiedFile file("/s", "/r", "f", HWCFileState::ReadSuccessfully, bytes, time);
        EXPECT_EQ(file.speed(), speed ? QString::fromLatin1(speed) : QString()) << bytes;
    }
    const HWCVerifiedFile missing("/Volumes/Card", "/Day1", "A001.mov", HWCFileState::MissingFile,
                                  0, 0);
    EXPECT_EQ(missing.size(), QStringLiteral("0 Bytes"));
    EXPECT_EQ(missing.description(), "HWCVerifiedFile Missing file /Day1/A001.mov ((null))");
    const HWCVerifiedFile read("/Volumes/Card", "/Day1", "A002.mov", HWCFileState::ReadSuccessfully,
                               1048576, 500000000);
    EXPECT_EQ(read.size(), QStringLiteral("1 MB"));
    EXPECT_EQ(read.description(),
              "HWCVerifiedFile File read successfully /Day1/A002.mov (2.1 MB/sec)");
}
