#include "engine/files/HWCMedium.h"
#include "engine/operations/HWCOperationController.h"
#include "support/VerificationFixtures.h"

#include <QDateTime>
#include <QDir>

using namespace VerificationFixtures;

namespace {

using Operation = std::shared_ptr<HWCSourceOperation>;

class HWCOperationControllerTest : public VerificationTest {
protected:
    // The properties of each "Action Completed" event, in the order they were sent.
    QList<QJsonObject> completions() const
    {
        QList<QJsonObject> properties;
        for (const QJsonObject &event : events()) {
            EXPECT_EQ(event["event"].toString(), "Action Completed");
            properties.append(event["properties"].toObject());
        }
        return properties;
    }

    static bool reading(const Operation &operation)
    {
        return operation->info()->currentRelativeFilePath() == "endless";
    }
};

} // namespace

TEST_F(HWCOperationControllerTest, ThreeSourcesRunAsThreeOperationsAndReportThreeEvents)
{
    HWCAnalytics::addEventSuperProperties({{"Release Type", "Release"}});
    const QString clean = listedFolder(path("A"), {"a1.mov", "a2.mov"}, "ToolA 1.0");
    const QString damaged = listedFolder(path("B"), {"b1.mov", "b2.mov", "b3.mov"}, "ToolB 2.0");
    TestSupport::writeFile(damaged + "/b2.mov", 200000, 99);
    QFile::remove(damaged + "/b3.mov");
    TestSupport::writeFile(path("F/one.mov"), 3000, 1);
    TestSupport::writeFile(path("F/sub/two.mov"), 5000, 2);

    HWCOperationController controller;
    QSignalSpy listSpy(&controller, &HWCOperationController::operationsChanged);
    QSignalSpy completedSpy(&controller, &HWCOperationController::completedOperation);
    const QString before = QDateTime::currentDateTime().toString("yyyyMMddHHmmss");
    EXPECT_EQ(controller.addDisk(nullptr), nullptr);
    const Operation first = controller.addDisk(scannedSource(clean));
    const Operation second = controller.addDisk(scannedSource(damaged));
    const Operation third = controller.addDisk(scannedSource(path("F")));
    EXPECT_EQ(listSpy.count(), 3);
    EXPECT_EQ(controller.operations(), (HWCOperationController::Operations{first, second, third}));
    EXPECT_EQ(third->actionType(), HWCActionType::Create);
    ASSERT_TRUE(TestSupport::waitUntil([&] { return completedSpy.count() == 3; }));
    EXPECT_EQ(controller.operations().size(), 3) << "finished operations stay listed";
    EXPECT_EQ(QDir(path("F")).entryList({"*.mhl"}, QDir::Files).size(), 1);

    // Ordered by state: created, finished with warnings, verified.
    QList<QJsonObject> sent = completions();
    ASSERT_EQ(sent.size(), 3);
    std::sort(sent.begin(), sent.end(), [](const QJsonObject &a, const QJsonObject &b) {
        return a["1 - State"].toString() < b["1 - State"].toString();
    });
    for (QJsonObject &properties : sent) {
        const QString started = properties.take("3 - Started At").toString();
        const QString ended = properties.take("4 - Completed At").toString();
        EXPECT_TRUE(started.size() == 14 && started >= before && ended >= started);
        EXPECT_LE(ended, QDateTime::currentDateTime().toString("yyyyMMddHHmmss"));
    }
    // A creation reports its files but no bytes read, and no tools.
    EXPECT_EQ(sent[0], (QJsonObject{{"1 - State", "Created OK"},
                                    {"2 - Tools", ""},
                                    {"5 - File Amount", 2},
                                    {"6 - Byte Amount", 0},
                                    {"7 - Warning Amount", 0},
                                    {"8 - Warnings", ""}}));
    EXPECT_EQ(sent[2], (QJsonObject{{"1 - State", "Verified OK"},
                                    {"2 - Tools", "ToolA 1.0"},
                                    {"5 - File Amount", 2},
                                    {"6 - Byte Amount", 150000},
                                    {"7 - Warning Amount", 0},
                                    {"8 - Warnings", ""}}));
    // b1 whole, b2 as it is now, b3 not at all.
    const QString warnings = sent[1].take("8 - Warnings").toString();
    EXPECT_TRUE(warnings == "Hash fail/Missing file" || warnings == "Missing file/Hash fail");
    EXPECT_EQ(sent[1], (QJsonObject{{"1 - State", "Finished with warnings"},
                                    {"2 - Tools", "ToolB 2.0"},
                                    {"5 - File Amount", 3},
                                    {"6 - Byte Amount", 250000},
                                    {"7 - Warning Amount", 2}}));
    EXPECT_EQ(events()[0]["superProperties"].toObject()["Release Type"].toString(), "Release");
}

TEST_F(HWCOperationControllerTest, CancelAllEmptiesTheListAtOnceRemoveDoesNotAndDestructionWaits)
{
    // The cancelled folder's first file is read before it meets the endless one.
    const QString cancelledFolder = path("D");
    const QString c1 = addFile("D/c1.mov", 50000, "md5");
    TestSupport::writeEndlessFile(cancelledFolder + "/endless");
    writeMHL(cancelledFolder + "/list.mhl", {hashElement("c1.mov", 50000, {{"md5", c1}}),
                                             hashElement("endless", 5, {{"md5", kHelloMD5}}),
                                             hashElement("c3.mov", 1, {{"md5", kHelloMD5}})});
    // On another device, so that both run at once.
    QTemporaryDir memory(QStringLiteral("/dev/shm/hwc-XXXXXX"));
    const QString kept = endlessFolder(memory.filePath("E"));
    auto controller = std::make_unique<HWCOperationController>();
    QSignalSpy listSpy(controller.get(), &HWCOperationController::operationsChanged);
    QSignalSpy completedSpy(controller.get(), &HWCOperationController::completedOperation);
    const Operation cancelled = controller->addDisk(scannedSource(cancelledFolder));
    const Operation removed = controller->addDisk(scannedSource(kept));
    ASSERT_TRUE(TestSupport::waitUntil([&] { return reading(cancelled) && reading(removed); }));

    controller->removeOperation(removed.get());
    EXPECT_EQ(controller->operations(), (HWCOperationController::Operations{cancelled}));
    EXPECT_FALSE(removed->isCancelled());
    // Still running, so cancelAllOperations() would reach it too: cut its file short first.
    ASSERT_TRUE(QFile::resize(kept + "/endless", 0));
    ASSERT_TRUE(TestSupport::waitUntil([&] { return completedSpy.count() == 1; }));
    EXPECT_EQ(removed->state(), HWCOperationState::FinishedWithWarnings);

    const int changesBefore = listSpy.count();
    controller->cancelAllOperations();
    EXPECT_TRUE(controller->operations().isEmpty());
    EXPECT_EQ(listSpy.count(), changesBefore + 1);
    EXPECT_TRUE(cancelled->isCancelled());
    EXPECT_FALSE(cancelled->isFinished()) << "the list empties before the operation stops";
    ASSERT_TRUE(TestSupport::waitUntil([&] { return completedSpy.count() == 2; }));
    EXPECT_EQ(cancelled->state(), HWCOperationState::Cancelled);

    const QList<QJsonObject> sent = completions();
    ASSERT_EQ(sent.size(), 2);
    EXPECT_EQ(sent[0]["1 - State"].toString(), "Finished with warnings");
    // What was done before the cancel is reported, and nothing after it.
    EXPECT_EQ(sent[1]["1 - State"].toString(), "Cancelled");
    EXPECT_EQ(sent[1]["5 - File Amount"].toInteger(), 1);
    EXPECT_EQ(sent[1]["6 - Byte Amount"].toInteger(), 50000);
    EXPECT_EQ(sent[1]["7 - Warning Amount"].toInteger(), 0);

    // An operation removing itself is cancelled as well.
    const Operation itself = controller->addDisk(scannedSource(kept));
    itself->remove();
    EXPECT_TRUE(itself->isCancelled());
    EXPECT_TRUE(controller->operations().isEmpty());

    // Destroying the controller cancels a running operation and returns only once it stopped.
    const Operation last = controller->addDisk(scannedSource(endlessFolder(path("G"))));
    ASSERT_TRUE(TestSupport::waitUntil([&] { return reading(last); }));
    controller.reset();
    EXPECT_TRUE(last->isFinished());
    EXPECT_EQ(last->state(), HWCOperationState::Cancelled);
}

TEST_F(HWCOperationControllerTest, SourcesOfOneDeviceRunInTurnThoseOfTwoDevicesAtOnce)
{
    QTemporaryDir memory(QStringLiteral("/dev/shm/hwc-XXXXXX"));
    ASSERT_TRUE(memory.isValid());
    ASSERT_NE(HWCMedium::of(memory.path()).device(), HWCMedium::of(path(".")).device());
    EXPECT_EQ(HWCMedium::of(memory.path()).queueDepth(), HWCMedium::kDeepQueue);
    const QString first = endlessFolder(path("A"));
    HWCOperationController controller;
    QSignalSpy completedSpy(&controller, &HWCOperationController::completedOperation);
    const Operation a = controller.addDisk(scannedSource(first));
    const Operation b = controller.addDisk(scannedSource(listedFolder(path("B"), {"b1.mov"})));
    const Operation c = controller.addDisk(scannedSource(endlessFolder(memory.filePath("C"))));
    const Operation d = controller.addDisk(scannedSource(listedFolder(path("D"), {"d1.mov"})));
    ASSERT_TRUE(TestSupport::waitUntil([&] { return reading(a) && reading(c); }));
    EXPECT_EQ(b->waitingFor(), a->source());
    EXPECT_EQ(d->waitingFor(), a->source());
    EXPECT_FALSE(b->isExecuting() || b->isFinished() || d->isExecuting() || d->isFinished());
    EXPECT_TRUE(!a->waitingFor() && !c->waitingFor());

    // The first ends; the second runs, the fourth waits for it; the third reads on.
    QSignalSpy waitSpy(d.get(), &HWCSourceOperation::waitingForChanged);
    ASSERT_TRUE(QFile::resize(first + "/endless", 0));
    ASSERT_TRUE(TestSupport::waitUntil([&] { return completedSpy.count() == 3; }));
    EXPECT_EQ(waitSpy.count(), 2) << "waits for the second, then for nobody";
    EXPECT_EQ(b->state(), HWCOperationState::VerifiedOK);
    EXPECT_EQ(d->state(), HWCOperationState::VerifiedOK);
    EXPECT_TRUE(reading(c) && !c->isFinished());
    controller.cancelAllOperations();
    ASSERT_TRUE(TestSupport::waitUntil([&] { return completedSpy.count() == 4; }));
    EXPECT_EQ(c->state(), HWCOperationState::Cancelled);
}
