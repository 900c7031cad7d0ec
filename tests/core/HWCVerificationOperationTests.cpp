#include "Classes/HWCOperationController.h"
#include "Classes/HWCVerificationOperation.h"
#include "support/VerificationFixtures.h"

#include <QDir>
#include <QFile>
#include <QPointer>
#include <QThreadPool>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace VerificationFixtures;

class HWCVerificationOperationTest : public VerificationTest {};

TEST_F(HWCVerificationOperationTest, EveryFileStateOneRecordPerEntry)
{
    const quint64 okSize = 2 * kMiB + kMiB / 2 + 123; // three reads, the last one short
    const QString ok = addFile("Card/A001/ok.bin", qint64(okSize), "xxhash64");
    const QString otherMd5 = addFile("other.bin", 1000, "md5", 99);
    addFile("Card/bad.bin", 1000, "md5");
    const QString empty = addFile("Card/empty.bin", 0, "sha1");
    const QString xx32 = addFile("Card/x32.bin", 4097, "xxhash");
    const QString aligned = addFile("Card/aligned.bin", 8192, "sha1");
    const QString escape = addFile("escape.bin", 512, "md5");
    QDir().mkpath(path("Card/folder.bin"));
    ASSERT_EQ(symlink("loop.bin", path("Card/loop.bin").toUtf8().constData()), 0);
    writeMHL(path("Card/list.mhl"), {hashElement("A001/ok.bin", qint64(okSize), {{"xxhash64", ok}}),
                                     hashElement("bad.bin", 1000, {{"md5", otherMd5}}),
                                     hashElement("missing.bin", 10, {{"md5", otherMd5}}),
                                     hashElement("loop.bin", 10, {{"md5", otherMd5}}),
                                     hashElement("folder.bin", 10, {{"md5", otherMd5}}),
                                     hashElement("new.bin", 10, {{"sha256", "00ff"}, {"crc", "1"}}),
                                     hashElement("empty.bin", 0, {{"sha1", empty}}),
                                     hashElement("x32.bin", 4097, {{"xxhash", xx32}}),
                                     hashElement("aligned.bin", 8192, {{"sha1", aligned}}),
                                     hashElement("../escape.bin", 512, {{"md5", escape}})});
    const auto source = scannedSource(path("Card"));
    HWCVerificationOperation operation(source);
    TestSupport::LogCapture log;

    runToEnd(operation);

    const QList<Record> expected = {
        {"/", "A001/ok.bin", HWCFileStateReadSuccessfully, okSize},
        {"/", "bad.bin", HWCFileStateHashFail, 1000},
        {"/", "missing.bin", HWCFileStateMissingFile, 0},
        {"/", "loop.bin", HWCFileStateCantOpenFile, 0},
        {"/", "folder.bin", HWCFileStateCantReadFile, 0},
        {"/", "new.bin", HWCFileStateUnknownHash, 0},
        {"/", "empty.bin", HWCFileStateReadSuccessfully, 0},
        {"/", "x32.bin", HWCFileStateReadSuccessfully, 4097},
        {"/", "aligned.bin", HWCFileStateReadSuccessfully, 8192},
        {"/", "../escape.bin", HWCFileStateReadSuccessfully, 512},
    };
    EXPECT_EQ(records(operation.files()), expected);
    for (const HWCVerifiedFile &file : operation.files()) {
        EXPECT_EQ(file.sourcePath(), path("Card"));
        const bool opened = file.verifiedFileState() == HWCFileStateReadSuccessfully ||
                            file.verifiedFileState() == HWCFileStateHashFail ||
                            file.verifiedFileState() == HWCFileStateCantReadFile;
        EXPECT_EQ(file.time() > 0, opened) << file.relativePath().toStdString();
    }
    EXPECT_EQ(operation.state(), HWCOperationStateFinishedWithWarnings);
    EXPECT_EQ(operation.fileAmount(), 10u);
    EXPECT_EQ(records(operation.filesWithState(HWCFileStateHashFail)), expected.mid(1, 1));
    EXPECT_EQ(operation.filesWithState(HWCFileStateReadSuccessfully, true).size(), 5);
    EXPECT_TRUE(operation.filesWithState(0).isEmpty());
    EXPECT_EQ(operation.description(), "HWCVerificationOperation root: Card");
    EXPECT_EQ(operation.actionType(), HWCActionTypeVerify);

    // Files that never opened and unknown kinds are not counted; a read error counts as passed.
    HWCOperationInfo *info = operation.info();
    EXPECT_EQ(info->filesVerified(), 6u);
    EXPECT_EQ(info->filesFailed(), 1u);
    EXPECT_EQ(info->filesTotal(), 10u);
    EXPECT_EQ(info->bytesTotal(), okSize + 1000 + 40 + 4097 + 8192 + 512);
    EXPECT_EQ(info->bytesVerified(), okSize + 1000 + 4097 + 8192 + 512);
    EXPECT_EQ(info->stateString(), "Completed with issues.");
    EXPECT_EQ(info->progress(), 100.0);
    EXPECT_EQ(info->currentRelativeFilePath(), "../escape.bin");
    EXPECT_EQ(info->mhlTools(), QStringList({"Test Writer 1.0"}));
    const QStringList lines = log.lines().filter("Skipping unknown checksum type");
    ASSERT_EQ(lines.size(), 1);
    EXPECT_TRUE(lines[0].startsWith("ERROR   ")) << lines[0].toStdString();
    EXPECT_TRUE(lines[0].contains("-[Classes/HWCVerificationOperation "));
}

TEST_F(HWCVerificationOperationTest, FirstPreferredDigestDecidesOthersAreIgnored)
{
    QMap<QString, QString> right;
    for (const QString kind : {"md5", "xxhash64", "sha1", "xxhash"})
        right[kind] = addFile("Card/f.bin", 3 * kMiB, kind, 5);
    QMap<QString, QString> wrong;
    for (const QString kind : {"md5", "xxhash64", "sha1", "xxhash"})
        wrong[kind] = addFile("wrong.bin", 100, kind, 6);
    const auto entry = [](const QList<std::pair<QString, QString>> &digests) {
        return hashElement("f.bin", 3 * kMiB, digests);
    };
    writeMHL(path("Card/list.mhl"),
             {entry({{"xxhash64", wrong["xxhash64"]}, {"md5", right["md5"].toUpper()}}),
              entry({{"xxhash64", right["xxhash64"]}, {"md5", wrong["md5"]}}),
              entry({{"sha1", wrong["sha1"]}, {"xxhash64", right["xxhash64"]}}),
              entry({{"xxhash", wrong["xxhash"]}, {"sha1", right["sha1"]}}),
              entry({{"sha1", wrong["sha1"]}, {"xxhash", right["xxhash"]}}),
              entry({{"xxhash", right["xxhash"]}, {"sha256", "00"}}),
              entry({{"md5", wrong["md5"]},
                     {"sha1", right["sha1"]},
                     {"xxhash", right["xxhash"]},
                     {"xxhash64", right["xxhash64"]}})});
    HWCVerificationOperation operation(scannedSource(path("Card")));

    runToEnd(operation);

    QList<HWCFileState> states;
    for (const HWCVerifiedFile &file : operation.files())
        states.append(file.verifiedFileState());
    EXPECT_EQ(states, QList<HWCFileState>({1, 2, 1, 1, 2, 1, 2}));
    EXPECT_EQ(operation.info()->filesFailed(), 3u);
    EXPECT_EQ(operation.state(), HWCOperationStateFinishedWithWarnings);
}

TEST_F(HWCVerificationOperationTest, AccessDeniedForAnUnprivilegedReader)
{
    ASSERT_EQ(chmod(m_folder.path().toUtf8().constData(), 0755), 0);
    const QString open = addFile("Card/open.bin", 2000, "md5");
    const QString locked = addFile("Card/locked.bin", 2000, "md5");
    ASSERT_EQ(chmod(path("Card/locked.bin").toUtf8().constData(), 0), 0);
    writeMHL(path("Card/list.mhl"), {hashElement("locked.bin", 2000, {{"md5", locked}}),
                                     hashElement("open.bin", 2000, {{"md5", open}})});
    HWCVerificationOperation operation(scannedSource(path("Card")));
    {
        TestSupport::FileAccessAsNobody nobody;
        operation.start();
    }
    QCoreApplication::sendPostedEvents();

    EXPECT_EQ(records(operation.files()),
              QList<Record>({{"/", "locked.bin", HWCFileStateAccessDenied, 0},
                             {"/", "open.bin", HWCFileStateReadSuccessfully, 2000}}));
    EXPECT_EQ(operation.state(), HWCOperationStateFinishedWithWarnings);
    EXPECT_EQ(operation.info()->filesVerified(), 1u);
}

TEST_F(HWCVerificationOperationTest, EveryMHLCountsAFileNamedTwiceGivesTwoRecords)
{
    const QString digest = addFile("Card/A001/a.bin", 5000, "sha1");
    writeMHL(path("Card/top.mhl"), {hashElement("A001/a.bin", 5000, {{"sha1", digest}})});
    writeMHL(path("Card/A001/sub.mhl"), {hashElement("a.bin", 5000, {{"sha1", digest}})},
             "Other Tool");
    const auto source = scannedSource(path("Card"));
    HWCVerificationOperation operation(source);

    runToEnd(operation);

    QList<Record> expected;
    for (const QString &url : source->mhlURLs()) {
        if (url.endsWith("top.mhl"))
            expected.append({"/", "A001/a.bin", HWCFileStateReadSuccessfully, 5000});
        else
            expected.append({"/A001", "a.bin", HWCFileStateReadSuccessfully, 5000});
    }
    ASSERT_EQ(expected.size(), 2);
    EXPECT_EQ(records(operation.files()), expected);
    EXPECT_EQ(operation.state(), HWCOperationStateVerifiedOK);
    EXPECT_EQ(operation.info()->stateString(), "Verification successful.");
    EXPECT_EQ(operation.info()->filesTotal(), 2u);
    EXPECT_EQ(operation.info()->progress(), 100.0);
    QStringList tools = operation.info()->mhlTools();
    tools.sort();
    EXPECT_EQ(tools, QStringList({"Other Tool", "Test Writer 1.0"}));
}

TEST_F(HWCVerificationOperationTest, SourceGivenAsItsMHLFile)
{
    const QString digest = addFile("Card/A001/a.bin", 100, "md5");
    writeMHL(path("Card/A001/list.mhl"), {hashElement("a.bin", 100, {{"md5", digest}})});
    HWCVerificationOperation operation(scannedSource(path("Card/A001/list.mhl")));

    runToEnd(operation);

    EXPECT_EQ(records(operation.files()),
              QList<Record>({{"/", "a.bin", HWCFileStateReadSuccessfully, 100}}));
    EXPECT_EQ(operation.description(), "HWCVerificationOperation root: A001");
}

TEST_F(HWCVerificationOperationTest, EmptyUnparsableAndAbsentMHLs)
{
    struct Case {
        QByteArray mhl; // empty: no MHL at all
        HWCOperationState state;
        const char *stateString;
    };
    const Case cases[] = {
        {"<?xml version=\"1.0\"?>\n<hashlist version=\"1.1\"/>\n", HWCOperationStateVerifiedOK,
         "Verification successful."},
        {"<hashlist><hash><file>a.bin</file>", HWCOperationStateVerifiedOK,
         "Verification successful."},
        {"", HWCOperationStateNoMHL, "No MHL file."},
    };
    int index = 0;
    for (const Case &c : cases) {
        const QString card = QStringLiteral("Card%1").arg(index++);
        addFile(card + "/a.bin", 100, "md5");
        if (!c.mhl.isEmpty())
            TestSupport::writeText(path(card + "/list.mhl"), c.mhl);
        HWCVerificationOperation operation(scannedSource(path(card)));
        TestSupport::LogCapture log;

        runToEnd(operation);

        EXPECT_TRUE(operation.files().isEmpty()) << card.toStdString();
        EXPECT_EQ(operation.state(), c.state) << card.toStdString();
        EXPECT_EQ(operation.info()->stateString(), c.stateString);
        EXPECT_EQ(log.contains("MHL appears to be empty"), !c.mhl.isEmpty());
        if (c.state == HWCOperationStateNoMHL) {
            EXPECT_EQ(operation.info()->progress(), 100.0);
        }
    }
}

TEST_F(HWCVerificationOperationTest, ThousandsOfMissingFilesAndAFileAbove4GiB)
{
    // Sparse: 5 GiB of zeros that cost no disk space; the digest comes from xxhsum.
    const quint64 bigSize = 5 * 1024 * kMiB + 7;
    QFile big(path("Card/big.bin"));
    QDir().mkpath(path("Card"));
    ASSERT_TRUE(big.open(QIODevice::WriteOnly));
    ASSERT_TRUE(big.resize(qint64(bigSize)));
    big.close();
    QStringList entries = {hashElement("big.bin", qint64(bigSize),
                                       {{"xxhash64", toolDigest("xxhash64", big.fileName())}})};
    for (int i = 0; i < 3000; ++i)
        entries.append(hashElement(QStringLiteral("gone/%1.mov").arg(i), 1, {{"md5", "00"}}));
    writeMHL(path("Card/list.mhl"), entries);
    HWCVerificationOperation operation(scannedSource(path("Card")));

    runToEnd(operation);

    ASSERT_EQ(operation.files().size(), 3001);
    EXPECT_EQ(records(operation.files()).first(),
              Record("/", "big.bin", HWCFileStateReadSuccessfully, bigSize));
    EXPECT_EQ(operation.filesWithState(HWCFileStateMissingFile).size(), 3000);
    EXPECT_EQ(operation.info()->bytesVerified(), bigSize);
    EXPECT_EQ(operation.info()->filesVerified(), 1u);
    EXPECT_EQ(operation.state(), HWCOperationStateFinishedWithWarnings);
}

TEST_F(HWCVerificationOperationTest, RemoveCancelsAndLeavesTheControllersList)
{
    addFile("Card/a.bin", 10, "md5");
    writeMHL(path("Card/list.mhl"), {});
    HWCOperationController controller;
    const auto operation = controller.addDisk(scannedSource(path("Card")));
    ASSERT_TRUE(operation);
    ASSERT_TRUE(controller.operations().contains(operation));

    operation->remove();

    EXPECT_TRUE(operation->isCancelled());
    EXPECT_FALSE(controller.operations().contains(operation));
    EXPECT_TRUE(TestSupport::waitUntil([&] { return operation->isFinished(); }));
}

TEST_F(HWCVerificationOperationTest, DestroyedOnAWorkerTheRecordGoesOnTheMainThread)
{
    addFile("Card/a.bin", 10, "md5");
    writeMHL(path("Card/list.mhl"), {});
    auto operation =
        std::make_unique<HWCVerificationOperation>(scannedSource(path("Card")));
    const QPointer<HWCOperationInfo> info = operation->info();
    QThreadPool pool;
    pool.start([&operation] {
        operation->start();
        operation.reset();
    });
    ASSERT_TRUE(pool.waitForDone(30000));
    ASSERT_FALSE(info.isNull());

    EXPECT_TRUE(TestSupport::waitUntil([&] {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return info.isNull();
    }));
}
