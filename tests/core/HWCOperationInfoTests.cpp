#include "support/VerificationFixtures.h"

#include <QThread>

using namespace VerificationFixtures;

namespace {

// Notes every change notice of a record with the value it announces, and the threads they
// came on.
class InfoJournal {
public:
    explicit InfoJournal(HWCOperationInfo &info)
    {
        QObject::connect(&info, &HWCOperationInfo::stateStringChanged,
                         [this, &info] { note(QStringLiteral("state:") + info.stateString()); });
        QObject::connect(&info, &HWCOperationInfo::progressChanged,
                         [this](double value) { note(QStringLiteral("progress:%1").arg(value)); });
        QObject::connect(&info, &HWCOperationInfo::currentRelativeFilePathChanged, [this, &info] {
            note(QStringLiteral("path:") + info.currentRelativeFilePath());
        });
    }
    QStringList take() { return std::exchange(m_entries, {}); }
    QList<QThread *> threads;

private:
    void note(const QString &entry)
    {
        m_entries.append(entry);
        threads.append(QThread::currentThread());
    }
    QStringList m_entries;
};

using HWCOperationInfoTest = VerificationTest;

} // namespace

TEST_F(HWCOperationInfoTest, ErrorsShowFullProgressOtherEndsKeepTheirsAndToolsAreListedOnce)
{
    writeMHL(path("Card/A001/list.mhl"), {});
    HWCOperationInfo info(*scannedSource(path("Card")));
    InfoJournal journal(info);
    info.setFileTotal(1, 400);
    info.addBytes(100);
    for (HWCOperationState state :
         {HWCOperationState::VerifiedOK, HWCOperationState::CreatedOK, HWCOperationState::Cancelled,
          HWCOperationState::FinishedWithWarnings, HWCOperationState::NoFilesFound,
          HWCOperationState::NoMHL})
        info.setState(state);
    EXPECT_EQ(journal.take(),
              QStringList({"progress:25", "state:Verification successful.",
                           "state:Created a MHL successfully.", "state:Canceled.",
                           "state:Completed with issues.", "progress:100", "state:No files found.",
                           "progress:100", "state:No MHL file.", "progress:100"}));
    for (const QString &tool : {QString(), QStringLiteral("Writer 2"), QStringLiteral("Writer 2")})
        info.addTool(tool);
    EXPECT_EQ(info.mhlTools(), QStringList{"Writer 2"});

    // A list given as the source stands for its folder.
    HWCOperationInfo listInfo(*scannedSource(path("Card/A001/list.mhl")));
    EXPECT_EQ(listInfo.path(), path("Card/A001"));
    EXPECT_EQ(listInfo.mhlURLs(), QStringList({path("Card/A001/list.mhl")}));
}

TEST_F(HWCOperationInfoTest, AVerificationOnAWorkerPublishesEachStepOnTheMainThread)
{
    const QString a = addFile("Run/a.bin", 2 * kMiB + kMiB / 2, "md5", 1);
    const QString b = addFile("Run/b.bin", kMiB, "sha1", 2);
    writeMHL(path("Run/list.mhl"), {hashElement("a.bin", 2 * kMiB + kMiB / 2, {{"md5", a}}),
                                    hashElement("b.bin", kMiB, {{"sha1", b}})});
    HWCVerificationOperation operation({.source = scannedSource(path("Run"))});
    InfoJournal journal(*operation.info());

    runOnWorker(operation);

    // Each block read publishes its own percentage.
    const auto progress = [](double mebibytes) {
        return QStringLiteral("progress:%1").arg(mebibytes * 100.0 / 3.5);
    };
    EXPECT_EQ(journal.take(), QStringList({"state:", "path:a.bin", "state:a.bin", progress(1),
                                           progress(2), progress(2.5), "path:b.bin", "state:b.bin",
                                           progress(3.5), "state:Verification successful."}));
    for (QThread *thread : journal.threads)
        EXPECT_EQ(thread, QCoreApplication::instance()->thread());
    EXPECT_EQ(operation.info()->bytesTotal(), quint64(3.5 * kMiB));
    EXPECT_EQ(operation.info()->filesTotal(), 2u);
}
