#include "ui/sources/HWCSourceCollectionViewController.h"

#include "engine/operations/HWCSource.h"
#include "engine/records/HWCStringAdditions.h"
#include "engine/session/HWCAnalytics.h"
#include "engine/session/HWCLog.h"
#include "engine/session/HWCNotificationCenter.h"
#include "ui/controls/HWCHoverButtonCell.h"
#include "ui/drawing/HWCPoofAnimation.h"
#include "ui/drawing/HWCStyleKit.h"
#include "ui/sources/HWCDiskCollectionViewItem.h"
#include "ui/sources/HWCSourceCollectionOpenPanel.h"

#include <QCursor>
#include <QDir>
#include <QDropEvent>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMimeData>
#include <QPainter>
#include <QShortcut>
#include <QStorageInfo>
#include <QVBoxLayout>
#include <optional>

namespace {

const QString kAppOpenedWithMHL = QStringLiteral("App Opened with MHL");
const QString kBrowsePressed = QStringLiteral("Browse Pressed");
const QString kDraggedFromFinder = QStringLiteral("Dragged from Finder");

// The local path a dropped URL names. Reading a URL turns bytes of a name that are not
// valid UTF-8 into U+FFFD, so such a path names another file or none: it is refused rather
// than shown as a source that is not the one dropped.
std::optional<QString> localPath(const QUrl &url)
{
    if (!url.isLocalFile())
        return std::nullopt;
    const QString path = url.toLocalFile();
    if (path.contains(QChar::ReplacementCharacter) && !QFileInfo::exists(path)) {
        HWCLogWarning(
            QStringLiteral("Can't use the dropped path %1: its name is not valid UTF-8").arg(path));
        return std::nullopt;
    }
    return path;
}

} // namespace

HWCSourceCollectionViewController::HWCSourceCollectionViewController(QWidget *parent)
    : QWidget(parent), m_collectionView(new HWCSourceCollectionView),
      m_browseButton(new HWCHoverButtonCell)
{
    setAccessibleName(tr("Choose a source"));
    m_collectionView->setDelegate(this);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 20, 20, 14);
    layout->setSpacing(10);
    layout->addWidget(m_collectionView, 1);
    layout->addWidget(m_browseButton, 0, Qt::AlignHCenter);
    updateBrowseButton();
    connect(m_browseButton, &QAbstractButton::clicked, this,
            &HWCSourceCollectionViewController::browsePressed);
    connect(m_collectionView, &HWCSourceCollectionView::activated, this,
            &HWCSourceCollectionViewController::browsePressed);
    connect(this, &HWCSourceCollectionViewController::isPopulatedChanged, this,
            &HWCSourceCollectionViewController::updateBrowseButton);
    auto *open = new QShortcut(QKeySequence::Open, this);
    open->setContext(Qt::WidgetWithChildrenShortcut);
    connect(open, &QShortcut::activated, this, &HWCSourceCollectionViewController::browsePressed);
    connect(&HWCNotificationCenter::defaultCenter(), &HWCNotificationCenter::posted, this,
            [this](const QString &name, const QVariantMap &userInfo) {
                if (name == QLatin1String(kHWCAppOpenedWithMHLNotification))
                    appOpenedWithMHL(userInfo);
            });
}

// Connections end with the object; declared here so that HWCSource may stay incomplete.
HWCSourceCollectionViewController::~HWCSourceCollectionViewController() = default;

HWCSourceCollectionOpenPanel *HWCSourceCollectionViewController::openPanel() const
{
    return m_openPanel;
}

void HWCSourceCollectionViewController::setActionReceivedBlock(ActionReceivedBlock block)
{
    m_actionReceivedBlock = std::move(block);
}

bool HWCSourceCollectionViewController::createNewSourceWithPath(const QString &path, int index,
                                                                const QString &analyticsInfo)
{
    std::shared_ptr<HWCSource> source = HWCSource::initWithPath(path);
    if (!source)
        return false;
    if (m_disks.size() == maxNumberOfItems())
        m_disks[std::clamp(index, 0, int(m_disks.size()) - 1)] = source;
    else
        m_disks.insert(std::clamp(index, 0, int(m_disks.size())), source);
    Q_EMIT isPopulatedChanged(true);
    m_collectionView->reloadData();
    // Until its scan has ended a source does not know whether it is verified or listed.
    connect(
        source.get(), &HWCSource::actionTypeChanged, this,
        [this, scanned = source.get(), analyticsInfo] { reportNewAction(*scanned, analyticsInfo); },
        Qt::SingleShotConnection);
    return true;
}

void HWCSourceCollectionViewController::reportNewAction(const HWCSource &source,
                                                        const QString &analyticsInfo) const
{
    const QVariantMap properties{
        {QStringLiteral("1 - Type"), source.actionType() == HWCActionType::Create
                                         ? QStringLiteral("Create")
                                         : QStringLiteral("Verify")},
        {QStringLiteral("2 - Source"), sourceKindForPath(source.path())},
        {QStringLiteral("3 - Method"), analyticsInfo},
    };
    const QByteArray text =
        QJsonDocument(QJsonObject::fromVariantMap(properties)).toJson(QJsonDocument::Compact);
    HWCLogInfo(QStringLiteral("New Action: %1").arg(QString::fromUtf8(text)));
    HWCAnalytics::event(QStringLiteral("New Action"), properties);
}

QString HWCSourceCollectionViewController::sourceKindForPath(const QString &path)
{
    const QString cleaned = QDir::cleanPath(QDir(path).absolutePath());
    for (const QStorageInfo &volume : QStorageInfo::mountedVolumes()) {
        if (volume.isValid() && volume.isReady() && volume.rootPath() == cleaned)
            return QStringLiteral("Disk");
    }
    if (hwc_isMediaHashListPath(path))
        return QStringLiteral("MHL");
    return QStringLiteral("Directory");
}

HWCDiskCollectionViewItem *HWCSourceCollectionViewController::itemForIndex(int index)
{
    auto *item = new HWCDiskCollectionViewItem;
    item->setRepresentedObject(m_disks.value(index));
    item->setController(this);
    return item;
}

void HWCSourceCollectionViewController::receivedActionFromItemAtIndexPath(int index)
{
    const std::shared_ptr<HWCSource> source = m_disks.value(index);
    // Until its scan has ended a source does not know its action.
    if (!source || !source->isScanFinished() || !m_actionReceivedBlock)
        return;
    m_actionReceivedBlock(source);
}

bool HWCSourceCollectionViewController::canDragItemsAtIndexes(const QList<int> &indexes)
{
    m_indexPathsOfItemsBeingDragged = indexes;
    return true;
}

QUrl HWCSourceCollectionViewController::pasteboardWriterForItemAtIndexPath(int index)
{
    const std::shared_ptr<HWCSource> source = m_disks.value(index);
    return source ? QUrl::fromLocalFile(QFileInfo(source->path()).absoluteFilePath()) : QUrl();
}

void HWCSourceCollectionViewController::draggingSessionEnded(const QPoint &endPoint, Qt::DropAction)
{
    const QList<int> dragged = std::exchange(m_indexPathsOfItemsBeingDragged, {});
    if (dragged.isEmpty() || window()->frameGeometry().contains(endPoint))
        return;
    removeSourceAtIndex(dragged.first());
    HWCPoofAnimation::showAtPoint(QCursor::pos());
}

void HWCSourceCollectionViewController::removeSourceAtIndex(int index)
{
    if (index < 0 || index >= m_disks.size())
        return;
    m_disks.removeAt(index);
    Q_EMIT isPopulatedChanged(isPopulated());
    m_collectionView->reloadData();
}

Qt::DropAction HWCSourceCollectionViewController::validateDrop(int, HWCDropOperation &operation)
{
    if (operation == HWCDropOperation::On)
        operation = HWCDropOperation::Before;
    return m_indexPathsOfItemsBeingDragged.isEmpty() ? Qt::CopyAction : Qt::IgnoreAction;
}

bool HWCSourceCollectionViewController::acceptDrop(const QDropEvent &drop, int index,
                                                   HWCDropOperation)
{
    // A drag that started in this application (a source dragged within the window) changes
    // nothing, and is not a failure.
    if (drop.source())
        return true;
    const QList<QUrl> urls = drop.mimeData()->urls();
    if (urls.isEmpty())
        return false;
    const std::optional<QString> path = localPath(urls.first());
    return path && createNewSourceWithPath(*path, index, kDraggedFromFinder);
}

void HWCSourceCollectionViewController::browsePressed()
{
    if (m_openPanel) {
        m_openPanel->raise();
        return;
    }
    m_openPanel = new HWCSourceCollectionOpenPanel(this);
    connect(m_openPanel, &QDialog::finished, this,
            &HWCSourceCollectionViewController::openPanelEnded);
    m_openPanel->open();
}

void HWCSourceCollectionViewController::openPanelEnded(int result)
{
    const QString path = m_openPanel ? m_openPanel->chosenPath() : QString();
    if (m_openPanel)
        m_openPanel->deleteLater();
    m_openPanel = nullptr;
    if (result != QDialog::Accepted || path.isEmpty()) {
        HWCLogError(QStringLiteral("Can't export failed files (result: %1)").arg(result));
        return;
    }
    createNewSourceWithPath(path, 0, kBrowsePressed);
}

void HWCSourceCollectionViewController::appOpenedWithMHL(const QVariantMap &userInfo)
{
    if (isPopulated() || !isVisible()) {
        HWCLogWarning(
            QStringLiteral("Won't create a new Verification source, because one already exists"));
        return;
    }
    createNewSourceWithPath(userInfo.value(QLatin1String(kHWCFilenameKey)).toString(), 0,
                            kAppOpenedWithMHL);
}

void HWCSourceCollectionViewController::updateBrowseButton()
{
    m_browseButton->setText(isPopulated() ? tr("Choose Another...") : tr("Choose..."));
    m_browseButton->setAccessibleName(isPopulated() ? tr("Choose another source")
                                                    : tr("Choose a source"));
    m_browseButton->setToolTip(QKeySequence(QKeySequence::Open).toString(QKeySequence::NativeText));
}

void HWCSourceCollectionViewController::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    HWCStyleKit::drawBackgroundViewWithFrame(painter, rect());
}
