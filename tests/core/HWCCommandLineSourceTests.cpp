#include "support/CommandLineFixture.h"

#include <QDir>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>

using namespace CommandLineFixtures;

TEST_F(HWCCommandLineTest, UnusableListsAndEntriesAreNamedAndNeverSucceed)
{
    TestSupport::writeText(path("cut/list.mhl"), "<hashlist><hash><file>a</file>");
    TestSupport::makeFifo(path("pipe.mhl"));
    const QString clean = clips("clean");
    TestSupport::makeFifo(clean + "/pipe");
    writeMHL(clean + "/more.mhl",
             {hashElement("pipe", 5, {{"md5", kHelloMD5}}),
              hashElement("../../etc/hostname", 5, {{"md5", kHelloMD5}})},
             "50% 100%1 %2");
    const std::tuple<QString, const char *, const char *> cases[] = {
        {path("cut"), "list.mhl: is not well-formed XML", ": Nothing verified, an MHL"},
        {path("pipe.mhl"), "pipe.mhl: cannot be opened: a FIFO", ": Nothing verified, an MHL"},
        {clean, "Can't open file ../../etc/hostname: its path leaves", "Can't open file (2):"},
    };
    for (const auto &[source, err, out] : cases) {
        const Result result = run({"verify", "--debug", source});
        EXPECT_EQ(result.exitCode, 1) << source.toStdString();
        EXPECT_TRUE(result.err.contains(err)) << result.err.toStdString();
        EXPECT_TRUE(result.out.contains(out)) << result.out.toStdString();
    }
    const QJsonObject json = QJsonDocument::fromJson(run({"verify", "--json", path("cut")}).out)
                                 .object()["sources"][0]["mhlSkipped"][0]
                                 .toObject();
    EXPECT_EQ(json["path"].toString(), path("cut/list.mhl"));
    EXPECT_TRUE(json["reason"].toString().startsWith("is not well-formed XML ("));
    EXPECT_TRUE(run({"info", clean + "/more.mhl"}).out.contains("Tool:    50% 100%1 %2\n"));
}

TEST_F(HWCCommandLineTest, FilesNoMHLListsAreReportedAndFailOnlyWithStrict)
{
    const QString folder = clips("card");
    for (const char *name : {"extra.mov", "sub/new.wav", ".DS_Store", "._clip1.mov"})
        TestSupport::writeFile(folder + "/" + name, 10);
    const QByteArray report = "  Not listed in any MHL (2):\n    /extra.mov\n    /sub/new.wav\n";
    const std::tuple<QStringList, int, QByteArray> cases[] = {
        {{"verify", folder}, 0, report},
        {{"verify", "--strict", folder}, 1, report},
        // Patterns given replace the default ones.
        {{"verify", "--exclude", "*.wav", "--exclude", "extra*", folder},
         0,
         "  Not listed in any MHL (2):\n    /.DS_Store\n    /._clip1.mov\n"},
    };
    for (const auto &[arguments, code, out] : cases) {
        const Result result = run(arguments);
        EXPECT_EQ(result.exitCode, code) << arguments.join(' ').toStdString();
        EXPECT_TRUE(result.out.contains(out)) << result.out.toStdString();
        EXPECT_TRUE(result.out.contains(": Verified OK\n")) << "the state stays";
    }
    const Result json = run({"verify", "--json", "--strict", "--log", path("log.txt"), folder});
    const QJsonObject operation = QJsonDocument::fromJson(json.out)["sources"][0].toObject();
    EXPECT_EQ(operation["unlisted"].toArray(), QJsonArray({"extra.mov", "sub/new.wav"}));
    EXPECT_EQ(operation["exitCode"].toInt(), 1);
    EXPECT_TRUE(TestSupport::readFile(path("log.txt"))
                    .endsWith("\nNot listed in any MHL\n/extra.mov\n/sub/new.wav\n"));

    // A listed path names its file once "." and ".." are resolved.
    writeMHL(folder + "/more.mhl",
             {hashElement("./sub/../extra.mov", 10,
                          {{"md5", toolDigest("md5", folder + "/extra.mov")}})});
    EXPECT_TRUE(
        run({"verify", folder}).out.contains("  Not listed in any MHL (1):\n    /sub/new.wav\n"));
}

TEST_F(HWCCommandLineTest, RootVerifiesAnMHLKeptApartFromTheMedia)
{
    const QString media = clips("media");
    QDir().mkpath(path("reports"));
    ASSERT_TRUE(QFile::rename(media + "/list.mhl", path("reports/list.mhl")));
    for (const QString &source : {path("reports/list.mhl"), path("reports")}) {
        const Result result = run({"verify", "--strict", "--root", media, source});
        EXPECT_EQ(result.exitCode, 0) << result.out.toStdString() << result.err.toStdString();
        EXPECT_TRUE(result.out.contains("3 files, 3 read successfully"));
    }
    EXPECT_TRUE(run({"verify", path("reports")}).out.contains("  Missing file (3):"));
    const Result nowhere = run({"verify", "--root", path("nowhere"), path("reports")});
    EXPECT_EQ(nowhere.exitCode, 66);
    EXPECT_TRUE(nowhere.err.endsWith("nowhere: not a folder to look for the listed files in\n"))
        << nowhere.err.toStdString();
}

TEST_F(HWCCommandLineTest, ASCMHLHistoriesWrittenByTheReferenceImplementation)
{
    const auto reference = [](const QStringList &arguments) {
        QProcess process;
        process.start(HWC_ASCMHL_REFERENCE, arguments);
        return process.waitForFinished(60000) ? process.readAllStandardOutput() : QByteArray();
    };
    if (!reference({"--version"}).contains("version"))
        GTEST_SKIP() << "the ASC MHL reference implementation does not run: " HWC_ASCMHL_REFERENCE;
    // Edits the newest generation and seals it in the chain again, as a writer would.
    const auto edit = [&](const QString &card, const QString &pattern, const QString &after) {
        const QString folder = card + "/ascmhl/";
        const QString name = QDir(folder).entryList({"*.mhl"}, QDir::Files, QDir::Name).last();
        const auto c4 = [&] {
            const QByteArray line = reference({"debug", "hash", "-h", "c4", folder + name});
            return line.mid(line.lastIndexOf(' ') + 1).trimmed();
        };
        const QByteArray before = c4();
        QString text = QString::fromUtf8(TestSupport::readFile(folder + name));
        TestSupport::writeText(folder + name,
                               text.replace(QRegularExpression(pattern), after).toUtf8());
        TestSupport::writeText(
            folder + "ascmhl_chain.xml",
            TestSupport::readFile(folder + "ascmhl_chain.xml").replace(before, c4()));
    };
    const auto add = [](const QString &card, const QStringList &files) {
        for (const QString &file : files)
            TestSupport::writeText(card + "/" + file, file.toUtf8());
    };
    // What the patterns the history records leave out is never reported.
    const QString newFiles =
        "Verify %1: Verified OK\n  3 files, 3 read successfully, 0 with warnings, "
        "41 bytes read\n  Not listed in any MHL (4):\n    /keep.tmp\n    "
        "/new.mov\n    /sub/build/o\n    /sub/dir.txt\n";
    // %g stands for the first generation's name.
    const std::tuple<const char *, std::function<void(const QString &)>, QString, int, QString>
        cases[] = {
            {"file and digest altered, chain gone",
             [&](const QString &card) {
                 TestSupport::writeText(card + "/x.mov", "altered");
                 edit(card, "(x.mov</path>\\s*<xxh64[^>]*>)\\w+",
                      "\\1" + toolDigest("xxhash64be", card + "/x.mov"));
                 QFile::remove(card + "/ascmhl/ascmhl_chain.xml");
             },
             "", 1, "Verify %1: Nothing verified, an MHL could not be used\n"},
            // Only the folder's entry names its old path, as a tool that renames writes it.
            {"folder renamed",
             [&](const QString &card) {
                 QDir(card).rename("Clips/Day1", "Clips/Day01");
                 reference({"create", "-h", "xxh64", "-dr", card});
                 edit(card, "(</xxh64>)\\s*<previousPath>[^<]*</previousPath>", "\\1");
             },
             "", 0, "Verify %1: Verified OK\n  8 files, 8 read successfully"},
            {"folder", {}, "/ascmhl", 0, newFiles},
            {"generation", {}, "/ascmhl/%g", 0, newFiles},
            {"chain", {}, "/ascmhl/ascmhl_chain.xml", 0, newFiles},
            // The writer takes a new file under a renamed one's old name for the old file.
            {"failed only",
             [&](const QString &card) {
                 QDir(card).rename("x.mov", "y.mov");
                 reference({"create", "-h", "xxh64", "-dr", card});
                 TestSupport::writeText(card + "/x.mov", "other");
                 reference({"create", "-h", "xxh64", card});
             },
             "", 1, "  No hash (1):\n    /x.mov\n"},
        };
    for (const auto &[name, change, source, code, out] : cases) {
        SCOPED_TRACE(name);
        const QString card = path(name);
        add(card, {"x.mov", "Clips/Day1/a.mov", "Clips/Day1/Sub/b.mov"});
        reference({"create", "-h", "xxh64", "-i", "*.tmp", "-i", "!keep.tmp", "-i", "/build", "-i",
                   "dir/", "-i", "**/cache", card});
        add(card, {"new.mov", "a.tmp", "keep.tmp", "build/o", "sub/build/o", "Clips/cache/c",
                   "deep/x/cache/c", "dir/d", "sub/dir/d", "sub/dir.txt"});
        if (change)
            change(card);
        const QString generation = QDir(card + "/ascmhl").entryList({"0001_*"}).value(0);
        const Result result = run({"verify", card + QString(source).replace("%g", generation)});
        EXPECT_EQ(result.exitCode, code);
        EXPECT_TRUE(result.out.contains(QString(out).replace("%1", card).toUtf8()))
            << result.out.toStdString();
    }
}

TEST_F(HWCCommandLineTest, WhatCannotBeReadIsNamedOnceAndNeverPassesInSilence)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root to act as nobody";
    ASSERT_EQ(chmod(QFile::encodeName(m_folder.path()).constData(), 0755), 0);
    // Two files of four that nobody may read, a folder nobody may list, and a listed card
    // whose hidden folder holds an MHL of its own.
    for (const char *name : {"a.mov", "b.mov", "c.mov", "d.mov"})
        TestSupport::writeFile(path("four/") + name, 1000);
    TestSupport::writeFile(path("shut/clip.mov"), 1000);
    TestSupport::writeFile(path("shut/private/clip.mov"), 1000);
    const QString card = clips("card");
    TestSupport::writeFile(path("card/private/extra.mov"), 10);
    ASSERT_EQ(run({"create", path("card/private")}).exitCode, 0);
    for (const char *hidden : {"four/b.mov", "four/d.mov", "shut/private", "card/private"})
        ASSERT_EQ(chmod(QFile::encodeName(path(hidden)).constData(), 0), 0);
    for (const QString &folder : {path("four"), path("shut"), card})
        ASSERT_EQ(chmod(QFile::encodeName(folder).constData(), 0777), 0);
    const QString log = QDir::temp().filePath("hashwarden-unreadable.log");
    QFile::remove(log);
    // As nobody, so that permissions bind even when the tests run as root, with a history
    // nobody may write.
    QDir().mkpath(path("nobody"));
    ASSERT_EQ(chmod(QFile::encodeName(path("nobody")).constData(), 0777), 0);
    const auto asNobody = [this](const QStringList &arguments) {
        return runOutside(arguments, {"XDG_DATA_HOME=" + path("nobody")},
                          {"setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups"});
    };
    // Whole summaries but their "MHL:" line, and stderr.
    const std::tuple<QStringList, int, QString, QString> cases[] = {
        {{"create", path("four")},
         1,
         "Create " + path("four") +
             ": Finished with warnings\n  4 files, 2 could not be hashed, "
             "2.0 kB hashed\n  Access denied (2):\n    /b.mov\n    /d.mov\n",
         ""},
        {{"create", path("shut")},
         1,
         "Create " + path("shut") +
             ": Finished with warnings\n  2 files, 1 could not be hashed, "
             "1.0 kB hashed\n  Access denied (1):\n    /private\n",
         ""},
        {{"verify", "--log", log, card},
         0,
         "Verify " + card +
             ": Verified OK\n  3 files, 3 read successfully, 0 with warnings, "
             "300.0 kB read\n",
         "hashwarden: " + card +
             "/private: folder could not be read, not searched: "
             "Permission denied\n"}};
    for (const auto &[arguments, exitCode, out, err] : cases) {
        const Result result = asNobody(arguments);
        EXPECT_EQ(result.exitCode, exitCode) << result.err.toStdString();
        EXPECT_EQ(QString::fromUtf8(result.out).remove(QRegularExpression("  MHL: [^\n]*\n")), out);
        EXPECT_EQ(QString::fromUtf8(result.err), err);
    }
    EXPECT_TRUE(QString::fromUtf8(TestSupport::readFile(log))
                    .contains("\nFolders that could not be read\n" + card +
                              "/private: Permission denied\n"));
    const Result strict = asNobody({"verify", "--json", "--strict", card});
    EXPECT_EQ(strict.exitCode, 1);
    JsonSchema().expectDocument(strict.out, 1);
    EXPECT_EQ(
        QJsonDocument::fromJson(strict.out)["sources"][0]["unreadableFolders"],
        (QJsonArray{QJsonObject{{"path", card + "/private"}, {"reason", "Permission denied"}}}));
}

// Reads stay beneath the source (or --root), whether the kernel confines the lookup (openat2)
// or the program walks it name by name (openat2 refused the way seccomp refuses it).
TEST_F(HWCCommandLineTest, LinksLeavingTheSourceAreRefusedAndLinksInsideAreFollowed)
{
    TestSupport::writeText(path("outside/secret.bin"), "hello");
    const QString card = path("card");
    TestSupport::writeText(card + "/real.bin", "hello");
    const std::tuple<QString, QString, QString> entries[] = {
        {"up.bin", "../outside/secret.bin", "up.bin"},
        {"abs.bin", path("outside/secret.bin"), "abs.bin"},
        {"mid", path("outside"), "mid/secret.bin"},
        {"rel.bin", "real.bin", "rel.bin"},
        {"inside.bin", card + "/real.bin", "inside.bin"},
        {"sub", card, "sub/sub/real.bin"}};
    QStringList hashes;
    for (const auto &[link, target, entry] : entries) {
        ASSERT_EQ(symlink(QFile::encodeName(target), QFile::encodeName(card + "/" + link)), 0);
        hashes << hashElement(entry, 5, {{"md5", kHelloMD5}});
    }
    writeMHL(path("reports/card.mhl"), hashes);
    QFile::copy(path("reports/card.mhl"), card + "/list.mhl");
    for (const QStringList &source :
         {QStringList{card}, {"--root", card, path("reports/card.mhl")}})
        for (const bool kernel : {true, false}) {
            SCOPED_TRACE(source.join(' ').toStdString() + (kernel ? "" : " by names"));
            Result result;
            if (kernel)
                result = run(QStringList{"verify", "-v"} + source);
            else // The executable started from this thread inherits its filter.
                std::thread([&] {
                    ASSERT_TRUE(TestSupport::refuseOnThisThread(SYS_openat2, ENOSYS));
                    result = runOutside(QStringList{"verify", "-v"} + source);
                }).join();
            EXPECT_EQ(result.exitCode, 1);
            for (const auto &[link, target, entry] : entries) {
                const bool inside = target.startsWith(card) || !target.contains('/');
                const QByteArray name = entry.toUtf8();
                EXPECT_TRUE(result.out.contains("/" + name + (inside ? ": OK\n" : ": Can't open")));
                EXPECT_EQ(result.out.contains("/" + name + "\n      leaves the source\n"), !inside)
                    << name.data() << result.out.data();
            }
        }
    const Result json = run({"verify", "--json", "--log", path("log.txt"), card});
    JsonSchema().expectDocument(json.out, 1);
    EXPECT_EQ(QJsonDocument::fromJson(json.out)["sources"][0]["records"][0]["reason"].toString(),
              "leaves the source");
    EXPECT_TRUE(TestSupport::readFile(path("log.txt"))
                    .contains("\n/up.bin (0 Bytes read, 0 bytes)\n  leaves the source\n"));
    // A creation does not follow links at all.
    ASSERT_EQ(symlink(QFile::encodeName(card), QFile::encodeName(path("outside/card"))), 0);
    EXPECT_TRUE(run({"create", path("outside")}).out.contains("  1 file, 0 could not be hashed"));
}

// A listed size that differs from what is read fails even with the right digest; a size that
// is no number of bytes makes the entry unusable; pseudo files are never read.
TEST_F(HWCCommandLineTest, SizesAreCheckedAndPseudoFilesAreNotRead)
{
    const QString card = path("card"), md5 = kHelloMD5;
    QStringList hashes;
    for (const QString size : {"6", "-1", "12a"}) {
        TestSupport::writeText(card + "/" + size + ".bin", "hello");
        hashes << QStringLiteral("<hash><file>%1.bin</file><size>%1</size><md5>%2</md5></hash>")
                      .arg(size, md5);
    }
    writeMHL(card + "/list.mhl", hashes);
    writeMHL(path("proc.mhl"), {hashElement("ostype", 5, {{"md5", md5}})});
    const std::pair<QStringList, QString> cases[] = {
        {{card},
         "  Hash fail (1):\n    /6.bin\n      md5 expected " + md5 + "\n          actual   " + md5 +
             "\n      size 5 bytes, 6 listed (truncated)\n"},
        {{card},
         "  Can't open file (2):\n    /-1.bin\n      its size \"-1\" is not a number of "
         "bytes\n    /12a.bin\n      its size \"12a\" is not a number of bytes\n"},
        {{"--root", "/proc/sys/kernel", path("proc.mhl")},
         "  Can't open file (1):\n    /ostype\n      not a file on a storage medium\n"}};
    for (const auto &[source, out] : cases) {
        const Result result = run(QStringList{"verify"} + source);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(result.out.contains(out.toUtf8())) << result.out.toStdString();
    }
}
