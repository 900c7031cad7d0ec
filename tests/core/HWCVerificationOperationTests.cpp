#include "support/VerificationFixtures.h"

#include <QPointer>
#include <QThreadPool>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

using namespace VerificationFixtures;

using HWCVerificationOperationTest = VerificationTest;

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
    HWCVerificationOperation operation({.source = scannedSource(path("Card"))});

    runToEnd(operation);

    QList<HWCFileState> states;
    for (const HWCVerifiedFile &file : operation.files())
        states.append(file.verifiedFileState());
    using enum HWCFileState;
    EXPECT_EQ(states, QList<HWCFileState>({ReadSuccessfully, HashFail, ReadSuccessfully,
                                           ReadSuccessfully, HashFail, ReadSuccessfully}));
    EXPECT_EQ(operation.info()->filesFailed(), 2u);
}

// A record names its list's entry: it must still tell everything once the operation and its
// lists are gone, for a name that is not UTF-8 as well.
TEST_F(HWCVerificationOperationTest, RecordsOutliveTheirListAndKeepWhatItSaid)
{
    const QString read = addFile("Card/a.bin", 1000, "md5");
    const QString changed = addFile("Card/b.bin", 2000, "md5", 3);
    const QString xxhash = addFile("Card/c.bin", 10, "xxhash");
    const int fd = ::open(QFile::encodeName(path("Card")) + "/d\xff.bin", O_CREAT | O_WRONLY, 0644);
    ASSERT_TRUE(fd >= 0 && ::write(fd, "hello", 5) == 5 && ::close(fd) == 0);
    writeMHL(path("Card/list.mhl"),
             {hashElement("a.bin", 1000, {{"md5", read}}),
              hashElement("b.bin", 2000, {{"md5", kHelloMD5}}),
              hashElement("c.bin", 10, {{"xxhash", xxhash}}),
              hashElement("gone.bin", 7, {{"sha1", "ab"}}),
              "<hash><file hashwarden-encoding=\"percent\">d%FF.bin</file><md5>" + kHelloMD5 +
                  "</md5></hash>"});
    QList<HWCVerifiedFile> kept;
    {
        HWCVerificationOperation operation({.source = scannedSource(path("Card"))});
        runToEnd(operation);
        kept = operation.files();
    }
    using enum HWCFileState;
    const std::tuple<const char *, HWCFileState, const char *, QString, QString,
                     std::optional<quint64>>
        expected[] = {{"a.bin", ReadSuccessfully, "md5", read, read, 1000},
                      {"b.bin", HashFail, "md5", kHelloMD5, changed, 2000},
                      {"c.bin", ReadSuccessfully, "xxhash", xxhash, xxhash, 10},
                      {"gone.bin", MissingFile, "sha1", "ab", QString(), 7},
                      {"d%FF.bin", ReadSuccessfully, "md5", kHelloMD5, kHelloMD5, std::nullopt}};
    ASSERT_EQ(kept.size(), 5);
    for (qsizetype i = 0; i < kept.size(); ++i) {
        const auto &[file, state, kind, listed, actual, size] = expected[i];
        const HWCVerifiedFile::Detail detail = kept[i].detail();
        EXPECT_EQ(kept[i].path(), QStringLiteral("/") + file);
        EXPECT_EQ(kept[i].verifiedFileState(), state) << file;
        EXPECT_TRUE(
            std::tie(detail.digestKind, detail.expected, detail.actual, detail.expectedSize) ==
            std::make_tuple(QString::fromLatin1(kind), listed, actual, size))
            << file << " " << detail.actual.toStdString();
    }
}

// The scan of a single list hands what it read to the verification, once, and only while
// the file is as it was: a list rewritten in between is read again.
TEST_F(HWCVerificationOperationTest, AListChangedAfterTheScanIsReadAgain)
{
    const QString digest = addFile("Card/a.bin", 1000, "md5");
    const QString list = path("Card/list.mhl");
    writeMHL(list, {hashElement("a.bin", 1000, {{"md5", digest}})});
    const std::shared_ptr<HWCSource> source = scannedSource(list);
    const auto states = [&] {
        HWCVerificationOperation operation({.source = source});
        runToEnd(operation);
        QList<HWCFileState> found;
        for (const HWCVerifiedFile &file : operation.files())
            found.append(file.verifiedFileState());
        return found;
    };

    // Same size and path, another digest: only the times tell it apart.
    writeMHL(list,
             {hashElement(
                 "a.bin", 1000,
                 {{"md5", QString(digest).replace(0, 1, digest.startsWith('0') ? "1" : "0")}})});
    EXPECT_EQ(states(), QList<HWCFileState>{HWCFileState::HashFail});
    writeMHL(list, {hashElement("a.bin", 1000, {{"md5", digest}})});
    EXPECT_EQ(states(), QList<HWCFileState>{HWCFileState::ReadSuccessfully});
}

TEST_F(HWCVerificationOperationTest, EveryListCountsAndUnusableListsAreNamed)
{
    const QString digest = addFile("Card/A001/a.bin", 5000, "sha1");
    writeMHL(path("Card/A001/sub.mhl"), {hashElement("a.bin", 5000, {{"sha1", digest}})}, "Other");
    writeMHL(path("Card/empty.mhl"), {});
    TestSupport::writeText(path("Card/broken.mhl"), "<hashlist><hash><file>a.bin</file>");
    HWCVerificationOperation operation({.source = scannedSource(path("Card"))});
    TestSupport::LogCapture log;

    runToEnd(operation);

    // The engine still calls this a success; the lists that gave nothing are named.
    EXPECT_EQ(records(operation.files()),
              QList<Record>({{"/A001", "a.bin", HWCFileState::ReadSuccessfully, 5000}}));
    EXPECT_EQ(operation.state(), HWCOperationState::VerifiedOK);
    EXPECT_EQ(log.lines().filter("MHL appears to be empty").size(), 2);
    QStringList unusable;
    for (const auto &list : operation.unusableLists())
        unusable.append(list.path.mid(m_folder.path().size()) + " " + list.reason.left(20));
    unusable.sort();
    EXPECT_EQ(unusable, QStringList({"/Card/broken.mhl is not well-formed X",
                                     "/Card/empty.mhl lists no files"}));

    HWCVerificationOperation single({.source = scannedSource(path("Card/A001/sub.mhl"))});
    runToEnd(single);
    EXPECT_EQ(records(single.files()),
              QList<Record>({{"/", "a.bin", HWCFileState::ReadSuccessfully, 5000}}));
    HWCVerificationOperation none({.source = scannedSource(path("Card/A001/none"))});
    runToEnd(none);
    EXPECT_EQ(none.state(), HWCOperationState::NoMHL);
}

namespace {

// Stands for any fault deep inside a run: an allocation that fails, a library that throws.
class ThrowingOperation final : public HWCSourceOperation {
public:
    explicit ThrowingOperation(std::shared_ptr<HWCSource> source)
        : HWCSourceOperation(std::move(source))
    {
    }
    HWCActionType actionType() const override { return HWCActionType::Verify; }
    quint64 fileAmount() const override { return 0; }

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
        EXPECT_EQ(operation->state(), HWCOperationState::FinishedWithWarnings);
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
