#include "support/VerificationFixtures.h"

#include <QDateTime>

using namespace VerificationFixtures;

namespace {

class HWCVerificationLogTest : public VerificationTest {
protected:
    // Exports and returns the file's bytes, with the title line checked against the clock
    // read on either side of the export and then dropped.
    QByteArray exportText(const HWCVerificationOperation &operation)
    {
        const auto title = [](const QDateTime &time) {
            return "Hashwarden Log - " + time.toString("yyyy-MM-dd 'at' HH.mm.ss").toUtf8() + '\n';
        };
        const QByteArray before = title(QDateTime::currentDateTime());
        EXPECT_TRUE(operation.exportFailedFilesTo(path("log.txt")));
        const QByteArray after = title(QDateTime::currentDateTime());
        const QByteArray text = TestSupport::readFile(path("log.txt"));
        EXPECT_TRUE(text.startsWith(before) || text.startsWith(after)) << text.toStdString();
        return text.mid(before.size());
    }
};

} // namespace

TEST_F(HWCVerificationLogTest, ListsEveryRecordGroupedByStateInUTF8AndTheLastExportWins)
{
    const QString ok1 = addFile("Card/Über.bin", 1000, "md5");
    const QString ok2 = addFile("Card/A001/ok2.bin", 2000000, "xxhash64", 2);
    TestSupport::writeFile(path("Card/bad.bin"), 999, 3);
    writeMHL(path("Card/list.mhl"), {hashElement("bad.bin", 999, {{"md5", ok1}}),
                                     hashElement("A001/ok2.bin", 2000000, {{"xxhash64", ok2}}),
                                     hashElement("missing.bin", 5, {{"md5", ok1}}),
                                     hashElement("Über.bin", 1000, {{"md5", ok1}}),
                                     hashElement("new.bin", 5, {{"sha256", "00"}})});
    writeMHL(path("Empty/list.mhl"), {});
    HWCVerificationOperation operation({.source = scannedSource(path("Card"))});
    HWCVerificationOperation empty({.source = scannedSource(path("Empty"))});
    runToEnd(operation);
    runToEnd(empty);

    EXPECT_EQ(exportText(operation), "Verification Source: " + path("Card").toUtf8() +
                                         "\n\n"
                                         "\nFile read successfully\n"
                                         "/A001/ok2.bin (2 MB read)\n"
                                         "/\xC3\x9C"
                                         "ber.bin (1 KB read)\n"
                                         "\nHash fail\n"
                                         "/bad.bin (999 Bytes read)\n"
                                         "\nMissing file\n"
                                         "/missing.bin (0 Bytes read)\n"
                                         "\nUnknown hash\n"
                                         "/new.bin (0 Bytes read)\n");
    EXPECT_EQ(exportText(empty), "Verification Source: " + path("Empty").toUtf8() + "\n\n");
}

// A missing folder and a full disk are met through the command line's --log; here, a folder at
// the name, and the line the log gets.
TEST_F(HWCVerificationLogTest, AFailedWriteKeepsWhatWasThereAndIsLogged)
{
    writeMHL(path("Card/list.mhl"), {hashElement("a.bin", 1, {{"md5", "00"}})});
    HWCVerificationOperation operation({.source = scannedSource(path("Card"))});
    runToEnd(operation);
    TestSupport::writeText(path("folder/log.txt/kept"), "kept");
    TestSupport::LogCapture log;
    EXPECT_FALSE(operation.exportFailedFilesTo(path("folder/log.txt")));
    const QStringList lines = log.lines().filter("Creating a Hashwarden Log: ");
    ASSERT_EQ(lines.size(), 1);
    EXPECT_TRUE(lines[0].startsWith("ERROR   "));
    EXPECT_TRUE(lines[0].contains("-[Classes/HWCSourceOperation exportFailedFilesTo]"));
    EXPECT_TRUE(lines[0].endsWith(path("folder/log.txt") + ": Is a directory"))
        << lines[0].toStdString();
    EXPECT_TRUE(QFile::exists(path("folder/log.txt/kept")));
}
