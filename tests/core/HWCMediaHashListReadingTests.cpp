#include "engine/mhl/HWCMHLReader.h"
#include "engine/mhl/HWCMediaHashList.h"
#include "engine/mhl/HWCXMLElementAdditions.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

const QByteArray kListed = R"(<?xml version="1.0" encoding="UTF-8"?>
<hashlist version="1.1">
  <creatorinfo><name>Ada</name><tool>Hashwarden 1.4 (Build 112)</tool></creatorinfo>
  <hash><file>DCIM/100/A001.MOV</file><size>1048577</size>
    <xxhash64>efcdab8967452301</xxhash64><hashdate>2017-03-02T14:05:10Z</hashdate></hash>
  <hash><file>Brücke/ä b.wav</file><size>12</size><md5>D41D8CD98F00B204E9800998ECF8427E</md5>
    <xxhash>46947589</xxhash></hash>
  <hash><file> </file><size>0</size><md5>x</md5></hash>
</hashlist>
)";

class MediaHashListReading : public ::testing::Test {
protected:
    QString write(const QString &name, const QByteArray &contents)
    {
        TestSupport::writeText(m_folder.filePath(name), contents);
        return m_folder.filePath(name);
    }

    std::unique_ptr<HWCMediaHashList> load(const QByteArray &contents)
    {
        return HWCMediaHashList::initWithContentsOfURL(write(QStringLiteral("list.mhl"), contents));
    }

    // What every document that cannot be read must give, with the reason it gives; one that
    // parses but lists nothing keeps its document.
    static void expectEmpty(HWCMediaHashList *list, const char *what, const char *problem,
                            bool parsed = false)
    {
        ASSERT_NE(list, nullptr) << what;
        EXPECT_TRUE(list->wasRead() == parsed && list->fileCount() == 0 && list->fileSize() == 0 &&
                    !list->tool() && list->root().isNull() != parsed)
            << what;
        EXPECT_TRUE(list->problem().contains(QLatin1String(problem)))
            << what << ": " << list->problem().toStdString();
    }

    QTemporaryDir m_folder;
};

} // namespace

TEST_F(MediaHashListReading, ReadsRecordsCountsSizeToolAndRoot)
{
    const auto list = HWCMediaHashList::initWithContentsOfURL(write("card.mhl", kListed));
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->root(), m_folder.path());
    EXPECT_EQ(list->tool(), QStringLiteral("Hashwarden 1.4 (Build 112)"));
    EXPECT_EQ(list->fileCount(), 3);
    EXPECT_EQ(list->fileSize(), 1048589);
    EXPECT_TRUE(list->problem().isEmpty());
    const auto &records = list->hashes();
    EXPECT_EQ(records[0].digestText("xxhash64"), QStringLiteral("efcdab8967452301"));
    EXPECT_EQ(records[0].text(HWCChecksumEntry::Field::HashDate), "2017-03-02T14:05:10Z");
    EXPECT_EQ(records[1].fileText(), QStringLiteral("Brücke/ä b.wav"));
    EXPECT_TRUE(records[1].digestText("xxhash64").isNull());
    EXPECT_EQ(list->digestKinds(), QStringList({"md5", "xxhash64", "xxhash"}));
    EXPECT_EQ(records[2].fileText(), QStringLiteral(" ")) << "white space is a name too";

    EXPECT_EQ(HWCMediaHashList::initWithContentsOfURL(write("a.MHL", kListed)), nullptr);
    const QString previous = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(m_folder.path()));
    EXPECT_EQ(HWCMediaHashList::initWithContentsOfURL("card.mhl")->root(), QString(""));
    QDir::setCurrent(previous);
}

TEST_F(MediaHashListReading, DuplicatesSizesFullTextAndTool)
{
    const auto list = load(R"(<files>
  <creatorinfo><tool>old</tool></creatorinfo>
  <creatorinfo><tool>first</tool><tool>Second <v>2</v></tool></creatorinfo>
  <hash><file>a</file><md5>first</md5><md5>second</md5><size>10</size><size>3</size></hash>
  <hash><size> +7kB</size></hash><hash><size>-2</size></hash><hash><size>many</size></hash>
  <Hash><size>100</size></Hash><group><hash><size>1000</size></hash></group>
  <hash>stray<file>A<b>B</b><![CDATA[<C>]]>&amp;&#x44;<!-- x --></file><md5/></hash>
</files>)");
    EXPECT_EQ(list->fileCount(), 5);
    EXPECT_EQ(list->fileSize(), 3) << "only sizes in decimal digits count";
    EXPECT_EQ(list->tool(), QStringLiteral("Second 2"));
    const auto &records = list->hashes();
    EXPECT_EQ(records[0].digestText("md5"), QStringLiteral("second"));
    EXPECT_EQ(records[0].text(HWCChecksumEntry::Field::Size), "3");
    EXPECT_TRUE(records[1].fileText().isNull() && records[1].listsNoDigest());
    EXPECT_EQ(records[4].fileText(), QStringLiteral("AB<C>&D"));
    EXPECT_FALSE(records[4].digestText("md5").isNull());
    EXPECT_TRUE(hwc_childrenWithName(pugi::xml_node(), "a").empty());
    EXPECT_EQ(load("<h><creatorinfo><x><tool>nested</tool></x></creatorinfo></h>")->tool(),
              std::nullopt);
}

TEST_F(MediaHashListReading, DocumentsThatAreNotWellFormedOrListNothingGiveEmptyLists)
{
    const std::tuple<const char *, QByteArray, const char *> broken[] = {
        {"empty", "", "no root element"},
        {"plain text", "file size md5\nA001.MOV 12 d41d8\n", "text outside the root"},
        {"truncated", kListed.left(kListed.size() / 2), "not well-formed XML"},
        {"mismatched tags", "<h><hash><file>a</size></hash></h>", "mismatch"},
        {"two roots", "<h><hash/></h><h/>", "a second root element"},
        {"text after the root", "<h><hash/></h>trailing", "text outside the root"},
        {"undefined entity", "<h><hash><file>&foo;</file></hash></h>", "undefined entity"},
        {"entity of a DOCTYPE",
         "<!DOCTYPE h [<!ENTITY a \"&#38;b;\"><!ENTITY s SYSTEM \"file:///etc/passwd\">]>"
         "<h><hash><file>&a;</file><md5>&s;</md5></hash></h>",
         "undefined entity"},
        {"duplicate attribute", "<h v='1' v='2'><hash/></h>", "duplicate attribute"},
        {"'<' in an attribute", "<h v='a<b'><hash/></h>", "'<' in an attribute"},
        {"invalid UTF-8", "<h><hash><file>a\xc3.mov</file></hash></h>", "not an XML character"},
        {"control character", "<h><hash><file>a\x01</file></hash></h>", "not an XML character"},
        {"forbidden reference", "<h><hash><file>a&#1;</file></hash></h>", "character reference"},
        {"second declaration", "<?xml version='1.0'?><h/><?xml version='1.0'?>", "declaration"},
        {"binary", QByteArray::fromHex("00ff13c3283cfe7f0080"), "not an XML character"},
    };
    for (const auto &[what, contents, problem] : broken)
        expectEmpty(load(contents).get(), what, problem);

    expectEmpty(load("<hashlist version='1.1'/>").get(), "no hash", "lists no files", true);
    expectEmpty(load("<hashlist version='2.0' xmlns='urn:ASC:MHL:v2.0'><hashes/></hashlist>").get(),
                "a packing list of nothing", "lists no files", true);
    expectEmpty(HWCMediaHashList::initWithContentsOfURL(m_folder.filePath("none.mhl")).get(),
                "missing", "cannot be opened: No such file");
    TestSupport::makeFifo(m_folder.filePath("pipe.mhl"));
    expectEmpty(HWCMediaHashList::initWithContentsOfURL(m_folder.filePath("pipe.mhl")).get(),
                "fifo", "cannot be opened: a FIFO, not a regular file");
}

TEST_F(MediaHashListReading, EncodingsAndLineEndsReadLikeUtf8)
{
    const QByteArray lf = "<?xml version=\"1.0\"?>\n<h><hash><file>Brücke/ä\nb.wav</file>"
                          "<size>12</size></hash></h>\n";
    QByteArray crlf = lf;
    crlf.replace("\n", "\r\n");
    const auto encoded = [](QStringEncoder::Encoding encoding, const QByteArray &text) {
        return QByteArray(
            QStringEncoder(encoding, QStringEncoder::Flag::WriteBom)(QString::fromUtf8(text)));
    };
    for (const QByteArray &contents :
         {crlf, QByteArray("\xEF\xBB\xBF") + lf, encoded(QStringEncoder::Utf16LE, crlf),
          encoded(QStringEncoder::Utf16BE, lf), encoded(QStringEncoder::Utf32BE, lf)}) {
        const auto list = load(contents);
        ASSERT_EQ(list->fileCount(), 1) << contents.toHex().left(16).toStdString();
        EXPECT_EQ(list->hashes()[0].fileText(), QStringLiteral("Brücke/ä\nb.wav"));
        EXPECT_EQ(list->fileSize(), 12);
    }
}

TEST_F(MediaHashListReading, DeepNestingAndAHugeTextNode)
{
    const int depth = 100000;
    const QByteArray text(8 * 1000 * 1000, 'q');
    const QByteArray contents =
        "<h><hash><size>5</size><file>" + QByteArray("<d>1").repeated(depth) +
        QByteArray("</d>").repeated(depth) + "</file><md5>" + text + "</md5></hash><deep>" +
        QByteArray("<e>").repeated(depth) + QByteArray("</e>").repeated(depth) + "</deep></h>";
    const auto list = load(contents);
    ASSERT_EQ(list->fileCount(), 1);
    EXPECT_EQ(list->hashes()[0].fileText(), QString(depth, QLatin1Char('1')));
    EXPECT_EQ(list->hashes()[0].digestText("md5").size(), text.size());
    expectEmpty(load(contents.left(contents.size() / 2)).get(), "cut short", "not well-formed");
}

// A long list is parsed a piece at a time. Whatever the pieces' length, even where a piece
// would end inside a comment, a section, a nested `hash` or after the root, the records,
// the tool and the problem must be those of the whole text.
TEST_F(MediaHashListReading, ListsReadInPiecesReadAsAWhole)
{
    const auto dump = [](const HWCMHLReader::Contents &contents) {
        QStringList lines{contents.problem, contents.tool.value_or(QStringLiteral("(no tool)"))};
        for (const HWCChecksumEntry &record : contents.records) {
            QString line = record.isFileEncoded() ? "encoded" : "plain";
            for (int field = 0; field <= int(HWCChecksumEntry::Field::HashDate); ++field) {
                const QByteArrayView text = record.text(HWCChecksumEntry::Field(field));
                line += text.isNull() ? QString("|-") : "|" + QString::fromUtf8(text);
            }
            for (const QByteArrayView kind : record.digestKinds())
                line +=
                    "|" + QString::fromUtf8(kind) + "=" + QString::fromUtf8(record.digest(kind));
            lines.append(line);
        }
        return lines;
    };
    const std::pair<QByteArray, int> lists[] = {
        {kListed, 3},
        {"<hashlist><creatorinfo><tool>a</tool></creatorinfo><hash><file>1</file></hash>"
         "<hash><file hashwarden-encoding='percent'>d%FF.bin</file><md5/><md5>b</md5>"
         "<file>x &amp; &#x44;\r\ny</file><size> 3 </size></hash><!-- <hash> -->"
         "<![CDATA[<hash>]]><hash> <size>1</size> <?pi <hash>?></hash>"
         "<other><hash><file>no</file></hash></other><creatorinfo><name/></creatorinfo>"
         "<hash><file>2</file></hash></hashlist><!-- <hash> -->",
         4},
        {"<h><hash><file>1</file></hash><hash><file>2</file></hash></h>", 2},
        {"<hashlist><hash><file>1</file></hash><hash><file>2</file></hash></hashlist><hash>", 0},
        {"<hashlist><hash><file>1</file></hash><hash><file>2</file></hash>", 0},
    };
    for (const auto &[contents, count] : lists) {
        const QString path = write(QStringLiteral("list.mhl"), contents);
        const HWCMHLReader::Contents whole = HWCMHLReader::read(path, contents.size());
        EXPECT_EQ(qsizetype(whole.records.size()), count) << contents.toStdString();
        for (qsizetype piece = 1; piece < contents.size(); ++piece)
            EXPECT_EQ(dump(HWCMHLReader::read(path, piece)), dump(whole))
                << contents.toStdString() << " in pieces of " << piece;
    }
}

// What the history's file table and the writer build records with, beyond what reading sets.
TEST(HWCChecksumEntry, LaterValuesReplaceEarlierOnesAndAbsentDiffersFromEmpty)
{
    using Field = HWCChecksumEntry::Field;
    HWCChecksumEntry record;
    EXPECT_TRUE(record.text(Field::Size).isNull() && record.listsNoDigest());
    record.set(Field::File, "100%25 %FF.wav");
    record.setFileEncoded(true);
    record.set(Field::Size, "12");
    record.setDigest("md5", "old");
    record.setDigest("sha1", "");
    record.setDigest("md5", "new");
    record.set(Field::Size, " 13 ");
    EXPECT_EQ(record.fileName(), QByteArray("100% \xFF.wav"));
    EXPECT_EQ(record.listedSize(), 13u);
    EXPECT_EQ(record.digestKinds(), (QList<QByteArrayView>{"sha1", "md5"}));
    EXPECT_EQ(record.digestText("md5"), QStringLiteral("new"));
    EXPECT_TRUE(record.contains("sha1") && !record.digestText("sha1").isNull());
    EXPECT_TRUE(record.digestText("xxhash64").isNull());
    record.clear(Field::Size);
    EXPECT_TRUE(record.text(Field::Size).isNull() && !record.listedSize());
    EXPECT_EQ(record.fileText(), QStringLiteral("100%25 %FF.wav"));

    HWCChecksumEntry unknown;
    unknown.addUnknownKind("crc32");
    unknown.addUnknownKind("crc32");
    EXPECT_FALSE(unknown.listsNoDigest());
    EXPECT_TRUE(unknown.digestKinds().isEmpty());

    for (const auto &[text, size] :
         std::initializer_list<std::pair<const char *, qint64>>{{"0", 0},
                                                                {"\t7\n", 7},
                                                                {"18446744073709551615", -1},
                                                                {"+7", -2},
                                                                {"-1", -2},
                                                                {"7 kB", -2},
                                                                {"18446744073709551616", -2},
                                                                {"", -2}})
        EXPECT_EQ(hwc_listedSize(text), size == -2 ? std::nullopt : std::optional(quint64(size)))
            << text;
}
