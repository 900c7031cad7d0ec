#include "Classes/HWCOperationInfo.h"
#include "support/VerificationFixtures.h"

#include <QTemporaryDir>
#include <QThread>
#include <QThreadPool>
#include <cmath>
#include <gtest/gtest.h>

using VerificationFixtures::scannedSource;

namespace {

// Notes every change notice of a record, with the value it announces.
class InfoJournal {
public:
    explicit InfoJournal(HWCOperationInfo &info)
    {
        QObject::connect(&info, &HWCOperationInfo::stateStringChanged, [this, &info] {
            m_entries.append(QStringLiteral("stateString:") + info.stateString());
        });
        QObject::connect(&info, &HWCOperationInfo::themeChanged, [this, &info] {
            m_entries.append(QStringLiteral("theme:%1").arg(info.theme()));
        });
        QObject::connect(&info, &HWCOperationInfo::progressChanged, [this](double value) {
            m_entries.append(QStringLiteral("progress:%1").arg(value));
        });
        QObject::connect(&info, &HWCOperationInfo::currentRelativeFilePathChanged, [this, &info] {
            m_entries.append(QStringLiteral("path:") + info.currentRelativeFilePath());
        });
    }
    QStringList take() { return std::exchange(m_entries, {}); }

private:
    QStringList m_entries;
};

class HWCOperationInfoTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_folder.isValid());
        TestSupport::writeFile(m_folder.filePath("Card/A001/clip.mov"), 3000);
        VerificationFixtures::writeMHL(m_folder.filePath("Card/A001/list.mhl"), {});
        m_source = scannedSource(m_folder.filePath("Card"));
        ASSERT_TRUE(m_source);
    }

    QTemporaryDir m_folder;
    std::shared_ptr<HWCSource> m_source;
};

} // namespace

TEST_F(HWCOperationInfoTest, StartsFromTheSourceScanAndAListSourceGivesItsFolder)
{
    HWCOperationInfo info(*m_source);
    info.setFileTotal(7, 900);
    info.addBytes(300);
    info.fileVerified(true);
    info.fileVerified(false);
    info.addTool(QString());
    info.addTool(QStringLiteral("Writer 2"));
    info.addTool(QStringLiteral("Writer 2"));
    EXPECT_EQ(info.mhlTools(), QStringList{"Writer 2"});
    info.setState(HWCOperationStateFinishedWithWarnings);
    EXPECT_EQ(info.description(),
              "Info for Card 300/900 bytes 1/7 files (1 failed) state:Completed with issues.");

    const auto source = scannedSource(m_folder.filePath("Card/A001/list.mhl"));
    ASSERT_TRUE(source);
    HWCOperationInfo listInfo(*source);
    EXPECT_EQ(listInfo.path(), m_folder.filePath("Card/A001"));
    EXPECT_EQ(listInfo.mhlURLs(), QStringList({m_folder.filePath("Card/A001/list.mhl")}));
}

TEST_F(HWCOperationInfoTest, SetStateAnnouncesTextAndThemeThenFullProgressOnlyForErrors)
{
    HWCOperationInfo info(*m_source);
    InfoJournal journal(info);

    info.setState(HWCOperationStateNoMHL);
    EXPECT_EQ(journal.take(), QStringList({"stateString:No MHL file.", "theme:5", "progress:100"}));
    EXPECT_EQ(info.progress(), 100.0);

    HWCOperationInfo fresh(*m_source);
    InfoJournal freshJournal(fresh);
    fresh.setFileTotal(1, 400);
    fresh.addBytes(100);
    for (HWCOperationState state :
         {HWCOperationStateVerifiedOK, HWCOperationStateCreatedOK, HWCOperationStateCancelled}) {
        fresh.setState(state);
        EXPECT_EQ(fresh.progress(), 25.0) << state;
    }
    for (HWCOperationState state :
         {HWCOperationStateFinishedWithWarnings, HWCOperationStateNoFilesFound}) {
        fresh.setProgress(1.0);
        fresh.setState(state);
        EXPECT_EQ(fresh.progress(), 100.0) << state;
    }
    EXPECT_EQ(
        freshJournal.take(),
        QStringList({"progress:25", "stateString:Verification successful.", "theme:2",
                     "stateString:Created a MHL successfully.", "theme:2", "stateString:Canceled.",
                     "theme:5", "progress:1", "stateString:Completed with issues.", "theme:5",
                     "progress:100", "progress:1", "stateString:No files found.", "theme:5",
                     "progress:100"}));
}

TEST_F(HWCOperationInfoTest, EveryAddBytesPublishesItsOwnPercentage)
{
    HWCOperationInfo info(*m_source);
    InfoJournal journal(info);
    info.setFileTotal(3, 1000);
    for (int i = 0; i < 4; ++i)
        info.addBytes(125);
    info.addBytes(0);
    info.addBytes(1000);
    EXPECT_EQ(journal.take(), QStringList({"progress:12.5", "progress:25", "progress:37.5",
                                           "progress:50", "progress:50", "progress:150"}));
    EXPECT_EQ(info.bytesVerified(), 1500u);
    EXPECT_EQ(info.filesTotal(), 3u);
    EXPECT_EQ(info.bytesTotal(), 1000u);

    // An MHL without sizes: the quotient is published as computed.
    info.setFileTotal(3, 0);
    info.addBytes(1);
    ASSERT_TRUE(info.progress().has_value());
    EXPECT_TRUE(std::isinf(*info.progress()));
    HWCOperationInfo empty(*m_source);
    empty.setFileTotal(0, 0);
    empty.addBytes(0);
    EXPECT_TRUE(std::isnan(empty.progress().value_or(0.0)));
}

TEST_F(HWCOperationInfoTest, AVerificationOnAWorkerPublishesEachStepOnTheMainThread)
{
    constexpr qint64 kMiB = 1024 * 1024;
    TestSupport::writeFile(m_folder.filePath("Run/a.bin"), 2 * kMiB + kMiB / 2, 1);
    TestSupport::writeFile(m_folder.filePath("Run/b.bin"), kMiB, 2);
    using VerificationFixtures::hashElement;
    using VerificationFixtures::toolDigest;
    VerificationFixtures::writeMHL(
        m_folder.filePath("Run/list.mhl"),
        {hashElement("a.bin", 2 * kMiB + kMiB / 2,
                     {{"md5", toolDigest("md5", m_folder.filePath("Run/a.bin"))}}),
         hashElement("b.bin", kMiB,
                     {{"sha1", toolDigest("sha1", m_folder.filePath("Run/b.bin"))}})});
    HWCVerificationOperation operation(scannedSource(m_folder.filePath("Run")));
    HWCOperationInfo &info = *operation.info();
    InfoJournal journal(info);
    QList<QThread *> threads;
    QObject::connect(&info, &HWCOperationInfo::progressChanged,
                     [&threads] { threads.append(QThread::currentThread()); });
    QObject::connect(&info, &HWCOperationInfo::stateStringChanged,
                     [&threads] { threads.append(QThread::currentThread()); });

    QThreadPool pool;
    pool.start([&operation] { operation.start(); });
    ASSERT_TRUE(pool.waitForDone(60000));
    QCoreApplication::sendPostedEvents();

    const double total = 3.5 * kMiB;
    const auto progress = [total](double bytes) {
        return QStringLiteral("progress:%1").arg(bytes * 100.0 / total);
    };
    EXPECT_EQ(
        journal.take(),
        QStringList({"stateString:", "theme:0", "path:a.bin", "stateString:a.bin", progress(kMiB),
                     progress(2 * kMiB), progress(2.5 * kMiB), "path:b.bin", "stateString:b.bin",
                     progress(3.5 * kMiB), "stateString:Verification successful.", "theme:2"}));
    EXPECT_EQ(threads.size(), 8);
    for (QThread *thread : threads)
        EXPECT_EQ(thread, QCoreApplication::instance()->thread());
    EXPECT_EQ(info.bytesTotal(), quint64(total));
    EXPECT_EQ(info.filesTotal(), 2u);
    EXPECT_EQ(info.progress(), 100.0);
}
