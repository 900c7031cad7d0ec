#pragma once

#include <QList>
#include <QPointer>
#include <QUrl>
#include <QWidget>

class HWCCollectionViewGridLayout;
class HWCDiskCollectionViewItem;
class QDropEvent;

// Where a drop lands relative to the item at its index.
enum class HWCDropOperation { On, Before };

// What the drop area asks of the screen that drives it: its items, its drags, its drops.
// Main thread.
class HWCSourceCollectionViewDelegate {
public:
    virtual int numberOfItems() const = 0;
    virtual HWCDiskCollectionViewItem *itemForIndex(int index) = 0;
    virtual void receivedActionFromItemAtIndexPath(int index) = 0;

    virtual bool canDragItemsAtIndexes(const QList<int> &indexes) = 0;
    virtual QUrl pasteboardWriterForItemAtIndexPath(int index) = 0;
    // endPoint in global coordinates.
    virtual void draggingSessionEnded(const QPoint &endPoint, Qt::DropAction action) = 0;

    // May turn operation into another; answers the action it would take.
    virtual Qt::DropAction validateDrop(int index, HWCDropOperation &operation) = 0;
    virtual bool acceptDrop(const QDropEvent &drop, int index, HWCDropOperation operation) = 0;

protected:
    ~HWCSourceCollectionViewDelegate() = default;
};

// The drop area: holds the items in a grid, accepts file URLs dragged in from other
// applications, starts the drag of an item out of the window, and draws itself as an
// inviting empty zone, an active zone while a drag is over it with nothing shown, or a
// quiet frame around what it shows. Main thread.
class HWCSourceCollectionView : public QWidget {
    Q_OBJECT

public:
    explicit HWCSourceCollectionView(QWidget *parent = nullptr);

    void setDelegate(HWCSourceCollectionViewDelegate *delegate) { m_delegate = delegate; }

    // Makes the items afresh from the delegate.
    void reloadData();
    QList<HWCDiskCollectionViewItem *> visibleItems() const { return m_items; }

    bool isDragging() const { return m_dragging; }
    HWCDropOperation dropOperation() const { return m_dropOperation; }

    // The button of item was pressed: the delegate acts on its index, on index 0 when the
    // item is not one of this view's.
    void verifyDiskPressed(HWCDiskCollectionViewItem *item);
    // Runs the drag of item until it ends (a nested event loop); item may be gone after.
    void beginDraggingItem(HWCDiskCollectionViewItem *item);

    // What the empty area invites, for people and for screen readers.
    static QString invitationText();

Q_SIGNALS:
    // Return or Space on the focused, empty area.
    void activated();

protected:
    void paintEvent(QPaintEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void setDragging(bool dragging);
    void updateAccessibleText();

    HWCSourceCollectionViewDelegate *m_delegate = nullptr;
    HWCCollectionViewGridLayout *m_layout;
    QList<HWCDiskCollectionViewItem *> m_items;
    int m_indexPath = 0;
    HWCDropOperation m_dropOperation = HWCDropOperation::On;
    bool m_dragging = false;
};
