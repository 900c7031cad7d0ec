#include "pdf/HWCPdfReport.h"

#include <QAbstractTextDocumentLayout>
#include <QBuffer>
#include <QPainter>
#include <QPdfWriter>
#include <QTextDocument>

namespace HWCPdfReport {

namespace {

constexpr int kResolution = 300; // dots per inch of the layout
constexpr qreal kFooterPoints = 9;

// The foot of one page: the report's title and date on the left, the page number right.
void paintFooter(QPainter &painter, const QRectF &area, const QString &footer, int page, int pages)
{
    painter.save();
    QFont font = painter.font();
    font.setPointSizeF(kFooterPoints - 1);
    painter.setFont(font);
    painter.setPen(QColor(0x55, 0x55, 0x55));
    painter.drawText(area, Qt::AlignLeft | Qt::AlignBottom, footer);
    painter.drawText(area, Qt::AlignRight | Qt::AlignBottom,
                     QStringLiteral("Page %1 of %2").arg(page).arg(pages));
    painter.restore();
}

} // namespace

QByteArray render(const QString &html, const QString &footer, HWCProductionReport::Paper paper)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter writer(&buffer);
    writer.setResolution(kResolution);
    writer.setTitle(QStringLiteral("Verification report"));
    writer.setCreator(QStringLiteral("Hashwarden"));
    writer.setPageLayout(QPageLayout(
        QPageSize(paper == HWCProductionReport::Paper::Letter ? QPageSize::Letter : QPageSize::A4),
        QPageLayout::Portrait, QMarginsF(15, 14, 15, 12), QPageLayout::Millimeter));

    QTextDocument document;
    // Points in the HTML are laid out at the writer's resolution, not the screen's.
    document.documentLayout()->setPaintDevice(&writer);
    document.setHtml(html);
    const QRectF page = writer.pageLayout().paintRectPixels(kResolution);
    const qreal footerHeight = kFooterPoints * 2.5 * kResolution / 72;
    const QSizeF body(page.width(), page.height() - footerHeight);
    document.setPageSize(body);

    QPainter painter;
    if (!painter.begin(&writer))
        return {};
    const int pages = document.pageCount();
    for (int index = 0; index < pages; ++index) {
        if (index > 0)
            writer.newPage();
        painter.save();
        painter.translate(0, -index * body.height());
        document.drawContents(&painter, QRectF(QPointF(0, index * body.height()), body));
        painter.restore();
        paintFooter(painter, QRectF(0, body.height(), body.width(), footerHeight), footer,
                    index + 1, pages);
    }
    painter.end();
    return bytes;
}

} // namespace HWCPdfReport
