#include "engine/files/HWCFileManagerAdditions.h"
#include "engine/files/HWCMedium.h"
#include "engine/mhl/HWCMediaHashList.h"
#include "engine/operations/HWCMHLCreateOperation.h"
#include "engine/records/HWCOperationInfo.h"
#include "support/VerificationFixtures.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <sys/stat.h>

using namespace VerificationFixtures;
using Field = HWCChecksumEntry::Field;

namespace {

QStringList listedFiles(const HWCMHLCreateOperation &create)
{
    QStringList files;
    const auto list = HWCMediaHashList::initWithContentsOfURL(create.writtenList().path);
    for (const HWCChecksumEntry &entry : list->hashes())
        files.append(entry.fileText());
    return files;
}

QStringList mhlFilesIn(const QString &folder)
{
    return TestSupport::filesIn(folder).filter(QRegularExpression("\\.mhl$"));
}

using HWCMHLCreateOperationTest = VerificationTest;

} // namespace

// A file whose read fails, and one cut short under the reader (what was hashed is not the
// file that was opened): one record each, left out of the list, and the rest listed.
TEST_F(HWCMHLCreateOperationTest, AFileNotReadWholeGivesOneRecordAndTheWalkGoesOn)
{
    TestSupport::writeFile(path("fine.bin"), 3000, 1);
    TestSupport::writeEndlessFile(path("moving.bin"));
    // Only broken.bin is read in one request of 8192 bytes, which fails the way a medium does.
    TestSupport::writeFile(path("broken.bin"), 5000, 2);
    HWCMHLCreateOperation create({.source = scannedSource(m_folder.path())});
    // Past fine.bin's bytes, whichever comes first: moving.bin is open and being read.
    runOnWorker(create, {.inTurn = true, .failedReadSize = 8192}, 3000,
                [&] { ASSERT_TRUE(QFile::resize(path("moving.bin"), qint64(kMiB) + 5)); });

    EXPECT_EQ(create.state(), HWCOperationState::FinishedWithWarnings);
    EXPECT_EQ(create.fileAmount(), 3u);
    QStringList failed;
    for (const HWCVerifiedFile &file : create.files())
        failed.append(file.fullPath() + ' ' + file.state() + ' ' + file.detail().reason);
    failed.sort();
    EXPECT_EQ(failed,
              (QStringList{path("broken.bin") + " Can't read file Input/output error",
                           path("moving.bin") + " Can't read file changed while it was read"}));
    EXPECT_EQ(listedFiles(create), QStringList{"fine.bin"});
}

TEST_F(HWCMHLCreateOperationTest, ACancelMidFileWritesNothingAndTheRestOfTheWalkReturnsAtOnce)
{
    for (int i = 0; i < 6; ++i)
        TestSupport::writeFile(path(QStringLiteral("small-%1.bin").arg(i)), 100 + i, quint32(i));
    // A sparse file takes seconds to read but no space; the cancel lands in its middle.
    const quint64 bigSize = 16ull << 30;
    TestSupport::writeText(path("big.bin"), {});
    ASSERT_TRUE(QFile::resize(path("big.bin"), qint64(bigSize)));
    // The files walked before it, and their bytes.
    qsizetype bigIndex = -1, walked = 0;
    quint64 bytesBeforeBig = 0;
    const auto walk = [&](const char *file, const struct stat *status) {
        if (QByteArray(file).endsWith("/big.bin"))
            bigIndex = walked;
        else if (bigIndex < 0)
            bytesBeforeBig += quint64(status->st_size);
        ++walked;
    };
    findFilesAtPath(m_folder.path(), walk, [](const char *, int) {});

    HWCMHLCreateOperation create({.source = scannedSource(m_folder.path())});
    // Past the small files walked before it: at least one block of big.bin is hashed.
    runOnWorker(create, {}, bytesBeforeBig, [&create] { create.cancel(); });

    EXPECT_EQ(create.state(), HWCOperationState::Cancelled);
    EXPECT_TRUE(create.files().isEmpty());
    EXPECT_TRUE(create.writtenList().path.isNull() && create.writtenList().writeError.isNull());
    EXPECT_TRUE(mhlFilesIn(m_folder.path()).isEmpty());
    EXPECT_EQ(create.fileAmount(), quint64(bigIndex + 1));
    EXPECT_EQ(create.info()->currentRelativeFilePath(), QStringLiteral("/big.bin"));
    EXPECT_LT(create.info()->bytesVerified(), bigSize);
}

// Every file, hidden and oddly named ones too, with the digest of an independent tool and its
// dates; an unreadable one left out. In turn, overlapped and with three jobs alike.
TEST_F(HWCMHLCreateOperationTest, EveryModeListsEveryFileAndACancelWritesNothing)
{
    for (int i = 0; i < 12; ++i)
        TestSupport::writeFile(path(QStringLiteral("D%1/f%2.bin").arg(i % 3).arg(i)),
                               i * 300001 % (3 * kMiB + 5), quint32(i));
    TestSupport::writeFile(path("empty.bin"), 0);
    TestSupport::writeFile(path(".hidden"), 5);
    TestSupport::writeFile(path("A001/B002/deep.dat"), 70000);
    TestSupport::writeFile(path("Tom & Jerry <2>.wav"), 1000);
    TestSupport::writeFile(path("D1/secret.bin"), 3000, 99);
    ASSERT_EQ(chmod(QFile::encodeName(path("D1/secret.bin")).constData(), 0), 0);
    ASSERT_EQ(chmod(QFile::encodeName(m_folder.path()).constData(), 0777), 0);
    const auto source = scannedSource(m_folder.path());
    const QString dateForm = QStringLiteral("yyyy-MM-dd'T'HH:mm:ss'Z'");

    QList<QStringList> listings;
    for (const bool refused : {true, false}) {
        for (const auto &[jobs, depth] : {std::pair{1, 1}, {1, HWCMedium::kDeepQueue}, {3, 1}}) {
            SCOPED_TRACE(testing::Message()
                         << jobs << " jobs, depth " << depth << (refused ? ", in turn" : ""));
            HWCMHLCreateOperation create({.source = source, .jobs = jobs, .readDepth = depth});
            const QDateTime before = QDateTime::currentDateTime().addSecs(-1);
            runOnWorker(create, {refused, jobs, true});
            EXPECT_EQ(create.state(), HWCOperationState::FinishedWithWarnings);
            EXPECT_EQ(create.fileAmount(), 17u);
            EXPECT_EQ(records(create.files()),
                      (QList<Record>{{"/", "D1/secret.bin", HWCFileState::AccessDenied, 0}}));
            ASSERT_EQ(mhlFilesIn(m_folder.path()),
                      QStringList{QFileInfo(create.writtenList().path).fileName()});
            QStringList listing;
            const auto list = HWCMediaHashList::initWithContentsOfURL(create.writtenList().path);
            ASSERT_TRUE(list);
            for (const HWCChecksumEntry &entry : list->hashes()) {
                listing.append(entry.fileText() + ' ' + entry.text(Field::Size).toByteArray() +
                               ' ' + entry.digestText("xxhash64"));
                const QFileInfo file(path(entry.fileText()));
                EXPECT_EQ(entry.text(Field::LastModificationDate),
                          file.lastModified().toString(dateForm).toUtf8());
                const QDateTime hashed =
                    QDateTime::fromString(QString::fromUtf8(entry.text(Field::HashDate)), dateForm);
                EXPECT_TRUE(hashed >= before && hashed <= QDateTime::currentDateTime());
            }
            listings.append(listing);
            QFile::remove(create.writtenList().path);
        }
    }
    ASSERT_EQ(listings.first().size(), 16);
    for (const QString &entry : listings.first()) {
        const QString file = entry.section(' ', 0, -3);
        EXPECT_EQ(entry, file + ' ' + QString::number(QFileInfo(path(file)).size()) + ' ' +
                             toolDigest("xxhash64", path(file)));
    }
    for (const QStringList &listing : listings)
        EXPECT_EQ(listing, listings.first());

    // Wherever the cancel lands, three jobs write no list and count no file past it. The
    // endless file keeps the run going until the cancel has arrived.
    TestSupport::writeEndlessFile(path("D0/endless.bin"));
    const auto held = scannedSource(m_folder.path());
    for (const quint64 after : {0ull, 2 * kMiB, 6 * kMiB, 12 * kMiB}) {
        HWCMHLCreateOperation create({.source = held, .jobs = 3});
        runOnWorker(create, {.jobs = 3}, after, [&create] { create.cancel(); });
        EXPECT_EQ(create.state(), HWCOperationState::Cancelled);
        EXPECT_TRUE(create.files().isEmpty() ||
                    records(create.files()) ==
                        (QList<Record>{{"/", "D1/secret.bin", HWCFileState::AccessDenied, 0}}));
        EXPECT_LE(create.fileAmount(), 18u);
        EXPECT_TRUE(mhlFilesIn(m_folder.path()).isEmpty());
    }
}
