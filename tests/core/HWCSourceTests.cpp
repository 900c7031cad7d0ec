#include "Classes/HWCSource.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// What a finished scan announced, in order, and what the source held at each notice.
struct Notices {
    QStringList names;
    bool allOnMainThread = true;
    qint64 fileTotalAtFirst = -1;
    qint64 usedSpaceAtFirst = -1;
    QStringList mhlURLsAtFirst;
};

std::shared_ptr<Notices> observe(const std::shared_ptr<HWCSource> &source)
{
    auto notices = std::make_shared<Notices>();
    HWCSource *raw = source.get();
    const auto record = [notices, raw](const QString &name) {
        if (notices->names.isEmpty()) {
            notices->fileTotalAtFirst = raw->fileTotal();
            notices->usedSpaceAtFirst = raw->usedSpace();
            notices->mhlURLsAtFirst = raw->mhlURLs();
        }
        notices->names << name;
        notices->allOnMainThread &= QThread::currentThread() == qApp->thread();
    };
    QObject::connect(raw, &HWCSource::usedSpaceChanged, raw,
                     [record] { record(QStringLiteral("usedSpace")); });
    QObject::connect(raw, &HWCSource::actionTypeChanged, raw,
                     [record] { record(QStringLiteral("actionType")); });
    return notices;
}

// Makes the source and waits for both notices; fails the test when they do not come.
std::shared_ptr<HWCSource> scanned(const QString &path, std::shared_ptr<Notices> *notices = nullptr)
{
    auto source = HWCSource::initWithPath(path);
    EXPECT_TRUE(source) << path.toStdString();
    if (!source)
        return nullptr;
    // Connected after the scan started: the notices are posted to the main thread, which
    // cannot run them before this test returns to the event loop.
    const auto seen = observe(source);
    EXPECT_TRUE(TestSupport::waitUntil([&] { return seen->names.size() == 2; }));
    QCoreApplication::processEvents();
    EXPECT_EQ(seen->names, (QStringList{"usedSpace", "actionType"}));
    EXPECT_TRUE(seen->allOnMainThread);
    if (notices)
        *notices = seen;
    return source;
}

void generateTree(const QString &root, quint32 seed)
{
    std::mt19937 random(seed);
    QStringList folders{root};
    for (int i = 0; i < 120; ++i) {
        const QString parent = folders[int(random() % folders.size())];
        const QString name = (random() % 6 == 0 ? "." : "") + QString::number(i);
        if (random() % 4 == 0) {
            QDir().mkpath(parent + QLatin1Char('/') + name);
            folders << parent + QLatin1Char('/') + name;
        } else {
            const QString suffix = random() % 5 == 0 ? QStringLiteral(".mhl") : QString();
            TestSupport::writeFile(parent + QLatin1Char('/') + name + suffix, random() % 5000, i);
        }
    }
    const QByteArray base = QFile::encodeName(root);
    ASSERT_EQ(symlink(QFile::encodeName(folders.last()).constData(), base + "/link-to-folder"), 0);
    ASSERT_EQ(symlink((base + "/0").constData(), base + "/link.mhl"), 0);
    ASSERT_EQ(mkfifo(base + "/fifo", 0644), 0);
}

} // namespace

TEST(HWCSource, ScanCountsAndSizesEqualFindsFilesAndTheirApparentSizes)
{
    for (quint32 seed = 1; seed <= 3; ++seed) {
        QTemporaryDir dir;
        ASSERT_TRUE(dir.isValid());
        generateTree(dir.path(), seed);
        const QList<QByteArray> found =
            TestSupport::runTool(QStringLiteral("find"),
                                 {dir.path(), QStringLiteral("-type"), QStringLiteral("f"),
                                  QStringLiteral("-printf"), QStringLiteral("%s %p\\n")})
                .split('\n');
        qint64 bytes = 0;
        qint64 files = 0;
        QStringList lists;
        for (const QByteArray &line : found) {
            if (line.isEmpty())
                continue;
            ++files;
            bytes += line.left(line.indexOf(' ')).toLongLong();
            if (line.endsWith(".mhl"))
                lists << QString::fromUtf8(line.mid(line.indexOf(' ') + 1));
        }
        // du --apparent-size over the same files gives the same total.
        const QByteArray du = TestSupport::runTool(
            QStringLiteral("sh"),
            {QStringLiteral("-c"),
             QStringLiteral("find \"$0\" -type f -print0 | du -bc --files0-from=- | tail -1"),
             dir.path()});
        EXPECT_EQ(du.left(du.indexOf('\t')).toLongLong(), bytes);

        const auto source = scanned(dir.path());
        ASSERT_TRUE(source);
        EXPECT_EQ(source->fileTotal(), files);
        EXPECT_EQ(source->usedSpace(), bytes);
        EXPECT_EQ(source->mhlURLs(), lists) << "lists in walk order, links not taken";
        EXPECT_EQ(source->actionType(),
                  lists.isEmpty() ? HWCActionTypeCreate : HWCActionTypeVerify);
        EXPECT_FALSE(source->offloadEnabled());
        EXPECT_EQ(source->path(), dir.path());
    }
}

TEST(HWCSource, OnlyAPathWhoseFirstMhlIsItsEndIsAList)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    TestSupport::writeText(dir.filePath(QStringLiteral("UPPER.MHL")), "x");
    TestSupport::writeText(dir.filePath(QStringLiteral("x.mhl/list.mhl")), "xx");
    TestSupport::writeText(dir.filePath(QStringLiteral("clip.mhlx/list.mhl")), "xxx");
    TestSupport::writeText(dir.filePath(QStringLiteral("notes.mhl.txt")), "xxxx");
    std::shared_ptr<Notices> notices;
    auto source = scanned(dir.path(), &notices);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->fileTotal(), 4);
    EXPECT_EQ(source->usedSpace(), 10);
    EXPECT_TRUE(source->mhlURLs().isEmpty());
    EXPECT_EQ(source->actionType(), HWCActionTypeCreate);

    const QString deep = dir.filePath(QStringLiteral("a/b/c/d/e/Card.mhl"));
    TestSupport::writeText(deep, "12345");
    source = scanned(dir.path(), &notices);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->mhlURLs(), QStringList{deep});
    EXPECT_EQ(source->actionType(), HWCActionTypeVerify);
    EXPECT_EQ(source->fileTotal(), 5) << "a list counts as a file too";
    EXPECT_EQ(source->usedSpace(), 15);
    // Everything is complete by the first notice.
    EXPECT_EQ(notices->fileTotalAtFirst, 5);
    EXPECT_EQ(notices->usedSpaceAtFirst, 15);
    EXPECT_EQ(notices->mhlURLsAtFirst, QStringList{deep});
}

TEST(HWCSource, ASingleListIsVerifiedWithTheSizeItRecords)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString list = dir.filePath(QStringLiteral("Card.mhl"));
    TestSupport::writeText(list,
                           "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<hashlist version=\"1.1\">"
                           "<hash><file>A001.mov</file><size>1000000</size></hash>"
                           "<hash><file>A002.mov</file><size>234</size></hash>"
                           "<hash><file>A003.mov</file></hash></hashlist>\n");
    auto source = scanned(list);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->usedSpace(), 1000234);
    EXPECT_EQ(source->fileTotal(), 0);
    EXPECT_EQ(source->mhlURLs(), QStringList{list});
    EXPECT_EQ(source->actionType(), HWCActionTypeVerify);

    // A list that does not parse still asks for verification, which reports the fault.
    const QString broken = dir.filePath(QStringLiteral("Broken.mhl"));
    TestSupport::writeText(broken, "<hashlist><hash>");
    source = scanned(broken);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->usedSpace(), 0);
    EXPECT_EQ(source->mhlURLs(), QStringList{broken});
    EXPECT_EQ(source->actionType(), HWCActionTypeVerify);
}

TEST(HWCSource, OrdinaryFilesAreRefusedMissingPathsAndEmptyFoldersFindNothing)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    TestSupport::writeText(dir.filePath(QStringLiteral("clip.mov")), "x");
    TestSupport::writeText(dir.filePath(QStringLiteral("LIST.MHL")), "x");
    EXPECT_FALSE(HWCSource::initWithPath(dir.filePath(QStringLiteral("clip.mov"))));
    EXPECT_FALSE(HWCSource::initWithPath(dir.filePath(QStringLiteral("LIST.MHL"))));

    for (const QString &path :
         {dir.filePath(QStringLiteral("missing")), dir.filePath(QStringLiteral("empty"))}) {
        if (path.endsWith(QStringLiteral("empty"))) {
            ASSERT_TRUE(QDir().mkpath(path));
        }
        const auto source = scanned(path);
        ASSERT_TRUE(source);
        EXPECT_EQ(source->fileTotal(), 0);
        EXPECT_EQ(source->usedSpace(), 0);
        EXPECT_TRUE(source->mhlURLs().isEmpty());
        EXPECT_EQ(source->actionType(), HWCActionTypeCreate);
    }
}

TEST(HWCSource, TheScanKeepsTheSourceAndReleasesItOnTheMainThread)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    for (int i = 0; i < 200; ++i)
        TestSupport::writeText(dir.filePath(QStringLiteral("f%1/clip.mov").arg(i)), "x");
    bool destroyed = false;
    bool destroyedOnMainThread = false;
    {
        auto source = HWCSource::initWithPath(dir.path());
        ASSERT_TRUE(source);
        QObject::connect(source.get(), &QObject::destroyed, [&] {
            destroyed = true;
            destroyedOnMainThread = QThread::currentThread() == qApp->thread();
        });
    }
    EXPECT_FALSE(destroyed) << "the scan still holds the source";
    ASSERT_TRUE(TestSupport::waitUntil([&] { return destroyed; }));
    EXPECT_TRUE(destroyedOnMainThread);
}
