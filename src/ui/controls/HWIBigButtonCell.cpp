#include "ui/controls/HWIBigButtonCell.h"

#include "ui/drawing/HWCArtwork.h"
#include "ui/drawing/HWCStyleKit.h"

#include <QKeyEvent>
#include <QPainter>

namespace {

constexpr int kTitlePixelSize = 14;
constexpr QPoint kImageOffset(10, 2);

QFont titleFont(const QFont &base)
{
    QFont font = base;
    font.setPixelSize(kTitlePixelSize);
    return font;
}

} // namespace

HWIBigButtonCell::HWIBigButtonCell(const QString &title, QWidget *parent) : QAbstractButton(parent)
{
    setText(title);
    setFocusPolicy(Qt::StrongFocus);
    setIconSize(QSize(20, 20));
}

QSize HWIBigButtonCell::sizeHint() const
{
    const QFontMetrics metrics(titleFont(font()));
    const int iconWidth = icon().isNull() ? 0 : iconSize().width() + kImageOffset.x();
    return QSize(std::max(140, metrics.horizontalAdvance(text()) + 2 * iconWidth + 40), 36);
}

void HWIBigButtonCell::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    HWCStyleKit::drawBigButtonWithFrame(painter, rect(),
                                        isDown() ? HWCStyleKit::startButtonHighlightGradient()
                                                 : HWCStyleKit::startButtonGradient());
    if (hasFocus())
        HWCArtwork::drawFocusRing(painter, rect(), 6);
    if (!icon().isNull()) {
        const QSize size = iconSize();
        const QRect image(QPoint(0, (height() - size.height()) / 2) + kImageOffset, size);
        icon().paint(&painter, image, Qt::AlignCenter,
                     isEnabled() ? QIcon::Normal : QIcon::Disabled);
    }
    QColor title = Qt::white;
    if (!isEnabled())
        title.setAlphaF(0.3f);
    painter.setPen(title);
    painter.setFont(titleFont(font()));
    painter.drawText(rect(), Qt::AlignCenter, text());
}

void HWIBigButtonCell::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        animateClick();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}
