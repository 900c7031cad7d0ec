#include "engine/digests/HWCChecksumKinds.h"
#include "engine/digests/HWIDataAdditions.h"
#include "engine/mhl/HWCMediaHashList.h"
#include "support/VerificationFixtures.h"

#include <QDir>
#include <QFile>
#include <functional>
#include <gtest/gtest.h>

using namespace VerificationFixtures;

namespace {

const QString kManifest = QStringLiteral("ascmhl/0001_A002R2EC_2020-01-16_091500Z.mhl");
const QString kClip6 = QStringLiteral("Clips/A002C006_141024_R2EC.mov");
const QString kClip7 = QStringLiteral("Clips/A002C007_141024_R2EC.mov");

// The example history's files, all read successfully, under the given root.
QList<Record> exampleRecords(const QString &root)
{
    return {{root, kClip6, HWCFileState::ReadSuccessfully, 5},
            {root, kClip7, HWCFileState::ReadSuccessfully, 4},
            {root, "Sidecar.txt", HWCFileState::ReadSuccessfully, 58}};
}

void replaceIn(const QString &path, const QByteArray &before, const QByteArray &after)
{
    QByteArray text = TestSupport::readFile(path);
    ASSERT_TRUE(text.contains(before));
    TestSupport::writeText(path, text.replace(before, after));
}

// A manifest of one generation: each element is a `hash` element's inner XML.
QByteArray manifest(const QStringList &hashes, const char *xmlns = "urn:ASC:MHL:v2.0")
{
    QString text = QStringLiteral("<hashlist version=\"2.0\" xmlns=\"%1\"><creatorinfo>"
                                  "<tool version=\"2\">Writer</tool></creatorinfo><hashes>")
                       .arg(QLatin1String(xmlns));
    for (const QString &hash : hashes)
        text += QStringLiteral("<hash>%1</hash>").arg(hash);
    return (text + QStringLiteral("</hashes></hashlist>")).toUtf8();
}

QString entry(const QString &file, const QString &digests)
{
    return QStringLiteral("<path size=\"1000\">%1</path>%2").arg(file, digests);
}

// The chain of folder's generations, its C4 IDs from the digest checked below.
void writeChain(const QString &folder)
{
    const std::unique_ptr<HWCChecksum> c4 = HWCChecksumKinds::make("c4");
    QString chain = "<ascmhldirectory>";
    for (const QString &name : QDir(folder).entryList({"*.mhl"})) {
        const QByteArray bytes = TestSupport::readFile(folder + "/" + name);
        c4->reset();
        c4->updateWithBytes(bytes.constData(), quint64(bytes.size()));
        chain += "<hashlist><path>" + name + "</path><c4>" + c4->digestText() + "</c4></hashlist>";
    }
    TestSupport::writeText(folder + "/ascmhl_chain.xml", (chain + "</ascmhldirectory>").toUtf8());
}

} // namespace

class HWCASCMHLHistoryTest : public VerificationTest {
protected:
    QString copyExample(const QString &relative)
    {
        TestSupport::runTool("cp", {"-r", HWC_TEST_DATA_DIR "/ascmhl/A002R2EC", path(relative)});
        return path(relative);
    }

    // Verifies the folder; returns its records and sets m_state.
    QList<Record> verify(const QString &folder)
    {
        HWCVerificationOperation operation({.source = scannedSource(folder)});
        runToEnd(operation);
        m_state = operation.state();
        m_tools = operation.info()->mhlTools();
        return records(operation.files());
    }

    HWCOperationState m_state = HWCOperationState::Preparing;
    QStringList m_tools;
};

TEST_F(HWCASCMHLHistoryTest, ExampleHistoryAndItsAlterations)
{
    const quint64 manifestSize =
        quint64(QFileInfo(HWC_TEST_DATA_DIR "/ascmhl/A002R2EC/" + kManifest).size());
    const QList<Record> clean = exampleRecords("/");
    const std::tuple<const char *, std::function<void(const QString &)>, QList<Record>> cases[] = {
        {"unchanged", [](const QString &) {}, clean},
        {"one byte of a clip",
         [](const QString &card) { replaceIn(card + "/" + kClip6, "c", "C"); },
         {{"/", kClip6, HWCFileState::HashFail, 5}, clean[1], clean[2]}},
        {"clip removed",
         [](const QString &card) { QFile::remove(card + "/" + kClip7); },
         {clean[0], {"/", kClip7, HWCFileState::MissingFile, 0}, clean[2]}},
        {"manifest edited",
         [](const QString &card) { replaceIn(card + "/" + kManifest, "myHost", "myHosT"); },
         QList<Record>{{"/", kManifest, HWCFileState::HashFail, manifestSize}} + clean},
        {"chain names a missing generation",
         [](const QString &card) {
             replaceIn(card + "/ascmhl/ascmhl_chain.xml", ">0001_", ">0002_");
         },
         QList<Record>{
             {"/", "ascmhl/0002_A002R2EC_2020-01-16_091500Z.mhl", HWCFileState::MissingFile, 0},
             {"/", kManifest, HWCFileState::HashFail, manifestSize}} +
             clean},
        {"generation number skipped",
         [](const QString &card) {
             QFile::rename(card + "/" + kManifest, card + "/ascmhl/0002_A002R2EC.mhl");
             replaceIn(card + "/ascmhl/ascmhl_chain.xml", ">0001_A002R2EC_2020-01-16_091500Z",
                       ">0002_A002R2EC");
         },
         QList<Record>{{"/", "ascmhl/0001", HWCFileState::MissingFile, 0}} + clean},
    };
    for (const auto &[name, alter, expected] : cases) {
        SCOPED_TRACE(name);
        const QString card = copyExample(name);
        alter(card);
        EXPECT_EQ(verify(card), expected);
        EXPECT_EQ(m_state, expected == clean ? HWCOperationState::VerifiedOK
                                             : HWCOperationState::FinishedWithWarnings);
        EXPECT_EQ(m_tools, QStringList{"ascmhl.py 0.3 alpha"});
    }
}

TEST_F(HWCASCMHLHistoryTest, GenerationsFoldIntoOneCheckPerFile)
{
    const QString original = addFile("a.bin", 1000, "xxhash64be");
    const QString damaged = addFile("a.bin", 1000, "xxhash64be", 8); // after the first generation
    const QString b128 = addFile("b.bin", 1000, "xxh128");
    const QString c3 = addFile("c.bin", 1000, "xxh3");
    const QString d64 = addFile("d.bin", 1000, "xxhash64be");
    const QString wrong = QStringLiteral("00112233445566778899aabbccddeeff");
    TestSupport::writeText(
        path("ascmhl/0001_card.mhl"),
        manifest({entry("a.bin", "<xxh64 action=\"original\">" + original + "</xxh64>"),
                  entry("old.bin", "<md5 action=\"original\">" + wrong + "</md5>"),
                  entry("c.bin", "<xxh3 action=\"original\">" + wrong.left(16) + "</xxh3>"),
                  entry("d.bin", "<crc32>1</crc32><xxh64>" + d64 + "</xxh64>")}));
    TestSupport::writeText(
        path("ascmhl/0002_card.mhl"),
        manifest(
            {entry("a.bin", "<xxh64 action=\"failed\">" + damaged + "</xxh64>"),
             entry("b.bin", "<previousPath>old.bin</previousPath><xxh128 action=\"verified\">" +
                                b128 + "</xxh128>"),
             entry("c.bin", "<xxh3 action=\"verified\">" + c3 + "</xxh3>")}));
    writeChain(path("ascmhl"));
    TestSupport::LogCapture log;
    EXPECT_EQ(verify(path("")),
              (QList<Record>{{"/", "a.bin", HWCFileState::HashFail, 1000},
                             {"/", "b.bin", HWCFileState::ReadSuccessfully, 1000},
                             {"/", "c.bin", HWCFileState::ReadSuccessfully, 1000},
                             {"/", "d.bin", HWCFileState::ReadSuccessfully, 1000}}));
    EXPECT_TRUE(log.contains("d.bin has a digest of an unknown kind (crc32)"));
    EXPECT_EQ(m_tools, QStringList{"Writer 2"});
}

TEST_F(HWCASCMHLHistoryTest, BadHistoriesGiveRecordsOrProblemsNeverACrash)
{
    const QString good = entry("f.bin", "<xxh64>0</xxh64>");
    const std::tuple<const char *, QList<std::pair<QString, QByteArray>>, QList<Record>, QString>
        cases[] = {
            {"wrong namespace",
             {{"0001_x.mhl", manifest({good}, "urn:other")}},
             {{"/", "ascmhl/0001_x.mhl", HWCFileState::HashFail, 0}},
             "lists no files"},
            {"not XML",
             {{"0001_x.mhl", "<hashlist"}},
             {{"/", "ascmhl/0001_x.mhl", HWCFileState::HashFail, 0}},
             "lists no files"},
            {"empty hashes", {{"0001_x.mhl", manifest({})}}, {}, "lists no files"},
            {"climbs out",
             {{"0001_x.mhl", manifest({entry("../../etc/hostname", "<md5>00</md5>")})}},
             {{"/", "../../etc/hostname", HWCFileState::CantOpenFile, 0}},
             ""},
            {"repeated number",
             {{"0001_a.mhl", manifest({})}, {"0001_b.mhl", manifest({})}},
             {{"/", "ascmhl/0001_b.mhl", HWCFileState::HashFail, 0}},
             "lists no files"},
            {"only an unknown digest",
             {{"0001_x.mhl", manifest({entry("f.bin", "<sha256>0</sha256>")})}},
             {{"/", "f.bin", HWCFileState::UnknownHash, 0}},
             ""},
        };
    for (const auto &[name, files, expected, problem] : cases) {
        SCOPED_TRACE(name);
        const QString card = path(name);
        for (const auto &[file, contents] : files)
            TestSupport::writeText(card + "/ascmhl/" + file, contents);
        writeChain(card + "/ascmhl");
        HWCVerificationOperation operation({.source = scannedSource(card)});
        runToEnd(operation);
        QList<Record> got = records(operation.files());
        for (Record &record : got) // a manifest's size is not what these cases compare
            std::get<3>(record) = 0;
        EXPECT_EQ(got, expected);
        EXPECT_EQ(operation.unusableLists().isEmpty(), problem.isEmpty());
        for (const auto &unusable : operation.unusableLists())
            EXPECT_EQ(unusable.reason, problem);
    }
}

TEST_F(HWCASCMHLHistoryTest, CardWithBothFormatsAndANestedHistory)
{
    const QString x = addFile("x.bin", 1000, "xxhash64be");
    const QString z = addFile("z.bin", 1000, "md5");
    writeMHL(path("list.mhl"),
             {hashElement("x.bin", 1000, {{"xxhash64be", x}}),
              hashElement("y.bin", 1000, {{"null", ""}}),
              hashElement("z.bin", 1000, {{"xxhash64be", "0000000000000000"}, {"md5", z}})});
    copyExample("B");
    // The parent history refers to the nested one by its manifest's C4 ID from the chain.
    TestSupport::writeText(
        path("ascmhl/0001_card.mhl"),
        manifest({entry("x.bin", "<xxh64>" + x + "</xxh64>")})
            .replace("</hashlist>", "<references><hashlistreference><path>B/" + kManifest.toUtf8() +
                                        "</path><c4>c43qQABrjeiU3kteaNFtgwufQRLKxgMJEZfNSj6LcZ8fKw"
                                        "B568U8As9eScRsnb64NfqiAYzjNUXs81tAxPB77PUThb</c4>"
                                        "</hashlistreference></references></hashlist>"));
    writeChain(path("ascmhl"));
    const QList<Record> list = {{"/", "x.bin", HWCFileState::ReadSuccessfully, 1000},
                                {"/", "y.bin", HWCFileState::UnknownHash, 0},
                                {"/", "z.bin", HWCFileState::ReadSuccessfully, 1000}};
    const QList<Record> parent = {{"/", "x.bin", HWCFileState::ReadSuccessfully, 1000}};
    QList<Record> clean = verify(path(""));
    std::sort(clean.begin(), clean.end());
    QList<Record> expected = list + parent + exampleRecords("/B");
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(clean, expected);

    replaceIn(path("B/" + kManifest), "myHost", "myHosT");
    const QList<Record> tampered = verify(path(""));
    const Record nested = {"/B", kManifest, HWCFileState::HashFail, 0};
    const Record reference = {"/", "B/" + kManifest, HWCFileState::HashFail, 0};
    EXPECT_EQ(std::count_if(tampered.begin(), tampered.end(),
                            [&](Record record) {
                                std::get<3>(record) = 0;
                                return record == nested || record == reference;
                            }),
              2);
}

TEST(HWCASCMHLDigests, AgreeWithIndependentValues)
{
    // C4 IDs computed with Python's hashlib.sha512 and a base-58 step.
    const std::pair<QByteArray, QString> c4[] = {
        {"", "c459dsjfscH38cYeXXYogktxf4Cd9ibshE3BHUo6a58hBXmRQdZrAkZzsWcbWtDg5oQstpDuni4Hirj75GEmT"
             "c1sFT"},
        {"abc", "c45S4rnaTNWonxss1u8LzsaJdEph1AJhWUF4sh2waXKMsutyfAxg4ybUeuXVWS9HdNcEypmeXn8FZGonD4"
                "w1rj9DZp"},
        {QByteArray(1000000, 'a'), "c45cyn6un3EqFJFn2oic1DDN8Cd7xVrpEaMiDKL2BzPZ2jDMx2vpF3KybRoxnpc"
                                   "pFGjRN6ve8WeqLTEJjFLQ5VpQst"},
    };
    for (const auto &[data, id] : c4) {
        const std::unique_ptr<HWCChecksum> checksum = HWCChecksumKinds::make("c4");
        checksum->reset();
        checksum->updateWithBytes(data.constData(), quint64(data.size()));
        EXPECT_TRUE(checksum->isEqualToHexadecimalString(id)) << id.toStdString();
    }
    EXPECT_FALSE(HWCChecksumKinds::make("c4")->isEqualToHexadecimalString(c4[1].second));
    const std::pair<QByteArray, QString> base58[] = {{"", ""},
                                                     {QByteArray("\0\0", 2), ""},
                                                     {"\x39", "z"},
                                                     {"\x3a", "21"},
                                                     {QByteArray("\0\x01\x00", 3), "5R"}};
    for (const auto &[bytes, digits] : base58)
        EXPECT_EQ(hwi_base58String(bytes), digits);
}

TEST_F(HWCASCMHLHistoryTest, CommandLineDescribesTheHistory)
{
    // runTool fails the test unless the command exits with 0.
    const QByteArray out =
        TestSupport::runTool(HWC_HASHWARDEN_EXECUTABLE, {"info", copyExample("card")});
    EXPECT_TRUE(out.contains("Format:  ASC MHL 2.0, 1 generations\nTool:    ascmhl.py 0.3 alpha\n"
                             "Files:   3\n"))
        << out.data();
}
