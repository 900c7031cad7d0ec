#include "HWCSourceCollectionGallery.h"

#include "engine/operations/HWCSource.h"
#include "ui/sources/HWCSourceCollectionViewController.h"

#include <QCoreApplication>
#include <QDir>
#include <QDragEnterEvent>
#include <QEventLoop>
#include <QFile>
#include <QMimeData>
#include <QTemporaryDir>

namespace {

constexpr QSize kScreenSize(500, 400); // two side by side in the gallery

// Sparse files: the sizes a real card has, without the bytes.
void makeFile(const QString &path, qint64 size)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.resize(size);
}

struct Trees {
    QTemporaryDir root;
    QString folder() const { return root.filePath(QStringLiteral("Day 2 Stills")); }
    QString card() const { return root.filePath(QStringLiteral("A001_C007")); }
    QString longName() const
    {
        return root.filePath(QStringLiteral(
            "Second Unit Drone Footage From The Northern Coastline, Afternoon Session"));
    }

    Trees()
    {
        for (int index = 1; index <= 40; ++index)
            makeFile(
                QStringLiteral("%1/IMG_%2.CR3").arg(folder()).arg(index, 4, 10, QLatin1Char('0')),
                31'400'000);
        for (int index = 1; index <= 6; ++index)
            makeFile(QStringLiteral("%1/Clip/A001C%2.MXF")
                         .arg(card())
                         .arg(index, 3, 10, QLatin1Char('0')),
                     7'350'000'000);
        makeFile(card() + QStringLiteral("/A001_C007_2023-05-02_101500.mhl"), 4'200);
        makeFile(longName() + QStringLiteral("/DJI_0001.MP4"), 3'900'000'000);
    }
};

const Trees &trees()
{
    static const Trees shared;
    return shared;
}

HWCSourceCollectionViewController *screen()
{
    auto *controller = new HWCSourceCollectionViewController;
    controller->setFixedSize(kScreenSize);
    return controller;
}

void waitForScan(const HWCSourceCollectionViewController &controller)
{
    const std::shared_ptr<HWCSource> source = controller.disks().value(0);
    if (!source || source->isScanFinished())
        return;
    QEventLoop loop;
    QObject::connect(source.get(), &HWCSource::actionTypeChanged, &loop, &QEventLoop::quit);
    loop.exec();
}

QWidget *showing(const QString &path, bool scanned)
{
    HWCSourceCollectionViewController *controller = screen();
    controller->createNewSourceWithPath(path, 0, QStringLiteral("Gallery"));
    if (scanned)
        waitForScan(*controller);
    return controller;
}

QWidget *dragOver()
{
    HWCSourceCollectionViewController *controller = screen();
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(trees().card())});
    QDragEnterEvent enter(QPoint(100, 100), Qt::CopyAction | Qt::LinkAction, &data, Qt::LeftButton,
                          Qt::NoModifier);
    QCoreApplication::sendEvent(controller->collectionView(), &enter);
    return controller;
}

} // namespace

QList<HWCGalleryEntry> HWCSourceCollectionGallery::entries()
{
    const QString section = QStringLiteral("HWCSourceCollectionViewController");
    return {
        {section, QStringLiteral("empty"), screen},
        {section, QStringLiteral("a drag over it"), dragOver},
        {section, QStringLiteral("a folder ready to create"),
         [] { return showing(trees().folder(), true); }},
        {section, QStringLiteral("a card ready to verify"),
         [] { return showing(trees().card(), true); }},
        {section, QStringLiteral("a long name"), [] { return showing(trees().longName(), true); }},
        // Last, so that no later entry's wait lets its scan end before it is drawn.
        {section, QStringLiteral("a source calculating"),
         [] { return showing(trees().card(), false); }},
    };
}
