#include "ui/controls/HWCTableHeaderCell.h"

#include <QFontMetrics>
#include <QPainter>

void HWCTableHeaderCell::drawWithFrame(QPainter &painter, const QRect &frame) const
{
    drawInteriorWithFrame(painter, frame);
}

void HWCTableHeaderCell::drawInteriorWithFrame(QPainter &painter, const QRect &frame) const
{
    drawTitle(painter, frame, m_title);
}

void HWCTableHeaderCell::drawTitle(QPainter &painter, const QRect &frame, const QString &title,
                                   const QColor &color)
{
    painter.save();
    QFont font = painter.font();
    font.setPixelSize(kFontPixelSize);
    painter.setFont(font);
    painter.setPen(color);
    const QRect line(frame.x() + kHeadIndent, frame.y() + (frame.height() - kLineHeight) / 2,
                     frame.width() - kHeadIndent, kLineHeight);
    const QString elided = QFontMetrics(font).elidedText(title, Qt::ElideMiddle, line.width());
    painter.drawText(line, Qt::AlignLeft | Qt::AlignVCenter, elided);
    painter.restore();
}
