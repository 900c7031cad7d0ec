#include "ui/sources/HWCDiskCollectionViewItem.h"

#include "engine/operations/HWCSource.h"
#include "engine/records/HWCActionTypeToStringValueTransformer.h"
#include "engine/records/HWIDiskSpaceToStringValueTransformer.h"
#include "ui/controls/HWIBigButtonCell.h"
#include "ui/drawing/HWCArtwork.h"
#include "ui/drawing/HWCStyleKit.h"
#include "ui/sources/HWCSourceCollectionView.h"
#include "ui/sources/HWCSourceCollectionViewController.h"

#include <QAbstractFileIconProvider>
#include <QApplication>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace {

constexpr QSize kItemSize(240, 232);
constexpr int kTextWidth = 210;
constexpr qreal kCornerRadius = 12;

QLabel *textLabel(int pixelSize, const QColor &color)
{
    auto *label = new QLabel;
    QFont font = label->font();
    font.setPixelSize(pixelSize);
    label->setFont(font);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, color);
    label->setPalette(palette);
    label->setAlignment(Qt::AlignCenter);
    label->setFixedWidth(kTextWidth);
    return label;
}

// The workspace icon when the desktop has one, else the widget style's generic one.
QPixmap iconPixmap(const HWCSource &source, const QWidget &widget)
{
    const QFileInfo file(source.path());
    QIcon icon = QAbstractFileIconProvider().icon(file);
    if (icon.isNull())
        icon = QFileIconProvider().icon(file);
    const QSize side(HWCDiskCollectionViewItem::kIconSide, HWCDiskCollectionViewItem::kIconSide);
    return icon.pixmap(side, widget.devicePixelRatioF());
}

} // namespace

HWCDiskCollectionViewItem::HWCDiskCollectionViewItem(QWidget *parent)
    : QWidget(parent), m_imageView(new QLabel), m_textField(textLabel(14, Qt::white)),
      m_subTextField(textLabel(12, HWCStyleKit::secondaryTextColor())),
      m_button(new HWIBigButtonCell)
{
    setFocusPolicy(Qt::StrongFocus);
    m_imageView->setFixedSize(kIconSide, kIconSide);
    m_imageView->setAlignment(Qt::AlignCenter);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(14, 16, 14, 16);
    layout->setSpacing(6);
    layout->addWidget(m_imageView, 0, Qt::AlignHCenter);
    layout->addWidget(m_textField, 0, Qt::AlignHCenter);
    layout->addWidget(m_subTextField, 0, Qt::AlignHCenter);
    layout->addStretch();
    layout->addWidget(m_button, 0, Qt::AlignHCenter);
    m_button->hide();
    connect(m_button, &QAbstractButton::clicked, this, [this] {
        if (m_collectionView)
            m_collectionView->verifyDiskPressed(this);
    });
    setRepresentedObject(nullptr);
}

HWCSourceCollectionViewController *HWCDiskCollectionViewItem::controller() const
{
    return m_controller;
}

void HWCDiskCollectionViewItem::setController(HWCSourceCollectionViewController *controller)
{
    m_controller = controller;
}

void HWCDiskCollectionViewItem::setCollectionView(HWCSourceCollectionView *view)
{
    m_collectionView = view;
}

void HWCDiskCollectionViewItem::setRepresentedObject(std::shared_ptr<HWCSource> source)
{
    if (m_source)
        disconnect(m_source.get(), nullptr, this, nullptr);
    m_source = std::move(source);
    m_button->hide();
    if (!m_source) {
        m_name = QStringLiteral("...");
        m_imageView->clear();
        m_textField->setText(m_name);
        m_subTextField->clear();
        updateAccessibleText();
        return;
    }
    m_name = QFileInfo(m_source->path()).fileName();
    if (m_name.isEmpty()) // the root of the file system has no last component
        m_name = m_source->path();
    m_imageView->setPixmap(iconPixmap(*m_source, *this));
    m_textField->setText(
        m_textField->fontMetrics().elidedText(m_name, Qt::ElideMiddle, kTextWidth));
    m_textField->setToolTip(m_source->path());
    m_subTextField->setText(tr("Calculating..."));
    connect(m_source.get(), &HWCSource::usedSpaceChanged, this,
            &HWCDiskCollectionViewItem::showUsedSpace);
    connect(m_source.get(), &HWCSource::actionTypeChanged, this,
            &HWCDiskCollectionViewItem::showActionType);
    updateAccessibleText();
}

void HWCDiskCollectionViewItem::showUsedSpace()
{
    m_subTextField->setText(HWIDiskSpaceToStringValueTransformer::transformedValue(
        QVariant::fromValue(m_source->usedSpace())));
    updateAccessibleText();
}

void HWCDiskCollectionViewItem::showActionType()
{
    m_button->setText(
        HWCActionTypeToStringValueTransformer::transformedValue(hwc_code(m_source->actionType())));
    m_button->show();
    updateAccessibleText();
}

void HWCDiskCollectionViewItem::updateAccessibleText()
{
    setAccessibleName(m_name);
    const bool ready = !m_button->isHidden();
    setAccessibleDescription(ready ? tr("%1, %2").arg(m_subTextField->text(), m_button->text())
                                   : m_subTextField->text());
    m_button->setAccessibleName(tr("%1 %2").arg(m_button->text(), m_name));
}

void HWCDiskCollectionViewItem::setHighlighted(bool highlighted)
{
    if (highlighted == m_highlighted)
        return;
    m_highlighted = highlighted;
    update();
}

QSize HWCDiskCollectionViewItem::sizeHint() const
{
    return kItemSize;
}

void HWCDiskCollectionViewItem::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame = QRectF(rect()).adjusted(2.5, 2.5, -2.5, -2.5);
    const QPainterPath outline = HWCArtwork::roundedRect(frame, kCornerRadius);
    painter.fillPath(outline, HWCStyleKit::backgroundColorSlightlyLighter());
    if (borderWidth() > 0) {
        QColor border(Qt::lightGray);
        border.setAlphaF(0.5f); // light grey that sits back on the dark card
        painter.strokePath(outline, QPen(border, borderWidth()));
    }
    if (hasFocus())
        HWCArtwork::drawFocusRing(painter, frame.adjusted(4, 4, -4, -4), kCornerRadius - 2);
}

void HWCDiskCollectionViewItem::mousePressEvent(QMouseEvent *event)
{
    m_pressed = event->button() == Qt::LeftButton;
    m_pressPosition = event->position().toPoint();
    QWidget::mousePressEvent(event);
}

void HWCDiskCollectionViewItem::mouseMoveEvent(QMouseEvent *event)
{
    const bool far = (event->position().toPoint() - m_pressPosition).manhattanLength() >=
                     QApplication::startDragDistance();
    if (!m_pressed || !(event->buttons() & Qt::LeftButton) || !far || !m_collectionView)
        return;
    m_pressed = false;
    // The drag may end with this card removed: nothing may touch it afterwards.
    m_collectionView->beginDraggingItem(this);
}

void HWCDiskCollectionViewItem::keyPressEvent(QKeyEvent *event)
{
    const bool activates = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter ||
                           event->key() == Qt::Key_Space;
    if (activates && !m_button->isHidden()) {
        m_button->animateClick();
        return;
    }
    QWidget::keyPressEvent(event);
}
