#include "support/CommandLineFixture.h"

#include <QDir>
#include <QDirIterator>
#include <fcntl.h>
#include <sys/file.h>

using namespace CommandLineFixtures;

namespace {

// Another program's exit code and its output and errors together.
Result runProgram(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(120000))
        return {};
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            process.readAll(),
            {}};
}

Result reference(const QStringList &arguments)
{
    return runProgram(HWC_ASCMHL_REFERENCE, arguments);
}

// The newest generation of the history at card, as text.
QString newestGeneration(const QString &card)
{
    const QString folder = card + "/ascmhl/";
    const QStringList names = QDir(folder).entryList({"*.mhl"}, QDir::Files, QDir::Name);
    return names.isEmpty() ? QString()
                           : QString::fromUtf8(TestSupport::readFile(folder + names.last()));
}

} // namespace

// Each scenario is run by both tools: ours writes (or seals), the reference implementation
// verifies what it finds with its own digests, and every manifest and chain on the card must
// pass the standard's schemas.
TEST_F(HWCCommandLineTest, ASCMHLHistoriesWeWriteAreReadByTheReferenceImplementation)
{
    if (!reference({"--version"}).out.contains("version"))
        GTEST_SKIP() << "the ASC MHL reference implementation does not run: " HWC_ASCMHL_REFERENCE;
    const QString ignoreFile = path("ignore.txt");
    TestSupport::writeText(ignoreFile, "# caches\ncache/\n");
    const auto create = [this](const QString &card, const QStringList &options = {}) {
        return run(QStringList{"create", "--format", "ascmhl"} + options + QStringList{card});
    };
    // Its output, then the --log report it wrote.
    const auto logged = [this](const QStringList &arguments) {
        Result result = run(QStringList{"--log", path("run.log")} + arguments);
        result.out += TestSupport::readFile(path("run.log"));
        return result;
    };
    struct Scenario {
        const char *name;
        std::function<Result(const QString &)> ours;
        int ourCode;
        const char *ourText;          // a pattern our output matches
        QStringList referenceCommand; // run on the card; %c stands for the card's path
        int referenceCode;
        const char *holds;       // a pattern the newest generation matches
        const char *lacks;       // text it does not hold
        const char *beside = ""; // another file to inspect instead: the card's path and this
    };
    const QStringList verifyAll = {"debug", "verify", "-dh"};
    const Scenario scenarios[] = {
        {"every digest kind and the author",
         [&](const QString &card) {
             QDir(card).mkpath("Clips/Empty"); // counts in its parent's hashes
             return create(card, {"--digest", "xxh64,c4,md5,sha1,xxh128,xxh3", "--author-name",
                                  "Ann", "--author-email", "ann@example.com", "--author-role",
                                  "DIT", "--location", "Set 4", "--comment", "Day 1"});
         },
         0, ": Created OK\n  3 files, 0 could not be hashed", verifyAll, 0,
         "<author email=\"ann@example.com\" role=\"DIT\">Ann</author>\n    <location>Set 4<",
         "<author email=\"\""},
        {"default digest without folder hashes",
         [&](const QString &card) {
             return logged({"create", "--format", "ascmhl", "--no-directory-hashes", card});
         },
         0,
         ": Created OK[^$]*\nHistory: +[^\n]+/ascmhl/0001_[^\n]+ \\(xxh128\\), recorded\n\nHashed\n"
         "[^$]*/Clips/A001.mov [^\n]+ \\(3000 bytes\\) xxh128 [0-9a-f]{32}\n",
         {"debug", "verify"},
         0,
         "<xxh128 action=\"original\"",
         "<roothash>"},
        {"ignore patterns",
         [&](const QString &card) {
             for (const char *file : {"a.tmp", "keep.tmp", "cache/c.bin", ".DS_Store"})
                 TestSupport::writeText(card + "/" + file, file);
             return create(
                 card, {"--ignore", "*.tmp", "--ignore", "!keep.tmp", "--ignore-file", ignoreFile});
         },
         // Its -dh counts the ignored folder as an empty one; the standard leaves it out.
         0,
         "  4 files, 0 could not be hashed",
         {"debug", "verify"},
         0,
         "<pattern>ascmhl/</pattern>\n      <pattern>\\*.tmp</pattern>\n      <pattern>!keep.tmp"
         "</pattern>\n      <pattern>cache/</pattern>",
         "a.tmp<"},
        {"a card with its own history inside the reel",
         [&](const QString &card) {
             TestSupport::writeText(card + "/CardA/Clips/x.mov", "nested");
             reference({"create", "-h", "xxh128", card + "/CardA"});
             return create(card);
         },
         0, "  3 files, 0 could not be hashed", verifyAll, 0,
         "<hashlistreference>\n      <path>CardA/ascmhl/0001_CardA_", "x.mov"},
        {"the reference's history sealed with a new file",
         [&](const QString &card) {
             reference({"create", "-h", "xxh64", "-h", "md5", card});
             TestSupport::writeText(card + "/Clips/A003.mov", "new");
             const Result result = run({"verify", "--seal", "--json", card});
             JsonSchema().expectDocument(result.out, 0);
             return result;
         },
         0,
         "\"historyRecorded\": \\[\n +\"[^\"]+/ascmhl/0002_[^\n]+\n +\\],\n "
         "+\"historyRecordedNew\": "
         "\\[\n +\"Clips/A003.mov\"[^$]*\"unlisted\": \\[\n +\\]",
         {"debug", "verify"},
         0,
         // Both kinds the history holds, from one read; the new file hashed in both.
         "A001.mov</path>\n      <md5 action=\"verified\"[^\n]+\n      <xxh64 "
         "action=\"verified\"[^$]*"
         "A003.mov</path>\n      <md5 action=\"original\"[^\n]+\n      <xxh64 action=\"original\"",
         "action=\"failed\""},
        {"a new file recorded, told in text and log",
         [&](const QString &card) {
             create(card);
             TestSupport::writeText(card + "/Clips/A003.mov", "new");
             return logged({"verify", "--seal", card});
         },
         0,
         "^(?![^$]*Not listed)[^$]*  New since the last generation, recorded \\(1\\):\n    "
         "/Clips/A003.mov\n[^$]*\nHistory: +[^\n]+/ascmhl/0002_[^\n]+, recorded\n[^$]*\n\nNew "
         "since the last generation, recorded\n/Clips/A003.mov\n$",
         {"debug", "verify"},
         0,
         "A003.mov</path>\n      <xxh128 action=\"original\"",
         "action=\"failed\""},
        {"nested histories sealed at once",
         [&](const QString &card) {
             TestSupport::writeText(card + "/CardA/Clips/x.mov", "nested");
             reference({"create", "-h", "xxh128", card + "/CardA"});
             create(card);
             return run({"verify", "--seal", card});
         },
         0, "/CardA/ascmhl/0002_CardA_", verifyAll, 0, "<path>CardA/ascmhl/0002_CardA_", "x.mov"},
        {"a renamed file and an altered one sealed",
         [&](const QString &card) {
             create(card, {"--digest", "md5"});
             QFile::rename(card + "/Sidecar.txt", card + "/Notes.txt");
             TestSupport::writeFile(card + "/Clips/A002.mov", 5000, 3);
             return run({"verify", "--seal", "--detect-renames", card});
         },
         1,
         "  Missing file \\(1\\):\n    /Sidecar.txt\n",
         {"debug", "verify"},
         11,
         "Notes.txt</path>\n      <md5 action=\"original\" hashdate=\"[^\"]*\">"
         "[0-9a-f]+</md5>\n      <previousPath>Sidecar.txt<",
         "A002.mov</path>\n      <md5 action=\"verified\""},
        {"a card that cannot be written",
         [&](const QString &card) {
             create(card);
             const QString chmod = "chmod -R a+rX,a-w " + card + " && chmod a+x " + path("");
             runProgram("sh", {"-c", chmod});
             // Permissions do not bind root: as nobody then.
             return geteuid() == 0 ? runOutside({"verify", "--seal", card}, {},
                                                {"setpriv", "--reuid=nobody", "--regid=nogroup",
                                                 "--clear-groups"})
                                   : run({"verify", "--seal", card});
         },
         0,
         "  This verification could not be recorded in the history: ",
         {"debug", "verify"},
         0,
         "action=\"original\"",
         "action=\"verified\""},
        {"flattened and checked as a packing list",
         [&](const QString &card) {
             create(card, {"--digest", "md5"});
             QFile::rename(card + "/Sidecar.txt", card + "/Notes.txt");
             run({"verify", "--seal", "--detect-renames", card});
             run({"flatten", card, card + ".flat.mhl"});
             return run({"verify", "--root", card, card + ".flat.mhl"});
         },
         0,
         ": Verified OK\n  3 files, 3 read successfully",
         {"debug", "verify", "-pl", "%c.flat.mhl"},
         0,
         "<process>flatten</process>[^$]*Notes.txt</path>\n      <md5 action=\"original\"[^\n]*"
         "\n      <previousPath>Sidecar.txt<",
         "Sidecar.txt</path>",
         ".flat.mhl"},
        {"a missing and a new file told apart by name",
         [&](const QString &card) {
             create(card);
             QFile::remove(card + "/Sidecar.txt");
             TestSupport::writeText(card + "/Clips/A003.mov", "new");
             return run({"diff", card});
         },
         1,
         ": 1 missing, 1 new\n  Missing: /Sidecar.txt\n  New:     /Clips/A003.mov\n",
         {"diff"},
         10,
         "<xxh128 action=\"original\"",
         "A003"},
        {"generations of a reel and its card told by info",
         [&](const QString &card) {
             TestSupport::writeText(card + "/CardA/Clips/x.mov", "nested");
             reference({"create", "-h", "xxh128", card + "/CardA"});
             create(card);
             run({"verify", "--seal", card});
             return run({"info", card});
         },
         0,
         "Format:  ASC MHL 2.0, 2 generations\n[^$]*\nGenerations:\n  0001  [^ ]+  Hashwarden [^ "
         "]+  "
         "in-place\n  0002  [^\n]+\n  Nested history CardA:\n    0001  [^ ]+  ascmhl 1.1  "
         "in-place\n    0002  [^ ]+  Hashwarden ",
         {"info"},
         0,
         "<path>CardA/ascmhl/0002_CardA_",
         "action=\"original\""},
        {"a history another run is writing",
         [&](const QString &card) {
             create(card);
             const int other = open(QFile::encodeName(card + "/ascmhl").constData(), O_RDONLY);
             flock(other, LOCK_EX);
             const Result result = logged({"verify", "--seal", card});
             close(other);
             return result;
         },
         73,
         ": History could not be recorded\n  3 files, 3 read successfully[^$]*\nResult: +History "
         "could not be recorded\n[^$]*\nHistory: +not recorded: [^\n]+/ascmhl",
         {"debug", "verify"},
         0,
         "action=\"original\"",
         "action=\"verified\""},
        {"a damaged chain is not appended to",
         [&](const QString &card) {
             create(card);
             const QString chain = card + "/ascmhl/ascmhl_chain.xml";
             TestSupport::writeText(chain,
                                    TestSupport::readFile(chain).replace("<c4>c4", "<c4>c3"));
             return run({"verify", "--seal", card});
         },
         73,
         "  Hash fail \\(1\\):\n    /ascmhl/0001_",
         {"debug", "verify"},
         31,
         "action=\"original\"",
         "action=\"verified\""},
        {"a file altered after the creation",
         [&](const QString &card) {
             create(card);
             TestSupport::writeFile(card + "/Clips/A001.mov", 3000, 9);
             return run({"verify", card});
         },
         1,
         "  Hash fail \\(1\\):\n    /Clips/A001.mov\n      xxh128 expected",
         {"debug", "verify"},
         11,
         "",
         "action=\"failed\""},
    };
    for (const Scenario &scenario : scenarios) {
        SCOPED_TRACE(scenario.name);
        const QString card = path(QString(scenario.name).replace(' ', '_'));
        TestSupport::writeFile(card + "/Clips/A001.mov", 3000, 1);
        TestSupport::writeFile(card + "/Clips/A002.mov", 5000, 2);
        TestSupport::writeText(card + "/Sidecar.txt", "notes");
        const Result ours = scenario.ours(card);
        EXPECT_EQ(ours.exitCode, scenario.ourCode) << ours.err.toStdString();
        EXPECT_TRUE(QString::fromUtf8(ours.out).contains(QRegularExpression(scenario.ourText)))
            << ours.out.toStdString();
        const Result theirs =
            reference(scenario.referenceCommand.join('\n').replace("%c", card).split('\n') +
                      QStringList{card});
        EXPECT_EQ(theirs.exitCode, scenario.referenceCode) << theirs.out.toStdString();
        EXPECT_EQ(theirs.out.toLower().contains("error"), scenario.referenceCode != 0)
            << theirs.out.toStdString();
        const QString beside = card + scenario.beside;
        const QString generation = *scenario.beside
                                       ? QString::fromUtf8(TestSupport::readFile(beside))
                                       : newestGeneration(card);
        EXPECT_TRUE(generation.contains(QRegularExpression(scenario.holds)))
            << generation.toStdString();
        EXPECT_FALSE(generation.contains(scenario.lacks)) << generation.toStdString();
        QDirIterator files(card, {"*.mhl", "ascmhl_chain.xml"}, QDir::Files,
                           QDirIterator::Subdirectories);
        QStringList written = *scenario.beside ? QStringList{beside} : QStringList();
        while (files.hasNext())
            written.append(files.next());
        for (const QString &file : std::as_const(written)) {
            const QString schema = file.endsWith(".xml") ? "/ASCMHLDirectory.xsd" : "/ASCMHL.xsd";
            const Result valid =
                runProgram("xmllint", {"--noout", "--schema", HWC_ASCMHL_SCHEMAS + schema, file});
            EXPECT_EQ(valid.exitCode, 0) << valid.out.toStdString();
        }
        runProgram("chmod", {"-R", "u+w", card});
    }
}
