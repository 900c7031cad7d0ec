#include "engine/reports/HWCLogReport.h"
#include "support/VerificationFixtures.h"

using namespace VerificationFixtures;

// A missing folder and a full disk are met through the command line's --log; here, a folder at
// the name the window exports to, and the line the log gets.
TEST_F(VerificationTest, AFailedExportKeepsWhatWasThereAndIsLogged)
{
    writeMHL(path("Card/list.mhl"), {hashElement("a.bin", 1, {{"md5", "00"}})});
    auto operation = std::make_shared<HWCVerificationOperation>(
        HWCOperationParameters{.source = scannedSource(path("Card"))});
    runToEnd(*operation);
    TestSupport::writeText(path("folder/log.txt/kept"), "kept");
    TestSupport::LogCapture log;
    EXPECT_FALSE(HWCLogReport::writeTo({operation, operation->startDate(), operation->endDate()},
                                       path("folder/log.txt")));
    const QStringList lines = log.lines().filter("Creating a Hashwarden Log: ");
    ASSERT_EQ(lines.size(), 1);
    EXPECT_TRUE(lines[0].startsWith("ERROR   "));
    EXPECT_TRUE(lines[0].endsWith(path("folder/log.txt") + ": Is a directory"))
        << lines[0].toStdString();
    EXPECT_TRUE(QFile::exists(path("folder/log.txt/kept")));

    ASSERT_TRUE(HWCLogReport::writeTo({operation, operation->startDate(), operation->endDate()},
                                      path("log.txt")));
    const QByteArray text = TestSupport::readFile(path("log.txt"));
    EXPECT_TRUE(text.startsWith("Hashwarden Log - ")) << text.toStdString();
    EXPECT_TRUE(text.contains("\nMissing file\n/a.bin (0 Bytes read, 0 bytes)\n"))
        << text.toStdString();
}
