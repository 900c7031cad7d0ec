#include "Classes/HWCAnalytics.h"
#include "Classes/HWCOperationController.h"
#include "Classes/HWCOperationInfo.h"
#include "Classes/HWCSource.h"
#include "Classes/HWCVerificationOperation.h"
#include "support/VerificationFixtures.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using VerificationFixtures::hashElement;
using VerificationFixtures::scannedSource;
using VerificationFixtures::toolDigest;
using VerificationFixtures::writeMHL;

namespace {

using Operation = std::shared_ptr<HWCVerificationOperation>;

const QRegularExpression kEventTime(QStringLiteral("^\\d{14}$"));
const QString kHelloMD5 = QStringLiteral("5d41402abc4b2a76b9719d911017c592");

class HWCOperationControllerTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_folder.isValid());
        m_eventLog = m_folder.filePath(QStringLiteral("events.jsonl"));
        qputenv(HWCAnalytics::kLogEnvironmentVariable, QFile::encodeName(m_eventLog));
        HWCAnalytics::addEventSuperProperties({{"Release Type", "Release"}});
    }
    void TearDown() override { qunsetenv(HWCAnalytics::kLogEnvironmentVariable); }

    QString path(const QString &relative) const { return m_folder.filePath(relative); }

    // A folder whose MHL lists the files with their md5 digests, as md5sum computes them,
    // and extra entries.
    QString verifiableFolder(const QString &name, const QStringList &files, const QString &tool,
                             const QStringList &extra = {})
    {
        QStringList elements;
        for (int i = 0; i < files.size(); ++i) {
            const QString file = path(name + '/' + files[i]);
            TestSupport::writeFile(file, 100000 * (i + 1), quint32(i + 7));
            elements << hashElement(files[i], 100000 * (i + 1),
                                    {{"md5", VerificationFixtures::toolDigest("md5", file)}});
        }
        writeMHL(path(name + "/list.mhl"), elements + extra, tool);
        return path(name);
    }

    // A folder whose one listed file is a FIFO: verification waits in open() until the test
    // writes to it.
    QString fifoFolder(const QString &name)
    {
        TestSupport::makeFifo(path(name + "/pipe"));
        writeMHL(path(name + "/list.mhl"), {hashElement("pipe", 5, {{"md5", kHelloMD5}})});
        return path(name);
    }

    QList<QJsonObject> events() const { return TestSupport::readJsonLines(m_eventLog); }

    // The "Action Completed" event whose "5 - File Amount" is amount.
    QJsonObject eventWithFileAmount(qint64 amount) const
    {
        for (const QJsonObject &event : events()) {
            if (event["properties"].toObject()["5 - File Amount"].toInteger() == amount)
                return event;
        }
        ADD_FAILURE() << "no event with file amount " << amount;
        return {};
    }

    QTemporaryDir m_folder;
    QString m_eventLog;
};

} // namespace

TEST_F(HWCOperationControllerTest, TwoSourcesRunAsTwoOperationsAndReportTwoEvents)
{
    const QString clean = verifiableFolder("A", {"a1.mov", "a2.mov", "a3.wav"}, "ToolA 1.0");
    const QString damaged =
        verifiableFolder("B", {"b1.mov", "b2.mov", "b3.mov", "b4.mov"}, "ToolB 2.0");
    // One file changed after the list was made, one gone.
    TestSupport::writeFile(damaged + "/b2.mov", 200000, 99);
    QFile::remove(damaged + "/b4.mov");

    HWCOperationController controller;
    QSignalSpy listSpy(&controller, &HWCOperationController::operationsChanged);
    QSignalSpy completedSpy(&controller, &HWCOperationController::completedOperation);
    const auto cleanSource = scannedSource(clean);
    const auto damagedSource = scannedSource(damaged);
    const QString before = QDateTime::currentDateTime().toString("yyyyMMddHHmmss");
    const Operation first = controller.addDisk(cleanSource);
    const Operation second = controller.addDisk(damagedSource);
    ASSERT_TRUE(first && second);
    EXPECT_EQ(listSpy.count(), 2);
    EXPECT_EQ(controller.operations(), (HWCOperationController::Operations{first, second}));

    ASSERT_TRUE(TestSupport::waitUntil([&] { return completedSpy.count() == 2; }));
    QList<Operation> completed;
    for (const QList<QVariant> &arguments : completedSpy)
        completed.append(arguments.first().value<Operation>());
    EXPECT_TRUE(completed.contains(first) && completed.contains(second));
    EXPECT_EQ(controller.operations().size(), 2) << "finished operations stay listed";
    ASSERT_EQ(events().size(), 2);

    const QJsonObject cleanEvent = eventWithFileAmount(3);
    EXPECT_EQ(cleanEvent["event"].toString(), "Action Completed");
    const QJsonObject ok = cleanEvent["properties"].toObject();
    EXPECT_EQ(ok["1 - State"].toString(), "Verified OK");
    EXPECT_EQ(ok["2 - Tools"].toString(), "ToolA 1.0");
    EXPECT_EQ(ok["6 - Byte Amount"].toInteger(), 600000);
    EXPECT_EQ(ok["7 - Warning Amount"].toInteger(), 0);
    EXPECT_EQ(ok["8 - Warnings"].toString("absent"), "");
    EXPECT_EQ(cleanEvent["superProperties"].toObject()["Release Type"].toString(), "Release");

    const QJsonObject warned = eventWithFileAmount(4)["properties"].toObject();
    EXPECT_EQ(warned.size(), 8);
    EXPECT_EQ(warned["1 - State"].toString(), "Finished with warnings");
    EXPECT_EQ(warned["2 - Tools"].toString(), "ToolB 2.0");
    const QString started = warned["3 - Started At"].toString();
    const QString ended = warned["4 - Completed At"].toString();
    EXPECT_TRUE(kEventTime.match(started).hasMatch()) << started.toStdString();
    EXPECT_TRUE(kEventTime.match(ended).hasMatch()) << ended.toStdString();
    EXPECT_GE(started, before);
    EXPECT_GE(ended, started);
    EXPECT_LE(ended, QDateTime::currentDateTime().toString("yyyyMMddHHmmss"));
    // b1 and b3 whole, b2 as it is now (200000 bytes), b4 not at all.
    EXPECT_EQ(warned["6 - Byte Amount"].toInteger(), 100000 + 200000 + 300000);
    EXPECT_EQ(warned["7 - Warning Amount"].toInteger(), 2);
    const QString warnings = warned["8 - Warnings"].toString();
    EXPECT_TRUE(warnings == "Hash fail/Missing file" || warnings == "Missing file/Hash fail")
        << warnings.toStdString();
}

TEST_F(HWCOperationControllerTest, CancelledOperationStillReports)
{
    const QString folder = verifiableFolder("C", {"c1.mov"}, "ToolC");
    TestSupport::writeEndlessFile(folder + "/endless");
    writeMHL(folder + "/list.mhl",
             {hashElement("c1.mov", 100000, {{"md5", toolDigest("md5", folder + "/c1.mov")}}),
              hashElement("endless", 5, {{"md5", "5d41402abc4b2a76b9719d911017c592"}}),
              hashElement("c3.mov", 1, {{"md5", "00000000000000000000000000000000"}})},
             "ToolC");
    HWCOperationController controller;
    QSignalSpy completedSpy(&controller, &HWCOperationController::completedOperation);
    const Operation operation = controller.addDisk(scannedSource(folder));
    ASSERT_TRUE(TestSupport::waitUntil(
        [&] { return operation->info()->currentRelativeFilePath() == "endless"; }));
    operation->cancel();
    ASSERT_TRUE(TestSupport::waitUntil([&] { return completedSpy.count() == 1; }));

    EXPECT_EQ(operation->state(), HWCOperationStateCancelled);
    ASSERT_EQ(events().size(), 1);
    const QJsonObject properties = events().first()["properties"].toObject();
    EXPECT_EQ(properties["1 - State"].toString(), "Cancelled");
    EXPECT_EQ(properties["5 - File Amount"].toInteger(), 1);
    EXPECT_EQ(properties["6 - Byte Amount"].toInteger(), 100000);
    EXPECT_EQ(properties["7 - Warning Amount"].toInteger(), 0);
    EXPECT_EQ(properties["8 - Warnings"].toString("absent"), "");
}

TEST_F(HWCOperationControllerTest, CancelAllEmptiesTheListAtOnceAndRemoveDoesNotCancel)
{
    const QString blocked = path("D");
    const QString kept = path("E");
    for (const QString &folder : {blocked, kept}) {
        TestSupport::writeEndlessFile(folder + "/endless");
        writeMHL(folder + "/list.mhl",
                 {hashElement("endless", 5, {{"md5", "5d41402abc4b2a76b9719d911017c592"}})}, "ToolD");
    }
    HWCOperationController controller;
    QSignalSpy listSpy(&controller, &HWCOperationController::operationsChanged);
    QSignalSpy completedSpy(&controller, &HWCOperationController::completedOperation);
    const Operation cancelled = controller.addDisk(scannedSource(blocked));
    const Operation removed = controller.addDisk(scannedSource(kept));
    ASSERT_TRUE(TestSupport::waitUntil([&] {
        return cancelled->info()->currentRelativeFilePath() == "endless" &&
               removed->info()->currentRelativeFilePath() == "endless";
    }));

    controller.removeOperation(removed.get());
    EXPECT_EQ(controller.operations(), (HWCOperationController::Operations{cancelled}));
    EXPECT_FALSE(removed->isCancelled());
    // The removed operation is still running, so cancelAllOperations() reaches it too; cut
    // its file short first so that it finishes on its own.
    ASSERT_TRUE(QFile::resize(kept + "/endless", 0));
    ASSERT_TRUE(TestSupport::waitUntil([&] { return completedSpy.count() == 1; }));
    EXPECT_EQ(removed->state(), HWCOperationStateFinishedWithWarnings);

    const int changesBefore = listSpy.count();
    controller.cancelAllOperations();
    EXPECT_TRUE(controller.operations().isEmpty());
    EXPECT_EQ(listSpy.count(), changesBefore + 1);
    EXPECT_TRUE(cancelled->isCancelled());
    EXPECT_FALSE(cancelled->isFinished()) << "the list empties before the operation stops";

    ASSERT_TRUE(TestSupport::waitUntil([&] { return completedSpy.count() == 2; }));
    QStringList states;
    for (const QJsonObject &event : events())
        states.append(event["properties"].toObject()["1 - State"].toString());
    EXPECT_EQ(states, (QStringList{"Finished with warnings", "Cancelled"}));
}

TEST_F(HWCOperationControllerTest, CreationReportsFilesAndNoBytes)
{
    const QString folder = path("F");
    TestSupport::writeFile(folder + "/one.mov", 3000, 1);
    TestSupport::writeFile(folder + "/sub/two.mov", 5000, 2);
    HWCOperationController controller;
    QSignalSpy completedSpy(&controller, &HWCOperationController::completedOperation);
    const auto source = scannedSource(folder);
    ASSERT_EQ(source->actionType(), HWCActionTypeCreate);
    const Operation operation = controller.addDisk(source);
    ASSERT_EQ(operation->actionType(), HWCActionTypeCreate);
    ASSERT_TRUE(TestSupport::waitUntil([&] { return completedSpy.count() == 1; }));

    const QJsonObject properties = events().first()["properties"].toObject();
    EXPECT_EQ(properties["1 - State"].toString(), "Created OK");
    EXPECT_EQ(properties["2 - Tools"].toString("absent"), "");
    EXPECT_EQ(properties["5 - File Amount"].toInteger(), 2);
    EXPECT_EQ(properties["6 - Byte Amount"].toInteger(), 0);
    EXPECT_EQ(properties["7 - Warning Amount"].toInteger(), 0);
    EXPECT_EQ(QDir(folder).entryList({"*.mhl"}, QDir::Files).size(), 1);
}

TEST_F(HWCOperationControllerTest, DestructionCancelsAndWaitsForRunningOperations)
{
    const QString folder = path("G");
    TestSupport::writeEndlessFile(folder + "/endless");
    writeMHL(folder + "/list.mhl",
             {hashElement("endless", 5, {{"md5", "5d41402abc4b2a76b9719d911017c592"}})}, "ToolG");
    Operation operation;
    {
        HWCOperationController controller;
        EXPECT_EQ(controller.addDisk(nullptr), nullptr);
        operation = controller.addDisk(scannedSource(folder));
        ASSERT_TRUE(TestSupport::waitUntil(
            [&] { return operation->info()->currentRelativeFilePath() == "endless"; }));
    }
    // The destructor returned only once the worker, still inside an endless read, stopped.
    EXPECT_TRUE(operation->isFinished());
    EXPECT_EQ(operation->state(), HWCOperationStateCancelled);
}
