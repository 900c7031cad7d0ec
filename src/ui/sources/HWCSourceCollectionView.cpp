#include "ui/sources/HWCSourceCollectionView.h"

#include "ui/drawing/HWCArtwork.h"
#include "ui/drawing/HWCStyleKit.h"
#include "ui/drawing/HWLStylekit.h"
#include "ui/sources/HWCCollectionViewGridLayout.h"
#include "ui/sources/HWCDiskCollectionViewItem.h"

#include <QAbstractButton>
#include <QCursor>
#include <QDrag>
#include <QDropEvent>
#include <QMimeData>
#include <QPainter>

namespace {

// A drop only ever reads the dropped paths. Offering to take a move would let a file
// manager delete the user's media once the drop succeeds, so a link (or else a copy, which
// the sender leaves in place) is the only answer given.
Qt::DropAction harmlessAction(Qt::DropActions possible)
{
    if (possible & Qt::LinkAction)
        return Qt::LinkAction;
    if (possible & Qt::CopyAction)
        return Qt::CopyAction;
    return Qt::IgnoreAction;
}

// Under the drop glyph that the kit centres in the zone.
QRectF invitationFrame(const QRectF &bounds)
{
    const QRectF zone = bounds.adjusted(4, 4, -4, -4);
    const qreal glyph = std::clamp(std::min(zone.width(), zone.height()) * 0.4, 0.0, 96.0);
    const qreal top = zone.center().y() + glyph / 2 + 14;
    return QRectF(zone.left() + 16, top, zone.width() - 32, zone.bottom() - top - 8);
}

} // namespace

HWCSourceCollectionView::HWCSourceCollectionView(QWidget *parent)
    : QWidget(parent), m_layout(new HWCCollectionViewGridLayout(this))
{
    setAcceptDrops(true);
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(300, 300);
    updateAccessibleText();
}

QString HWCSourceCollectionView::invitationText()
{
    return tr("Drop a disk, a folder or an MHL file here, or press Ctrl+O to choose one.");
}

void HWCSourceCollectionView::reloadData()
{
    for (HWCDiskCollectionViewItem *item : std::as_const(m_items)) {
        m_layout->removeWidget(item);
        item->hide();
        item->deleteLater();
    }
    m_items.clear();
    const int count = m_delegate ? m_delegate->numberOfItems() : 0;
    for (int index = 0; index < count; ++index) {
        HWCDiskCollectionViewItem *item = m_delegate->itemForIndex(index);
        item->setCollectionView(this);
        item->setHighlighted(m_dragging);
        m_layout->addWidget(item);
        m_items.append(item);
        item->show();
    }
    // The area comes before its items when the user tabs through the screen.
    QWidget *previous = this;
    for (HWCDiskCollectionViewItem *item : std::as_const(m_items)) {
        setTabOrder(previous, item);
        setTabOrder(item, item->button());
        previous = item->button();
    }
    updateAccessibleText();
    update();
}

void HWCSourceCollectionView::verifyDiskPressed(HWCDiskCollectionViewItem *item)
{
    if (m_delegate)
        m_delegate->receivedActionFromItemAtIndexPath(std::max(0, int(m_items.indexOf(item))));
}

void HWCSourceCollectionView::beginDraggingItem(HWCDiskCollectionViewItem *item)
{
    const int index = int(m_items.indexOf(item));
    if (index < 0 || !m_delegate || !m_delegate->canDragItemsAtIndexes({index}))
        return;
    const QUrl url = m_delegate->pasteboardWriterForItemAtIndexPath(index);
    auto *mimeData = new QMimeData;
    mimeData->setUrls({url});
    mimeData->setText(url.toLocalFile());
    auto *drag = new QDrag(this); // deleted by Qt once the drag ends
    drag->setMimeData(mimeData);
    drag->setPixmap(item->grab());
    drag->setHotSpot(item->mapFromGlobal(QCursor::pos()));
    const QPointer<HWCSourceCollectionView> alive(this);
    // Only a link: a file manager must never move, copy or delete the user's media.
    const Qt::DropAction action = drag->exec(Qt::LinkAction, Qt::LinkAction);
    if (!alive)
        return;
    m_delegate->draggingSessionEnded(QCursor::pos(), action);
}

void HWCSourceCollectionView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRectF bounds = rect();
    if (!m_items.isEmpty()) {
        HWLStylekit::drawDropZoneViewWithFrame(painter, bounds);
    } else if (m_dragging) {
        HWCStyleKit::drawActiveDropZoneViewWithFrame(painter, bounds);
    } else {
        HWCStyleKit::drawEmptyDropZoneViewWithFrame(painter, bounds);
        QFont font = painter.font();
        font.setPixelSize(13);
        painter.setFont(font);
        painter.setPen(HWCStyleKit::secondaryTextColor());
        painter.drawText(invitationFrame(bounds),
                         Qt::AlignHCenter | Qt::AlignTop | Qt::TextWordWrap, invitationText());
    }
    if (hasFocus())
        HWCArtwork::drawFocusRing(painter, bounds.adjusted(6, 6, -6, -6), 10);
}

void HWCSourceCollectionView::dragEnterEvent(QDragEnterEvent *event)
{
    const Qt::DropAction action = harmlessAction(event->possibleActions());
    if (!event->mimeData()->hasUrls() || action == Qt::IgnoreAction) {
        event->ignore();
        return;
    }
    m_indexPath = 0;
    m_dropOperation = HWCDropOperation::On;
    // Only the adjusted operation is kept: a drag from inside the application is turned
    // away when it is dropped, not while it moves.
    if (m_delegate)
        m_delegate->validateDrop(m_indexPath, m_dropOperation);
    event->setDropAction(action);
    event->accept();
    setDragging(true);
}

void HWCSourceCollectionView::dragMoveEvent(QDragMoveEvent *event)
{
    event->setDropAction(harmlessAction(event->possibleActions()));
    event->accept();
}

void HWCSourceCollectionView::dragLeaveEvent(QDragLeaveEvent *)
{
    setDragging(false);
}

void HWCSourceCollectionView::dropEvent(QDropEvent *event)
{
    setDragging(false);
    if (m_delegate && m_delegate->acceptDrop(*event, m_indexPath, m_dropOperation)) {
        event->setDropAction(harmlessAction(event->possibleActions()));
        event->accept();
    } else {
        event->ignore();
    }
}

void HWCSourceCollectionView::keyPressEvent(QKeyEvent *event)
{
    const bool activates = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter ||
                           event->key() == Qt::Key_Space;
    if (activates && m_items.isEmpty()) {
        Q_EMIT activated();
        return;
    }
    QWidget::keyPressEvent(event);
}

void HWCSourceCollectionView::setDragging(bool dragging)
{
    m_dragging = dragging;
    for (HWCDiskCollectionViewItem *item : std::as_const(m_items))
        item->setHighlighted(dragging);
    update();
}

void HWCSourceCollectionView::updateAccessibleText()
{
    setAccessibleName(tr("Source drop area"));
    setAccessibleDescription(m_items.isEmpty() ? invitationText()
                                               : tr("Holds the chosen source. Drop another "
                                                    "one here to replace it."));
}
