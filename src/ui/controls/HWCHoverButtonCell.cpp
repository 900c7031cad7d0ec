#include "ui/controls/HWCHoverButtonCell.h"

#include "ui/drawing/HWCArtwork.h"
#include "ui/drawing/HWCStyleKit.h"

#include <QKeyEvent>
#include <QPainter>

namespace {

constexpr qreal kBezelRadius = 4;
constexpr int kTitlePixelSize = 13;
constexpr int kPadding = 10;

QFont titleFont(const QFont &base)
{
    QFont font = base;
    font.setPixelSize(kTitlePixelSize);
    return font;
}

} // namespace

HWCHoverButtonCell::HWCHoverButtonCell(const QString &title, QWidget *parent)
    : QAbstractButton(parent)
{
    setText(title);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
}

QSize HWCHoverButtonCell::sizeHint() const
{
    const QFontMetrics metrics(titleFont(font()));
    const int iconWidth = icon().isNull() ? 0 : iconSize().width() + 6;
    return QSize(metrics.horizontalAdvance(text()) + iconWidth + 2 * kPadding, 26);
}

void HWCHoverButtonCell::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame = rect();
    if (m_hovered && isEnabled())
        painter.fillPath(HWCArtwork::roundedRect(frame, kBezelRadius),
                         HWCStyleKit::hoverButtonColor());
    if (hasFocus())
        HWCArtwork::drawFocusRing(painter, frame, kBezelRadius);

    QRect content = rect().adjusted(kPadding, 1, -kPadding, 0); // one point of space above
    if (!icon().isNull()) {
        const QSize size = iconSize();
        const QRect iconRect(content.left(), (height() - size.height()) / 2, size.width(),
                             size.height());
        icon().paint(&painter, iconRect, Qt::AlignCenter,
                     isEnabled() ? QIcon::Normal : QIcon::Disabled);
        content.setLeft(iconRect.right() + 7);
    }
    // Held down, the title shows in the alternate grey.
    QColor title = isDown() ? HWCStyleKit::secondaryTextColor() : QColor(Qt::white);
    if (!isEnabled())
        title.setAlphaF(0.3f);
    painter.setPen(title);
    painter.setFont(titleFont(font()));
    painter.drawText(content, Qt::AlignVCenter | Qt::AlignLeft, text());
}

void HWCHoverButtonCell::enterEvent(QEnterEvent *event)
{
    m_hovered = true;
    update();
    QAbstractButton::enterEvent(event);
}

void HWCHoverButtonCell::leaveEvent(QEvent *event)
{
    m_hovered = false;
    update();
    QAbstractButton::leaveEvent(event);
}

void HWCHoverButtonCell::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        animateClick();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}
