#include "support/VerificationFixtures.h"

#include <QDir>
#include <QPointer>
#include <QRegularExpression>
#include <QThreadPool>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

using namespace VerificationFixtures;

using HWCVerificationOperationTest = VerificationTest;

TEST_F(HWCVerificationOperationTest, EveryFileStateOneRecordPerEntry)
{
    const quint64 okSize = 2 * kMiB + kMiB / 2 + 123; // three reads, the last one short
    const QString ok = addFile("Card/A001/ok.bin", qint64(okSize), "xxhash64");
    const QString other = addFile("other.bin", 1000, "md5", 99);
    addFile("Card/bad.bin", 1000, "md5");
    const QString empty = addFile("Card/empty.bin", 0, "sha1");
    const QString xx32 = addFile("Card/x32.bin", 4097, "xxhash");
    const QString inside = addFile("Card/in.bin", 512, "md5");
    QDir().mkpath(path("Card/folder.bin"));
    ASSERT_EQ(symlink("loop.bin", QFile::encodeName(path("Card/loop.bin")).constData()), 0);
    ASSERT_EQ(symlink("/dev/zero", QFile::encodeName(path("Card/zero.bin")).constData()), 0);
    TestSupport::makeFifo(path("Card/pipe.bin"));
    TestSupport::makeSocket(path("Card/socket.bin"));
    const QStringList refused = {"folder.bin", "loop.bin",   "zero.bin",
                                 "pipe.bin",   "socket.bin", "A001/../../other.bin"};
    QStringList entries = {hashElement("A001/ok.bin", qint64(okSize), {{"xxhash64", ok}}),
                           hashElement("bad.bin", 1000, {{"md5", other}}),
                           hashElement("missing.bin", 10, {{"md5", other}}),
                           hashElement("new.bin", 10, {{"sha256", "00ff"}, {"crc", "1"}}),
                           hashElement("empty.bin", 0, {{"sha1", empty}}),
                           hashElement("x32.bin", 4097, {{"xxhash", xx32}}),
                           hashElement("A001/../in.bin", 512, {{"md5", inside}})};
    for (const QString &name : refused)
        entries.append(hashElement(name, 10, {{"md5", other}}));
    writeMHL(path("Card/list.mhl"), entries);
    HWCVerificationOperation operation(scannedSource(path("Card")));
    TestSupport::LogCapture log;
    runToEnd(operation);

    QList<Record> expected = {{"/", "A001/ok.bin", HWCFileStateReadSuccessfully, okSize},
                              {"/", "bad.bin", HWCFileStateHashFail, 1000},
                              {"/", "missing.bin", HWCFileStateMissingFile, 0},
                              {"/", "new.bin", HWCFileStateUnknownHash, 0},
                              {"/", "empty.bin", HWCFileStateReadSuccessfully, 0},
                              {"/", "x32.bin", HWCFileStateReadSuccessfully, 4097},
                              {"/", "A001/../in.bin", HWCFileStateReadSuccessfully, 512}};
    for (const QString &name : refused)
        expected.append({"/", name, HWCFileStateCantOpenFile, 0});
    EXPECT_EQ(records(operation.files()), expected);
    EXPECT_EQ(operation.state(), HWCOperationStateFinishedWithWarnings);
    EXPECT_EQ(records(operation.filesWithState(HWCFileStateHashFail)), expected.mid(1, 1));
    EXPECT_EQ(operation.filesWithState(HWCFileStateReadSuccessfully, true).size(), 9);
    // Files that never opened and unknown kinds are not counted.
    HWCOperationInfo *info = operation.info();
    EXPECT_EQ(info->filesVerified(), 4u);
    EXPECT_EQ(info->filesFailed(), 1u);
    EXPECT_EQ(info->bytesVerified(), okSize + 1000 + 4097 + 512);
    EXPECT_EQ(info->mhlTools(), QStringList({"Test Writer 1.0"}));
    EXPECT_TRUE(operation.unusableLists().isEmpty());
    const QStringList lines = log.lines();
    EXPECT_EQ(lines
                  .filter(QRegularExpression("^ERROR .*Classes/HWCVerificationOperation .*"
                                             "Skipping unknown checksum type$"))
                  .size(),
              1);
    for (const char *why : {"folder.bin: a folder, not a regular file",
                            "zero.bin: a character device, not a regular file",
                            "pipe.bin: a FIFO, not a regular file", "loop.bin: Too many levels",
                            "socket.bin: No such device or address",
                            "A001/../../other.bin: its path leaves the MHL's folder"})
        EXPECT_EQ(lines.filter(QStringLiteral("Can't open file ") + why).size(), 1) << why;
}

TEST_F(HWCVerificationOperationTest, FirstPreferredDigestDecidesOthersAreIgnored)
{
    QMap<QString, QString> right, wrong;
    for (const QString kind : {"md5", "xxhash64", "sha1", "xxhash"}) {
        right[kind] = addFile("Card/f.bin", 3 * kMiB, kind, 5);
        wrong[kind] = addFile("wrong.bin", 100, kind, 6);
    }
    const auto entry = [](const QList<std::pair<QString, QString>> &digests) {
        return hashElement("f.bin", 3 * kMiB, digests);
    };
    writeMHL(path("Card/list.mhl"),
             {entry({{"xxhash64", wrong["xxhash64"]}, {"md5", right["md5"].toUpper()}}),
              entry({{"xxhash64", right["xxhash64"]}, {"md5", wrong["md5"]}}),
              entry({{"sha1", wrong["sha1"]}, {"xxhash64", right["xxhash64"]}}),
              entry({{"xxhash", wrong["xxhash"]}, {"sha1", right["sha1"]}}),
              entry({{"sha1", wrong["sha1"]}, {"xxhash", right["xxhash"]}}),
              entry({{"xxhash", right["xxhash"]}, {"sha256", "00"}})});
    HWCVerificationOperation operation(scannedSource(path("Card")));

    runToEnd(operation);

    QList<HWCFileState> states;
    for (const HWCVerifiedFile &file : operation.files())
        states.append(file.verifiedFileState());
    EXPECT_EQ(states, QList<HWCFileState>({1, 2, 1, 1, 2, 1}));
    EXPECT_EQ(operation.info()->filesFailed(), 2u);
}

TEST_F(HWCVerificationOperationTest, EveryListCountsAndUnusableListsAreNamed)
{
    const QString digest = addFile("Card/A001/a.bin", 5000, "sha1");
    writeMHL(path("Card/A001/sub.mhl"), {hashElement("a.bin", 5000, {{"sha1", digest}})}, "Other");
    writeMHL(path("Card/empty.mhl"), {});
    TestSupport::writeText(path("Card/broken.mhl"), "<hashlist><hash><file>a.bin</file>");
    HWCVerificationOperation operation(scannedSource(path("Card")));
    TestSupport::LogCapture log;

    runToEnd(operation);

    // The engine still calls this a success; the lists that gave nothing are named.
    EXPECT_EQ(records(operation.files()),
              QList<Record>({{"/A001", "a.bin", HWCFileStateReadSuccessfully, 5000}}));
    EXPECT_EQ(operation.state(), HWCOperationStateVerifiedOK);
    EXPECT_EQ(log.lines().filter("MHL appears to be empty").size(), 2);
    QStringList unusable;
    for (const auto &list : operation.unusableLists())
        unusable.append(list.path.mid(m_folder.path().size()) + " " + list.reason.left(20));
    unusable.sort();
    EXPECT_EQ(unusable, QStringList({"/Card/broken.mhl is not well-formed X",
                                     "/Card/empty.mhl lists no files"}));

    HWCVerificationOperation single(scannedSource(path("Card/A001/sub.mhl")));
    runToEnd(single);
    EXPECT_EQ(records(single.files()),
              QList<Record>({{"/", "a.bin", HWCFileStateReadSuccessfully, 5000}}));
    HWCVerificationOperation none(scannedSource(path("Card/A001/none")));
    runToEnd(none);
    EXPECT_EQ(none.state(), HWCOperationStateNoMHL);
}

namespace {

// Stands for any fault deep inside a run: an allocation that fails, a library that throws.
class ThrowingOperation : public HWCVerificationOperation {
public:
    using HWCVerificationOperation::HWCVerificationOperation;

protected:
    void main() override { throw std::runtime_error("out of luck"); }
};

} // namespace

TEST_F(HWCVerificationOperationTest, ExceptionsEndTheRunWithWarningsAndOnTheMainThreadRecord)
{
    writeMHL(path("Card/list.mhl"), {});
    auto operation = std::make_unique<ThrowingOperation>(scannedSource(path("Card")));
    TestSupport::LogCapture log;
    const QPointer<HWCOperationInfo> info = operation->info();
    QThreadPool pool;
    pool.start([&operation] {
        operation->start();
        EXPECT_TRUE(operation->isFinished());
        EXPECT_EQ(operation->state(), HWCOperationStateFinishedWithWarnings);
        operation.reset();
    });
    ASSERT_TRUE(pool.waitForDone(30000));
    EXPECT_TRUE(log.contains("stopped by an unexpected error: out of luck"));
    // Destroyed on a worker, the record goes on the main thread with the state posted last.
    ASSERT_FALSE(info.isNull());
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(info->stateString(), "Completed with issues.");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(info.isNull());
}
