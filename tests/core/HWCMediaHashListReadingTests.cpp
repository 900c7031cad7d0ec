#include "Categories/HWCXMLElementAdditions.h"
#include "Classes/HWCMediaHashList.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QStringDecoder>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using Dictionary = QMap<QString, QString>;

const QByteArray kListed = R"(<?xml version="1.0" encoding="UTF-8"?>
<hashlist version="1.1">
  <hashwarden>
    <rootPath>/Volumes/CARD</rootPath>
    <info/>
  </hashwarden>
  <creatorinfo>
    <name>Ada</name>
    <tool>Hashwarden 1.4 (Build 112)</tool>
  </creatorinfo>
  <hash>
    <file>DCIM/100/A001.MOV</file>
    <size>1048577</size>
    <lastmodificationdate>2017-03-02T14:05:09Z</lastmodificationdate>
    <xxhash64>efcdab8967452301</xxhash64>
    <hashdate>2017-03-02T14:05:10Z</hashdate>
  </hash>
  <hash>
    <file>Brücke/ä b.wav</file>
    <size>12</size>
    <md5>D41D8CD98F00B204E9800998ECF8427E</md5>
    <xxhash>46947589</xxhash>
  </hash>
</hashlist>
)";

class MediaHashListReading : public ::testing::Test {
protected:
    QString write(const QString &name, const QByteArray &contents)
    {
        const QString path = m_folder.filePath(name);
        TestSupport::writeText(path, contents);
        return path;
    }

    std::unique_ptr<HWCMediaHashList> load(const QByteArray &contents)
    {
        return HWCMediaHashList::initWithContentsOfURL(write(QStringLiteral("list.mhl"), contents));
    }

    static std::vector<Dictionary> dictionaries(HWCMediaHashList &list)
    {
        std::vector<Dictionary> result;
        for (const HWCChecksumEntry &record : list.hashes())
            result.push_back(record.dictionary());
        return result;
    }

    // What every document that does not parse must give.
    static void expectEmpty(HWCMediaHashList *list, const std::string &what)
    {
        ASSERT_NE(list, nullptr) << what;
        EXPECT_FALSE(list->hasDocument()) << what;
        EXPECT_TRUE(list->hashes().empty()) << what;
        EXPECT_EQ(list->fileCount(), 0) << what;
        EXPECT_EQ(list->fileSize(), 0) << what;
        EXPECT_EQ(list->tool(), std::nullopt) << what;
        EXPECT_TRUE(list->root().isNull()) << what;
    }

    QTemporaryDir m_folder;
};

} // namespace

TEST_F(MediaHashListReading, ReadsRecordsCountsSizeToolAndRoot)
{
    const QString path = write(QStringLiteral("card.mhl"), kListed);
    const auto list = HWCMediaHashList::initWithContentsOfURL(path);
    ASSERT_NE(list, nullptr);
    EXPECT_TRUE(list->hasDocument());
    EXPECT_EQ(list->root(), m_folder.path());
    EXPECT_TRUE(list->filePath().isNull());
    EXPECT_TRUE(list->fullPath().isNull());
    EXPECT_EQ(list->tool(), QStringLiteral("Hashwarden 1.4 (Build 112)"));
    EXPECT_EQ(list->fileCount(), 2);
    EXPECT_EQ(list->fileSize(), 1048589);
    EXPECT_EQ(HWCMediaHashList::extension(), QStringLiteral("mhl"));

    const auto records = dictionaries(*list);
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0], (Dictionary{{"file", "DCIM/100/A001.MOV"},
                                      {"size", "1048577"},
                                      {"lastmodificationdate", "2017-03-02T14:05:09Z"},
                                      {"xxhash64", "efcdab8967452301"},
                                      {"hashdate", "2017-03-02T14:05:10Z"}}));
    const HWCChecksumEntry &second = list->hashes()[1];
    EXPECT_EQ(second.value("file"), QStringLiteral("Brücke/ä b.wav"));
    EXPECT_EQ(second.value("md5"), QStringLiteral("D41D8CD98F00B204E9800998ECF8427E"));
    EXPECT_TRUE(second.contains("xxhash"));
    EXPECT_FALSE(second.contains("xxhash64"));
    EXPECT_TRUE(second.value("xxhash64").isNull());
    // The cache is built once: the same records come back.
    EXPECT_EQ(&list->hashes(), &list->hashes());
}

TEST_F(MediaHashListReading, OnlyExactMediaHashListPathsOpen)
{
    EXPECT_EQ(HWCMediaHashList::initWithContentsOfURL(write(QStringLiteral("a.MHL"), kListed)),
              nullptr);
    EXPECT_EQ(HWCMediaHashList::initWithContentsOfURL(write(QStringLiteral("a.xml"), kListed)),
              nullptr);
    // A missing file has the right extension: it gives an empty list, not no list.
    expectEmpty(HWCMediaHashList::initWithContentsOfURL(m_folder.filePath("none.mhl")).get(),
                "missing file");
    // A list at the top of the file system gets "/" as its root, a bare name "".
    ASSERT_TRUE(QDir().mkpath(m_folder.filePath(QStringLiteral("cwd"))));
    const QString previous = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(m_folder.filePath(QStringLiteral("cwd"))));
    TestSupport::writeText(QStringLiteral("bare.mhl"), kListed);
    const auto bare = HWCMediaHashList::initWithContentsOfURL(QStringLiteral("bare.mhl"));
    QDir::setCurrent(previous);
    ASSERT_NE(bare, nullptr);
    EXPECT_TRUE(bare->hasDocument());
    EXPECT_TRUE(bare->root().isEmpty());
    EXPECT_FALSE(bare->root().isNull());
}

TEST_F(MediaHashListReading, DuplicatesMissingSizesAndForeignRoots)
{
    const auto list = load(R"(<files>
  <hash><file>a</file><md5>first</md5><md5>second</md5><size>10</size><size>3</size></hash>
  <hash><file>no size</file></hash>
  <hash><size> +7kB</size></hash>
  <hash><size>-2</size></hash>
  <hash><size>many</size></hash>
  <Hash><size>100</size></Hash>
  <group><hash><size>1000</size></hash></group>
  <hash>stray text<file>x</file><md5/><![CDATA[more]]></hash>
</files>)");
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->fileCount(), 6);
    EXPECT_EQ(list->fileSize(), 3 + 7 - 2);
    EXPECT_EQ(list->tool(), std::nullopt);
    const auto &records = list->hashes();
    EXPECT_EQ(records[0].value("md5"), QStringLiteral("second"));
    EXPECT_EQ(records[0].dictionary().value("md5"), QStringLiteral("second"));
    EXPECT_EQ(records[0].dictionary().value("size"), QStringLiteral("3"));
    EXPECT_FALSE(records[1].contains("size"));
    EXPECT_TRUE(records[2].value("file").isNull());
    EXPECT_EQ(records[5].dictionary(), (Dictionary{{"file", "x"}, {"md5", ""}}));
    EXPECT_TRUE(records[5].contains("md5"));
    EXPECT_TRUE(records[5].value("md5").isEmpty());
    EXPECT_FALSE(records[5].value("md5").isNull());
}

TEST_F(MediaHashListReading, FullTextContentJoinsAllDescendantText)
{
    const auto list = load(R"(<hashlist><hash>
  <file>A<b>B<c>C</c></b><![CDATA[<D>]]>&amp;E&#x46;</file><size>1<!-- x -->2</size>
</hash></hashlist>)");
    ASSERT_NE(list, nullptr);
    ASSERT_EQ(list->fileCount(), 1);
    EXPECT_EQ(list->hashes()[0].value("file"), QStringLiteral("ABC<D>&EF"));
    EXPECT_EQ(list->hashes()[0].dictionary().value("file"), QStringLiteral("ABC<D>&EF"));
    EXPECT_EQ(list->fileSize(), 12);
}

TEST(HWCXMLElementAdditions, ChildrenByExactNameAndLaterDuplicatesWin)
{
    pugi::xml_document document;
    ASSERT_TRUE(document.load_string("<r><a>1</a>text<A>2</A><a>3<a>inner</a></a><b/><a/></r>"));
    const pugi::xml_node root = document.document_element();
    const std::vector<pugi::xml_node> children = hwc_childrenWithName(root, "a");
    ASSERT_EQ(children.size(), 3u);
    EXPECT_STREQ(children[0].child_value(), "1");
    EXPECT_EQ(hwc_fullTextContent(children[1]), "3inner");
    EXPECT_FALSE(children[2].first_child());
    EXPECT_TRUE(hwc_childrenWithName(root, "c").empty());
    EXPECT_TRUE(hwc_childrenWithName(pugi::xml_node(), "a").empty());
    EXPECT_EQ(hwc_dictionaryFromChildren(root), (Dictionary{{"a", ""}, {"A", "2"}, {"b", ""}}));
    EXPECT_TRUE(hwc_dictionaryFromChildren(pugi::xml_node()).isEmpty());

    // A record over nodes built in memory (text as separate child nodes) reads the same.
    const HWCChecksumEntry record(root);
    EXPECT_EQ(record.value("a"), QStringLiteral(""));
    EXPECT_EQ(record.value("A"), QStringLiteral("2"));
    EXPECT_TRUE(record.value("c").isNull());
    EXPECT_EQ(record.dictionary(), hwc_dictionaryFromChildren(root));
    pugi::xml_node built = document.document_element().append_child("built");
    built.append_child(pugi::node_pcdata).set_value("x");
    built.append_child(pugi::node_pcdata).set_value("y");
    EXPECT_EQ(record.value("built"), QStringLiteral("xy"));
}

TEST_F(MediaHashListReading, ToolIsTheLastToolOfTheLastCreatorInfo)
{
    auto list = load(R"(<hashlist>
  <creatorinfo><tool>old</tool></creatorinfo>
  <creatorinfo><tool>first</tool><name>n</name><tool>Second <v>2</v></tool></creatorinfo>
</hashlist>)");
    EXPECT_EQ(list->tool(), QStringLiteral("Second 2"));
    list = load(R"(<hashlist>
  <creatorinfo><tool>earlier</tool></creatorinfo>
  <creatorinfo><name>no tool here</name></creatorinfo>
  <hash><file>a</file></hash>
</hashlist>)");
    EXPECT_EQ(list->tool(), std::nullopt);
    EXPECT_EQ(list->fileCount(), 1);
    list = load("<hashlist><creatorinfo><x><tool>nested</tool></x></creatorinfo></hashlist>");
    EXPECT_EQ(list->tool(), std::nullopt);
    list = load("<hashlist><creatorinfo><tool/></creatorinfo></hashlist>");
    EXPECT_EQ(list->tool(), QStringLiteral(""));
}

TEST_F(MediaHashListReading, DocumentsThatDoNotParseGiveEmptyLists)
{
    const std::pair<const char *, QByteArray> broken[] = {
        {"empty", ""},
        {"plain text", "file size md5\nA001.MOV 12 d41d8cd98f00b204e9800998ecf8427e\n"},
        {"truncated", kListed.left(kListed.size() / 2)},
        {"unclosed root", "<hashlist><hash><file>a</file></hash>"},
        {"mismatched tags", "<hashlist><hash><file>a</size></hash></hashlist>"},
        {"two roots", "<hashlist><hash><file>a</file></hash></hashlist><hashlist/>"},
        {"binary", QByteArray::fromHex("00ff13c3283cfe7f0080") + QByteArray(4096, '\x01')},
        {"declaration only", "<?xml version=\"1.0\"?>"},
    };
    for (const auto &[what, contents] : broken)
        expectEmpty(load(contents).get(), what);
}

TEST_F(MediaHashListReading, EncodingsAndLineEndsReadLikeUtf8)
{
    const QByteArray lf = R"(<?xml version="1.0"?>
<hashlist><hash><file>Brücke/ä
b.wav</file><size>12</size><md5>d41d8cd98f00b204e9800998ecf8427e</md5></hash></hashlist>
)";
    const auto expected = std::vector<Dictionary>{{{"file", QStringLiteral("Brücke/ä\nb.wav")},
                                                   {"size", "12"},
                                                   {"md5", "d41d8cd98f00b204e9800998ecf8427e"}}};
    QByteArray crlf = lf;
    crlf.replace("\n", "\r\n");
    QByteArray cr = lf;
    cr.replace("\n", "\r");
    const QString text = QString::fromUtf8(lf);
    const std::pair<const char *, QByteArray> variants[] = {
        {"utf-8", lf},
        {"utf-8 crlf", crlf},
        {"utf-8 cr", cr},
        {"utf-8 bom", QByteArray("\xEF\xBB\xBF") + lf},
        {"utf-16le", QStringEncoder(QStringEncoder::Utf16LE, QStringEncoder::Flag::WriteBom)(text)},
        {"utf-16be", QStringEncoder(QStringEncoder::Utf16BE, QStringEncoder::Flag::WriteBom)(text)},
        {"utf-16le crlf", QStringEncoder(QStringEncoder::Utf16LE,
                                         QStringEncoder::Flag::WriteBom)(QString::fromUtf8(crlf))},
        {"utf-32le", QStringEncoder(QStringEncoder::Utf32LE, QStringEncoder::Flag::WriteBom)(text)},
        {"utf-32be cr", QStringEncoder(QStringEncoder::Utf32BE,
                                       QStringEncoder::Flag::WriteBom)(QString::fromUtf8(cr))},
    };
    for (const auto &[what, contents] : variants) {
        const auto list = load(contents);
        ASSERT_NE(list, nullptr) << what;
        EXPECT_EQ(dictionaries(*list), expected) << what;
        EXPECT_EQ(list->fileSize(), 12) << what;
    }
}

TEST_F(MediaHashListReading, HostileDocumentsNeitherCrashNorExpand)
{
    // Custom entities are neither expanded nor fetched: the reference stays as it was written.
    const auto bomb = load(R"(<?xml version="1.0"?>
<!DOCTYPE lolz [
 <!ENTITY lol "lol">
 <!ENTITY lol1 "&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;">
 <!ENTITY lol2 "&lol1;&lol1;&lol1;&lol1;&lol1;&lol1;&lol1;&lol1;&lol1;&lol1;">
 <!ENTITY lol3 "&lol2;&lol2;&lol2;&lol2;&lol2;&lol2;&lol2;&lol2;&lol2;&lol2;">
 <!ENTITY lol4 "&lol3;&lol3;&lol3;&lol3;&lol3;&lol3;&lol3;&lol3;&lol3;&lol3;">
 <!ENTITY lol5 "&lol4;&lol4;&lol4;&lol4;&lol4;&lol4;&lol4;&lol4;&lol4;&lol4;">
 <!ENTITY lol6 "&lol5;&lol5;&lol5;&lol5;&lol5;&lol5;&lol5;&lol5;&lol5;&lol5;">
 <!ENTITY lol7 "&lol6;&lol6;&lol6;&lol6;&lol6;&lol6;&lol6;&lol6;&lol6;&lol6;">
 <!ENTITY lol8 "&lol7;&lol7;&lol7;&lol7;&lol7;&lol7;&lol7;&lol7;&lol7;&lol7;">
 <!ENTITY lol9 "&lol8;&lol8;&lol8;&lol8;&lol8;&lol8;&lol8;&lol8;&lol8;&lol8;">
 <!ENTITY secret SYSTEM "file:///etc/passwd">
]>
<hashlist><hash><file>&lol9;</file><md5>&secret;</md5></hash></hashlist>)");
    ASSERT_NE(bomb, nullptr);
    ASSERT_EQ(bomb->fileCount(), 1);
    EXPECT_EQ(bomb->hashes()[0].value("file"), QStringLiteral("&lol9;"));
    EXPECT_EQ(bomb->hashes()[0].value("md5"), QStringLiteral("&secret;"));

    // Names that are not valid UTF-8 read with replacement characters.
    const auto invalid = load("<hashlist><hash><fi\xff\xfele>x</fi\xff\xfele>"
                              "<file>a\xc3.mov</file><size>\xe2\x82</size></hash></hashlist>");
    ASSERT_NE(invalid, nullptr);
    ASSERT_EQ(invalid->fileCount(), 1);
    const Dictionary record = invalid->hashes()[0].dictionary();
    EXPECT_EQ(record.value(QString::fromUtf8("fi\xff\xfele")), QStringLiteral("x"));
    EXPECT_EQ(invalid->hashes()[0].value("file"), QStringLiteral("a\uFFFD.mov"));
    EXPECT_EQ(invalid->fileSize(), 0);
}

TEST_F(MediaHashListReading, DeepNestingIsWalkedWithoutRecursion)
{
    const int depth = 100000;
    QByteArray contents = "<hashlist><hash><size>5</size><file>";
    for (int i = 0; i < depth; ++i)
        contents += "<d>" + QByteArray::number(i % 10);
    for (int i = 0; i < depth; ++i)
        contents += "</d>";
    contents += "</file></hash><deep>";
    // Outside any record too: parsing and destroying must not recurse either.
    for (int i = 0; i < depth; ++i)
        contents += "<e>";
    for (int i = 0; i < depth; ++i)
        contents += "</e>";
    contents += "</deep></hashlist>";

    const auto list = load(contents);
    ASSERT_NE(list, nullptr);
    ASSERT_EQ(list->fileCount(), 1);
    EXPECT_EQ(list->fileSize(), 5);
    const QString file = list->hashes()[0].value("file");
    ASSERT_EQ(file.size(), depth);
    EXPECT_EQ(file.left(12), QStringLiteral("012345678901"));
    EXPECT_EQ(list->hashes()[0].dictionary().value("file"), file);

    // Unclosed deep nesting is a parse failure, not a crash.
    expectEmpty(load(contents.left(contents.size() / 2)).get(), "unclosed deep nesting");
}

TEST_F(MediaHashListReading, AHugeTextNodeIsReadWhole)
{
    const qint64 textSize = 200 * 1000 * 1000;
    const QString path = m_folder.filePath(QStringLiteral("huge.mhl"));
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("<hashlist><hash><size>9</size><file>");
        const QByteArray chunk(1000 * 1000, 'q');
        for (qint64 written = 0; written < textSize; written += chunk.size())
            ASSERT_EQ(file.write(chunk), chunk.size());
        file.write("</file><md5>x</md5></hash></hashlist>");
    }
    auto list = HWCMediaHashList::initWithContentsOfURL(path);
    ASSERT_NE(list, nullptr);
    ASSERT_EQ(list->fileCount(), 1);
    EXPECT_EQ(list->fileSize(), 9);
    EXPECT_EQ(list->hashes()[0].value("md5"), QStringLiteral("x"));
    const QString file = list->hashes()[0].value("file");
    EXPECT_EQ(file.size(), textSize);
    EXPECT_EQ(file.count(QLatin1Char('q')), textSize);

    // Cut short inside the text node: the document does not parse.
    ASSERT_TRUE(QFile::resize(path, textSize / 2));
    expectEmpty(HWCMediaHashList::initWithContentsOfURL(path).get(), "truncated huge text");
}
