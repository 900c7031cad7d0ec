#include "support/VerificationFixtures.h"

#include <QPointer>
#include <QThreadPool>
#include <stdexcept>

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
