#include "Categories/HWCFileManagerAdditions.h"
#include "Classes/HWCMHLCreateOperation.h"
#include "Classes/HWCMediaHashList.h"
#include "Classes/HWCOperationInfo.h"
#include "Classes/HWCSource.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <thread>

namespace {

const QString kDateForm = QStringLiteral("yyyy-MM-dd'T'HH:mm:ss'Z'");

std::shared_ptr<HWCSource> scannedSource(const QString &path)
{
    std::shared_ptr<HWCSource> source = HWCSource::initWithPath(path);
    bool scanned = false;
    QObject::connect(source.get(), &HWCSource::actionTypeChanged, [&scanned] { scanned = true; });
    EXPECT_TRUE(TestSupport::waitUntil([&scanned] { return scanned; }));
    return source;
}

// Runs the operation on a worker thread, as the controller's pool would, and delivers
// everything it posted to the main thread.
void run(HWCVerificationOperation &operation, bool asNobody = false,
         const std::function<void()> &whileRunning = {})
{
    std::thread worker([&operation, asNobody] {
        std::unique_ptr<TestSupport::FileAccessAsNobody> access;
        if (asNobody)
            access = std::make_unique<TestSupport::FileAccessAsNobody>();
        operation.start();
    });
    if (whileRunning)
        whileRunning();
    EXPECT_TRUE(TestSupport::waitUntil([&operation] { return operation.isFinished(); }));
    worker.join();
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

QStringList filesBelow(const QString &root)
{
    const QByteArray listing =
        TestSupport::runTool(QStringLiteral("find"), {root, "-type", "f", "-print0"});
    QStringList paths;
    for (const QByteArray &path : listing.split('\0')) {
        if (!path.isEmpty())
            paths.append(QFile::decodeName(path));
    }
    paths.sort();
    return paths;
}

QString xxhsumLittleEndian(const QString &path)
{
    return QString::fromLatin1(
        TestSupport::runTool(QStringLiteral("xxhsum"), {"-H1", "--little-endian", path}).left(16));
}

QStringList mhlFilesIn(const QString &directory)
{
    return QDir(directory).entryList({QStringLiteral("*.mhl")}, QDir::Files);
}

void expectRecord(const HWCVerifiedFile &file, const QString &source, const QString &root,
                  const QString &relative, HWCFileState state)
{
    EXPECT_EQ(file.sourcePath(), source);
    EXPECT_EQ(file.rootPath(), root);
    EXPECT_EQ(file.relativePath(), relative);
    EXPECT_EQ(file.verifiedFileState(), state);
    EXPECT_EQ(file.bytes(), 0u);
    EXPECT_EQ(file.time(), 0u);
}

class HWCMHLCreateOperationTest : public ::testing::Test {
protected:
    QString folder() const { return m_folder.path(); }
    QString at(const QString &relative) const { return m_folder.filePath(relative); }

    QTemporaryDir m_folder;
};

} // namespace

TEST_F(HWCMHLCreateOperationTest, CreatesAListThatVerifiesAndCatchesAChangedByte)
{
    TestSupport::writeFile(at("clip.mov"), 2 * 1048576 + 17, 1);
    TestSupport::writeFile(at("block.bin"), 1048576, 2);
    TestSupport::writeFile(at("empty.bin"), 0);
    TestSupport::writeFile(at("Tom & Jerry <take 2> \"final\" 'cut'.wav"), 1000, 3);
    TestSupport::writeFile(at("Überspielung/Café 東京.mov"), 4096, 4);
    TestSupport::writeFile(at(".hidden"), 5, 5);
    TestSupport::writeFile(at("A001/B002/deep.dat"), 70000, 6);
    const QStringList expected = filesBelow(folder());
    quint64 totalBytes = 0;
    for (const QString &path : expected)
        totalBytes += quint64(QFileInfo(path).size());

    const QDateTime before = QDateTime::currentDateTime().addSecs(-1);
    HWCMHLCreateOperation create(scannedSource(folder()));
    EXPECT_EQ(create.actionType(), HWCActionTypeCreate);
    run(create);
    const QDateTime after = QDateTime::currentDateTime().addSecs(1);

    EXPECT_EQ(create.state(), HWCOperationStateCreatedOK);
    EXPECT_EQ(create.info()->stateString(), QStringLiteral("Created a MHL successfully."));
    EXPECT_TRUE(create.files().isEmpty());
    EXPECT_EQ(create.fileAmount(), quint64(expected.size()));
    EXPECT_EQ(create.info()->bytesVerified(), totalBytes);
    EXPECT_DOUBLE_EQ(create.info()->progressValue(), 100.0);
    ASSERT_EQ(mhlFilesIn(folder()), QStringList{QFileInfo(create.mhlFilePath()).fileName()});

    std::unique_ptr<HWCMediaHashList> list =
        HWCMediaHashList::initWithContentsOfURL(create.mhlFilePath());
    ASSERT_TRUE(list && list->hasDocument());
    QStringList listed;
    for (const HWCChecksumEntry &entry : list->hashes()) {
        const QString path = at(entry.value("file"));
        listed.append(path);
        const QFileInfo file(path);
        SCOPED_TRACE(path.toStdString());
        EXPECT_EQ(entry.value("xxhash64"), xxhsumLittleEndian(path));
        EXPECT_EQ(entry.value("size"), QString::number(file.size()));
        EXPECT_EQ(entry.value("lastmodificationdate"), file.lastModified().toString(kDateForm));
        const QDateTime hashed = QDateTime::fromString(entry.value("hashdate"), kDateForm);
        EXPECT_TRUE(hashed >= before && hashed <= after);
    }
    listed.sort();
    EXPECT_EQ(listed, expected);

    HWCVerificationOperation verify(scannedSource(folder()));
    run(verify);
    EXPECT_EQ(verify.state(), HWCOperationStateVerifiedOK);
    EXPECT_EQ(verify.files().size(), expected.size());

    const QString changed = at("Überspielung/Café 東京.mov");
    QFile file(changed);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    file.seek(2000);
    const char byte = file.peek(1).at(0);
    file.write(QByteArray(1, char(byte ^ 0x01)));
    file.close();
    HWCVerificationOperation recheck(scannedSource(folder()));
    run(recheck);
    EXPECT_EQ(recheck.state(), HWCOperationStateFinishedWithWarnings);
    const QList<HWCVerifiedFile> warnings =
        recheck.filesWithState(HWCFileStateReadSuccessfully, true);
    ASSERT_EQ(warnings.size(), 1);
    EXPECT_EQ(warnings.first().verifiedFileState(), HWCFileStateHashFail);
    EXPECT_EQ(warnings.first().relativePath(), QStringLiteral("Überspielung/Café 東京.mov"));
}

TEST_F(HWCMHLCreateOperationTest, AFileThatCannotBeOpenedIsRecordedOnceAndLeftOutOfTheList)
{
    TestSupport::writeFile(at("open.bin"), 3000, 1);
    TestSupport::writeFile(at("secret.bin"), 3000, 2);
    ASSERT_EQ(chmod(QFile::encodeName(at("secret.bin")).constData(), 0), 0);
    // nobody must reach the folder and write the list, but not read secret.bin.
    ASSERT_EQ(chmod(QFile::encodeName(folder()).constData(), 0777), 0);

    HWCMHLCreateOperation create(scannedSource(folder()));
    run(create, true);

    EXPECT_EQ(create.state(), HWCOperationStateFinishedWithWarnings);
    EXPECT_EQ(create.info()->stateString(), QStringLiteral("Completed with issues."));
    EXPECT_EQ(create.fileAmount(), 2u);
    ASSERT_EQ(create.files().size(), 1);
    expectRecord(create.files().first(), folder(), QStringLiteral("/secret.bin"), folder(),
                 HWCFileStateAccessDenied);
    std::unique_ptr<HWCMediaHashList> list =
        HWCMediaHashList::initWithContentsOfURL(create.mhlFilePath());
    ASSERT_TRUE(list);
    ASSERT_EQ(list->hashes().size(), 1u);
    EXPECT_EQ(list->hashes().front().value("file"), QStringLiteral("open.bin"));
}

TEST_F(HWCMHLCreateOperationTest, AReadErrorGivesTwoRecordsAndTheWalkGoesOn)
{
    TestSupport::writeFile(at("fine.bin"), 3000, 1);
    TestSupport::writeText(at("broken.bin"), QByteArray());
    // Our own memory file: it opens, and reading offset 0 (never mapped) fails with EIO.
    const QByteArray target = QFile::encodeName(at("broken.bin"));
    if (mount("/proc/self/mem", target.constData(), nullptr, MS_BIND, nullptr) != 0)
        GTEST_SKIP() << "bind mounts are not allowed here";
    const std::unique_ptr<const char, void (*)(const char *)> unmount(
        target.constData(), [](const char *path) { umount2(path, MNT_DETACH); });

    HWCMHLCreateOperation create(scannedSource(folder()));
    run(create);

    EXPECT_EQ(create.state(), HWCOperationStateFinishedWithWarnings);
    EXPECT_EQ(create.fileAmount(), 2u);
    ASSERT_EQ(create.files().size(), 2);
    expectRecord(create.files().at(0), folder(), QStringLiteral("/broken.bin"), folder(),
                 HWCFileStateCantReadFile);
    expectRecord(create.files().at(1), QString(), folder(), QStringLiteral("/broken.bin"),
                 HWCFileStateCantReadFile);
    EXPECT_TRUE(create.files().at(1).sourcePath().isNull());
    std::unique_ptr<HWCMediaHashList> list =
        HWCMediaHashList::initWithContentsOfURL(create.mhlFilePath());
    ASSERT_TRUE(list);
    ASSERT_EQ(list->hashes().size(), 1u);
    EXPECT_EQ(list->hashes().front().value("file"), QStringLiteral("fine.bin"));
}

TEST_F(HWCMHLCreateOperationTest, ACancelMidFileWritesNothingAndTheRestOfTheWalkReturnsAtOnce)
{
    for (int i = 0; i < 6; ++i)
        TestSupport::writeFile(at(QStringLiteral("small-%1.bin").arg(i)), 100 + i, quint32(i));
    // A sparse file takes seconds to read but no space; the cancel lands in its middle.
    const quint64 bigSize = 16ull << 30;
    {
        QFile big(at("big.bin"));
        ASSERT_TRUE(big.open(QIODevice::WriteOnly) && big.resize(qint64(bigSize)));
    }
    QStringList walkOrder;
    findFilesAtPath(folder(), [&walkOrder](const char *path, const struct stat *) {
        walkOrder.append(QFile::decodeName(path));
    });
    const qsizetype bigIndex = walkOrder.indexOf(at("big.bin"));
    ASSERT_GE(bigIndex, 0);
    quint64 bytesBeforeBig = 0;
    for (qsizetype i = 0; i < bigIndex; ++i)
        bytesBeforeBig += quint64(QFileInfo(walkOrder.at(i)).size());

    HWCMHLCreateOperation create(scannedSource(folder()));
    run(create, false, [&create, bytesBeforeBig] {
        // Past the small files walked before it: at least one block of big.bin is hashed.
        EXPECT_TRUE(TestSupport::waitUntil(
            [&] { return create.info()->bytesVerified() > bytesBeforeBig; }));
        create.cancel();
    });

    EXPECT_EQ(create.state(), HWCOperationStateCancelled);
    EXPECT_EQ(create.info()->stateString(), QStringLiteral("Canceled."));
    EXPECT_TRUE(create.files().isEmpty());
    EXPECT_TRUE(create.mhlFilePath().isNull());
    EXPECT_TRUE(mhlFilesIn(folder()).isEmpty());
    EXPECT_EQ(create.fileAmount(), quint64(bigIndex + 1));
    EXPECT_EQ(create.info()->currentRelativeFilePath(), QStringLiteral("/big.bin"));
    EXPECT_LT(create.info()->bytesVerified(), bigSize);
}
