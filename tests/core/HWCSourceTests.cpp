#include "engine/operations/HWCSource.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

// Makes the source and waits for its two notices, which must come in order on the main
// thread with the scan's results complete by the first.
std::shared_ptr<HWCSource> scanned(const QString &path)
{
    auto source = HWCSource::initWithPath(path);
    if (!source) {
        ADD_FAILURE() << path.toStdString();
        return nullptr;
    }
    QStringList notices;
    HWCSource *raw = source.get();
    const auto note = [&notices, raw](const char *name) {
        notices << QStringLiteral("%1 on main %2, %3 files %4 bytes %5 lists")
                       .arg(QLatin1String(name))
                       .arg(QThread::currentThread() == qApp->thread())
                       .arg(raw->fileTotal())
                       .arg(raw->usedSpace())
                       .arg(raw->mhlURLs().size());
    };
    QObject::connect(raw, &HWCSource::usedSpaceChanged, raw, [note] { note("usedSpace"); });
    QObject::connect(raw, &HWCSource::actionTypeChanged, raw, [note] { note("actionType"); });
    EXPECT_TRUE(TestSupport::waitUntil([&] { return notices.size() == 2; }));
    const QString totals = QStringLiteral(" on main 1, %1 files %2 bytes %3 lists")
                               .arg(raw->fileTotal())
                               .arg(raw->usedSpace())
                               .arg(raw->mhlURLs().size());
    EXPECT_EQ(notices, QStringList({"usedSpace" + totals, "actionType" + totals}));
    return source;
}

} // namespace

// The walk itself is compared with find(1) in the file manager suite; here, what the scan
// makes of it: regular files only, hidden ones too, links never followed.
TEST(HWCSource, ScanCountsRegularFilesAndFindsListsWithoutFollowingLinks)
{
    QTemporaryDir dir;
    TestSupport::writeFile(dir.filePath("clip.mov"), 1000);
    TestSupport::writeFile(dir.filePath(".hidden/A001/day.mhl"), 234);
    const QByteArray base = QFile::encodeName(dir.path());
    ASSERT_EQ(symlink(base + "/.hidden", base + "/link-to-folder"), 0);
    ASSERT_EQ(symlink(base + "/clip.mov", base + "/link.mhl"), 0);
    TestSupport::makeFifo(dir.filePath("fifo"));

    const auto source = scanned(dir.path());
    ASSERT_TRUE(source);
    EXPECT_EQ(source->fileTotal(), 2);
    EXPECT_EQ(source->usedSpace(), 1234);
    EXPECT_EQ(source->mhlURLs(), QStringList{dir.filePath(".hidden/A001/day.mhl")});
    EXPECT_EQ(source->actionType(), HWCActionType::Verify);
}

TEST(HWCSource, OnlyAPathWhoseFirstMhlIsItsEndIsAListAndAListCountsItsRecordedSizes)
{
    QTemporaryDir dir;
    for (const char *name : {"UPPER.MHL", "x.mhl/list.mhl", "clip.mhlx/list.mhl", "notes.mhl.txt"})
        TestSupport::writeText(dir.filePath(name), "xx");
    const QString list = dir.filePath("Card.mhl");
    TestSupport::writeText(list, "<hashlist><hash><file>A</file><size>1000000</size></hash>"
                                 "<hash><size>234</size></hash><hash/></hashlist>");
    auto source = scanned(dir.path());
    ASSERT_TRUE(source);
    EXPECT_EQ(source->fileTotal(), 5) << "a list counts as a file too";
    EXPECT_EQ(source->mhlURLs(), QStringList{list});

    source = scanned(list);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->usedSpace(), 1000234);
    EXPECT_EQ(source->actionType(), HWCActionType::Verify);
    // A list that does not parse still asks for verification, which reports the fault.
    TestSupport::writeText(list, "<hashlist><hash>");
    source = scanned(list);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->usedSpace(), 0);
    EXPECT_EQ(source->actionType(), HWCActionType::Verify);

    EXPECT_FALSE(HWCSource::initWithPath(dir.filePath("UPPER.MHL"))) << "an ordinary file";
    source = scanned(dir.filePath("missing"));
    ASSERT_TRUE(source);
    EXPECT_EQ(source->fileTotal() + source->usedSpace(), 0);
    EXPECT_EQ(source->actionType(), HWCActionType::Create);
}

TEST(HWCSource, TheScanKeepsTheSourceAndReleasesItOnTheMainThread)
{
    QTemporaryDir dir;
    for (int i = 0; i < 200; ++i)
        TestSupport::writeText(dir.filePath(QStringLiteral("f%1/clip.mov").arg(i)), "x");
    int destroyedOnMainThread = -1;
    {
        auto source = HWCSource::initWithPath(dir.path());
        ASSERT_TRUE(source);
        QObject::connect(source.get(), &QObject::destroyed, [&] {
            destroyedOnMainThread = QThread::currentThread() == qApp->thread();
        });
    }
    EXPECT_EQ(destroyedOnMainThread, -1) << "the scan still holds the source";
    ASSERT_TRUE(TestSupport::waitUntil([&] { return destroyedOnMainThread != -1; }));
    EXPECT_EQ(destroyedOnMainThread, 1);
}
