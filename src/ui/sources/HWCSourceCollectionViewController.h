#pragma once

#include "ui/sources/HWCSourceCollectionView.h"

#include <QList>
#include <QPointer>
#include <QVariantMap>
#include <QWidget>
#include <functional>
#include <memory>

class HWCHoverButtonCell;
class HWCSource;
class HWCSourceCollectionOpenPanel;

// The first screen: a drop area that shows at most one source. A source arrives by a drop
// of file URLs from another application, by the open panel (also Ctrl+O), or by the
// "AppOpenedWithMHL" notification while the screen is shown and empty; each new source is
// reported as a "New Action" event once its scan has decided its action. The source's
// action button hands it to actionReceivedBlock once its scan has ended. Dragging the source
// out of the window removes it. Main thread.
class HWCSourceCollectionViewController : public QWidget, public HWCSourceCollectionViewDelegate {
    Q_OBJECT
    Q_PROPERTY(bool isPopulated READ isPopulated NOTIFY isPopulatedChanged)

public:
    using ActionReceivedBlock = std::function<void(const std::shared_ptr<HWCSource> &)>;

    explicit HWCSourceCollectionViewController(QWidget *parent = nullptr);
    ~HWCSourceCollectionViewController() override;

    static int maxNumberOfItems() { return 1; }

    HWCSourceCollectionView *collectionView() const { return m_collectionView; }
    const QList<std::shared_ptr<HWCSource>> &disks() const { return m_disks; }
    bool isPopulated() const { return !m_disks.isEmpty(); }
    void setActionReceivedBlock(ActionReceivedBlock block);
    // The indexes of a drag that started here; empty while no such drag is under way.
    QList<int> indexPathsOfItemsBeingDragged() const { return m_indexPathsOfItemsBeingDragged; }
    // The open panel while it is shown, else null.
    HWCSourceCollectionOpenPanel *openPanel() const;

    // Makes a source of path and shows it at index, taking the place of the one shown when
    // the collection is full; analyticsInfo is the event's "3 - Method". False, with nothing
    // changed, for an ordinary file.
    bool createNewSourceWithPath(const QString &path, int index, const QString &analyticsInfo);

    // The event's "2 - Source": "Disk" for the mount point of a mounted volume, "MHL" for an
    // MHL file, else "Directory".
    static QString sourceKindForPath(const QString &path);

    // HWCSourceCollectionViewDelegate
    int numberOfItems() const override { return int(m_disks.size()); }
    HWCDiskCollectionViewItem *itemForIndex(int index) override;
    void receivedActionFromItemAtIndexPath(int index) override;
    bool canDragItemsAtIndexes(const QList<int> &indexes) override;
    QUrl pasteboardWriterForItemAtIndexPath(int index) override;
    void draggingSessionEnded(const QPoint &endPoint, Qt::DropAction action) override;
    Qt::DropAction validateDrop(int index, HWCDropOperation &operation) override;
    bool acceptDrop(const QDropEvent &drop, int index, HWCDropOperation operation) override;

public Q_SLOTS:
    void browsePressed();
    // Acts on the notification only while shown and empty; "filename" is the MHL's path.
    void appOpenedWithMHL(const QVariantMap &userInfo);

Q_SIGNALS:
    // After every insertion, replacement and removal.
    void isPopulatedChanged(bool populated);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void openPanelEnded(int result);
    void removeSourceAtIndex(int index);
    void reportNewAction(const HWCSource &source, const QString &analyticsInfo) const;
    void updateBrowseButton();

    QList<std::shared_ptr<HWCSource>> m_disks;
    ActionReceivedBlock m_actionReceivedBlock;
    QList<int> m_indexPathsOfItemsBeingDragged;
    HWCSourceCollectionView *m_collectionView;
    HWCHoverButtonCell *m_browseButton;
    QPointer<HWCSourceCollectionOpenPanel> m_openPanel;
};
