#include "HWCOperationScenes.h"

#include "engine/ascmhl/HWCASCMHLNewGeneration.h"
#include "engine/operations/HWCOperationController.h"
#include "engine/operations/HWCSource.h"
#include "engine/operations/HWCSourceOperation.h"
#include "engine/records/HWCOperationInfo.h"
#include "support/VerificationFixtures.h"
#include "ui/operations/HWCCompletedWarningsViewController.h"
#include "ui/operations/HWCOperationViewController.h"
#include "ui/operations/HWCStopConfirmation.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QKeyEvent>
#include <QMessageBox>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QThread>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <QTreeView>

namespace {

constexpr QSize kSceneSize(760, 520);

struct Entry {
    QString file;
    bool withDigest = true;
    // Listed instead of the file's own digest: for a file too large to read for a scene.
    QString digest = {};
};

// An MHL of md5 digests of the files as they are now, with their sizes.
void writeMHL(const QString &folder, const QList<Entry> &entries)
{
    QStringList elements;
    for (const Entry &entry : entries) {
        const QString path = folder + QLatin1Char('/') + entry.file;
        QList<std::pair<QString, QString>> digests;
        if (entry.withDigest)
            digests = {{"md5", entry.digest.isEmpty()
                                   ? VerificationFixtures::toolDigest("md5", path)
                                   : entry.digest}};
        elements << VerificationFixtures::hashElement(entry.file, QFileInfo(path).size(), digests);
    }
    VerificationFixtures::writeMHL(folder + QStringLiteral("/Card.mhl"), elements,
                                   QStringLiteral("Scene 1.0"));
}

// The screen over its own controller and temporary folder; cancels and waits for its
// operations when it goes.
class Scene : public QWidget {
public:
    // Unlisted files are searched for, as in the application; with seal, verifications are
    // recorded in the histories they check.
    explicit Scene(bool seal = false)
        : controller(new HWCOperationController(
              HWCOperationParameters{.searchUnlistedFiles = true, .seal = seal})),
          view(nullptr)
    {
        setFixedSize(kSceneSize);
    }
    ~Scene() override
    {
        for (const auto &operation : controller->operations())
            operation->cancel();
        delete view;
        delete controller;
    }

    QString folder(const QString &name) const { return dir.filePath(name); }

    // afterScan runs between the source's scan and the start of its operation.
    void add(const QString &path, const std::function<void()> &afterScan = {})
    {
        const std::shared_ptr<HWCSource> source = HWCSource::initWithPath(path);
        bool scanned = false;
        QObject::connect(source.get(), &HWCSource::usedSpaceChanged, [&] { scanned = true; });
        TestSupport::waitUntil([&] { return scanned; });
        if (afterScan)
            afterScan();
        controller->addDisk(source);
    }

    void show()
    {
        view = new HWCOperationViewController(controller, this);
        view->resize(kSceneSize);
        // Shown off screen, so that resizes and layouts happen now, as in a window, and a
        // scene can scroll its list before it is rendered.
        setAttribute(Qt::WA_DontShowOnScreen);
        QWidget::show();
    }

    void waitForAll()
    {
        TestSupport::waitUntil([this] {
            const auto &operations = controller->operations();
            return std::all_of(operations.begin(), operations.end(),
                               [](const auto &operation) { return operation->isFinished(); });
        });
        // The completion notices, the panels they post and the bar's rise.
        TestSupport::waitUntil([] { return false; }, std::chrono::milliseconds(600));
    }

    void holdAt(const QString &held)
    {
        TestSupport::waitUntil([&] {
            const auto &operations = controller->operations();
            return !operations.isEmpty() &&
                   operations.last()->info()->currentRelativeFilePath().endsWith(
                       QFileInfo(held).fileName());
        });
        QThread::msleep(150); // a measurable speed
        for (int i = 0; i < 50; ++i)
            QCoreApplication::processEvents();
    }

    QTemporaryDir dir;
    HWCOperationController *controller;
    HWCOperationViewController *view;
};

QList<Entry> clips(const QString &folder, int count, qint64 size)
{
    QList<Entry> entries;
    for (int i = 0; i < count; ++i) {
        const QString name =
            QStringLiteral("A001/A001C%1_240312.mov").arg(i + 1, 3, 10, QChar('0'));
        TestSupport::writeFile(folder + QLatin1Char('/') + name, size, quint32(i + 1));
        entries.append({name});
    }
    return entries;
}

void verifiedCard(Scene &scene, const QString &name)
{
    const QString card = scene.folder(name);
    writeMHL(card, clips(card, 12, 3 << 20));
    scene.add(card);
}

// Twenty files in four kinds of trouble beside a few good ones.
void troubledCard(Scene &scene, const QString &name)
{
    const QString card = scene.folder(name);
    QList<Entry> entries = clips(card, 26, 256 << 10);
    for (int i = 20; i < 25; ++i)
        entries[i].withDigest = false;
    writeMHL(card, entries);
    for (int i = 0; i < 26; ++i) {
        const QString path = card + QLatin1Char('/') + entries[i].file;
        if (i < 6)
            TestSupport::writeFile(path, 256 << 10, 99); // changed after listing
        else if (i < 12)
            QFile::remove(path);
        else if (i < 16) {
            QFile::remove(path); // a folder where the file was: it cannot be read
            QDir().mkpath(path);
        }
    }
    scene.add(card);
}

// Every listed file matches, but two files of the card are in no list.
void unlistedCard(Scene &scene, const QString &name)
{
    const QString card = scene.folder(name);
    writeMHL(card, clips(card, 4, 1 << 20));
    TestSupport::writeFile(card + QStringLiteral("/A001/A001C900_240312.mov"), 1 << 20, 7);
    TestSupport::writeFile(card + QStringLiteral("/A001/A001C901_240312.mov"), 1 << 20, 8);
    scene.add(card);
}

// A card whose history holds md5 digests of four files as they are now, beside a file it does
// not hold yet; with locked, another run holds the history while this one checks it.
void historyCard(Scene &scene, const QString &name, bool locked)
{
    const QString card = scene.folder(name);
    const QList<Entry> entries = clips(card, 4, 1 << 20);
    {
        // It holds the history's lock until it goes.
        HWCASCMHLNewGeneration generation(card, {QStringLiteral("md5")}, {});
        generation.open();
        for (const Entry &entry : entries) {
            const QFileInfo file(card + QLatin1Char('/') + entry.file);
            generation.addFile(entry.file, quint64(file.size()), file.lastModified(),
                               {{"md5", VerificationFixtures::toolDigest("md5", file.filePath())}});
        }
        generation.write();
    }
    TestSupport::writeFile(card + QStringLiteral("/A001/A001C900_240312.mov"), 1 << 20, 7);
    if (locked) {
        const int other = open(QFile::encodeName(card + QStringLiteral("/ascmhl")), O_RDONLY);
        flock(other, LOCK_EX);
        QObject::connect(&scene, &QObject::destroyed, [other] { close(other); });
    }
    scene.add(card);
}

void createdCard(Scene &scene, const QString &name)
{
    const QString card = scene.folder(name);
    clips(card, 8, 2 << 20);
    scene.add(card);
}

// A source whose last file is a large sparse file, listed at its size: the operation is
// still reading it, mid-run, until the scene cancels it, so its listed digest is never
// compared.
QString heldCard(Scene &scene, const QString &name, bool withList)
{
    const QString card = scene.folder(name);
    QList<Entry> entries = clips(card, 6, 24 << 20);
    const QString held = card + QStringLiteral("/A001/A001C999_240312.mov");
    TestSupport::writeFile(held, 96 << 20, 9);
    QFile big(held);
    big.open(QIODevice::ReadWrite);
    big.resize(qint64(4) << 40);
    entries.append({QStringLiteral("A001/A001C999_240312.mov"), true, QString(32, QChar('0'))});
    if (withList)
        writeMHL(card, entries);
    scene.add(card);
    return held;
}

QWidget *finished(const std::function<void(Scene &)> &build, bool seal = false)
{
    auto *scene = new Scene(seal);
    build(*scene);
    scene->show();
    scene->waitForAll();
    return scene;
}

QWidget *held(bool withList, bool cancel)
{
    auto *scene = new Scene;
    const QString file = heldCard(*scene, QStringLiteral("CARD_A"), withList);
    scene->show();
    scene->holdAt(file);
    if (cancel) {
        scene->controller->operations().last()->cancel();
        scene->waitForAll();
    }
    return scene;
}

// Four cards at once, compact rows, scrolled to the end when asked.
QWidget *severalCards(bool toEnd)
{
    auto *scene = static_cast<Scene *>(finished([](Scene &s) {
        verifiedCard(s, QStringLiteral("CARD_A"));
        createdCard(s, QStringLiteral("CARD_C"));
        unlistedCard(s, QStringLiteral("CARD_F"));
        troubledCard(s, QStringLiteral("CARD_B"));
    }));
    QScrollBar *bar = scene->view->tableView()->verticalScrollBar();
    bar->setValue(toEnd ? bar->maximum() : 0);
    return scene;
}

// Two cards still being read side by side.
QWidget *twoRunning()
{
    auto *scene = new Scene;
    heldCard(*scene, QStringLiteral("CARD_A"), true);
    const QString file = heldCard(*scene, QStringLiteral("CARD_B"), false);
    scene->show();
    scene->holdAt(file);
    return scene;
}

// The troubled card with its changed first file chosen and opened with Right: the detail in
// place and below the table.
QWidget *detailPane()
{
    auto *scene =
        static_cast<Scene *>(finished([](Scene &s) { troubledCard(s, QStringLiteral("CARD_B")); }));
    QTreeView *table = scene->findChild<HWCCompletedWarningsViewController *>()->tableView();
    table->setCurrentIndex(table->model()->index(0, 0));
    QKeyEvent right(QEvent::KeyPress, Qt::Key_Right, Qt::NoModifier);
    QCoreApplication::sendEvent(table, &right);
    return scene;
}

// What Done asks while two verifications run.
QWidget *stopQuestion()
{
    static QTemporaryDir dir;
    const auto source = HWCSource::initWithPath(dir.path());
    const HWCOperationController::Operations running{
        std::make_shared<HWCVerificationOperation>(HWCOperationParameters{source}),
        std::make_shared<HWCVerificationOperation>(HWCOperationParameters{source})};
    QMessageBox *box = HWCStopConfirmation::makeQuestion(nullptr, running);
    box->setAttribute(Qt::WA_DeleteOnClose, false);
    return box;
}

} // namespace

QList<HWCGalleryEntry> operationScenes()
{
    const QString section = QStringLiteral("Operation list");
    QList<HWCGalleryEntry> scenes{
        {section, QStringLiteral("verifying"), [] { return held(true, false); }},
        {section, QStringLiteral("creating"), [] { return held(false, false); }},
        {section, QStringLiteral("verified OK"),
         [] { return finished([](Scene &s) { verifiedCard(s, QStringLiteral("CARD_A")); }); }},
        {section, QStringLiteral("failed: hash fails, missing and unreadable files"),
         [] { return finished([](Scene &s) { troubledCard(s, QStringLiteral("CARD_B")); }); }},
        {section, QStringLiteral("cancelled"), [] { return held(true, true); }},
        {section, QStringLiteral("no MHL left: the list vanished after the scan"),
         [] {
             return finished([](Scene &s) {
                 const QString card = s.folder(QStringLiteral("CARD_D"));
                 clips(card, 3, 1 << 20);
                 writeMHL(card, {});
                 // The list vanishes after the scan found it.
                 s.add(card, [card] { QFile::remove(card + QStringLiteral("/Card.mhl")); });
             });
         }},
        {section, QStringLiteral("created OK"),
         [] { return finished([](Scene &s) { createdCard(s, QStringLiteral("CARD_C")); }); }},
        {section, QStringLiteral("MHL not written"),
         [] {
             return finished([](Scene &s) {
                 const QString card = s.folder(QStringLiteral("CARD_E"));
                 clips(card, 4, 1 << 20);
                 // Folders at every name the list can get in the next minute.
                 const QDateTime now = QDateTime::currentDateTime();
                 for (int second = -1; second < 60; ++second)
                     QDir().mkpath(
                         card + QStringLiteral("/Hashwarden Media Hash List - %1.mhl/kept")
                                    .arg(now.addSecs(second).toString("yyyy-MM-dd 'at' HH.mm.ss")));
                 s.add(card);
             });
         }},
    };
    scenes += {
        {section, QStringLiteral("warnings: files not listed in any MHL"),
         [] { return finished([](Scene &s) { unlistedCard(s, QStringLiteral("CARD_F")); }); }},
        {section, QStringLiteral("detail of a hash fail"), [] { return detailPane(); }},
        {section, QStringLiteral("sealed: a generation recorded, with a new file"),
         [] {
             return finished([](Scene &s) { historyCard(s, QStringLiteral("CARD_G"), false); },
                             true);
         }},
        {section, QStringLiteral("sealed: the history could not be recorded"),
         [] {
             return finished([](Scene &s) { historyCard(s, QStringLiteral("CARD_H"), true); },
                             true);
         }},
        {section, QStringLiteral("four cards at once"), [] { return severalCards(false); }},
        {section, QStringLiteral("four cards at once, scrolled to the end"),
         [] { return severalCards(true); }},
        {section, QStringLiteral("two cards running"), [] { return twoRunning(); }},
        {section, QStringLiteral("stop question"), [] { return stopQuestion(); }},
    };
    return scenes;
}
