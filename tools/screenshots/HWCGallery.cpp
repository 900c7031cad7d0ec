#include "HWCGallery.h"

#include "ui/drawing/HWCStyleKit.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace {

constexpr int kRowWidth = 1060;
constexpr int kSpacing = 24;

// Darker than anything the kits draw, so that every drawing's edges show.
QColor backdrop()
{
    return QColor(22, 23, 26);
}

QLabel *label(const QString &text, int pixelSize, bool bold, const QColor &color)
{
    auto *label = new QLabel(text);
    QFont font = label->font();
    font.setPixelSize(pixelSize);
    font.setBold(bold);
    label->setFont(font);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, color);
    label->setPalette(palette);
    return label;
}

QWidget *tile(const HWCGalleryEntry &entry)
{
    auto *tile = new QWidget;
    auto *layout = new QVBoxLayout(tile);
    layout->setContentsMargins(0, 0, 0, 0);
    QWidget *shown = entry.make();
    if (shown->accessibleName().isEmpty())
        shown->setAccessibleName(entry.name);
    layout->addWidget(shown, 0, Qt::AlignLeft);
    layout->addWidget(label(entry.name, 11, false, HWCStyleKit::lineColor()));
    layout->addStretch();
    return tile;
}

// Tiles left to right, a new row when the next one would not fit.
class Rows {
public:
    explicit Rows(QVBoxLayout *sections) : m_sections(sections) {}

    void add(QWidget *tile)
    {
        const int width = tile->sizeHint().width();
        if (!m_row || m_used + width > kRowWidth) {
            m_row = new QHBoxLayout;
            m_row->setSpacing(kSpacing);
            m_row->setAlignment(Qt::AlignLeft | Qt::AlignTop);
            m_sections->addLayout(m_row);
            m_used = 0;
        }
        m_row->addWidget(tile, 0, Qt::AlignTop);
        m_used += width + kSpacing;
    }

    void endSection() { m_row = nullptr; }

private:
    QVBoxLayout *m_sections;
    QHBoxLayout *m_row = nullptr;
    int m_used = 0;
};

} // namespace

HWCGallery::HWCGallery(QWidget *parent) : QScrollArea(parent)
{
    setAccessibleName(tr("Drawing gallery"));
    auto *canvas = new QWidget;
    canvas->setAutoFillBackground(true);
    QPalette palette = canvas->palette();
    palette.setColor(QPalette::Window, backdrop());
    canvas->setPalette(palette);
    auto *sections = new QVBoxLayout(canvas);
    sections->setContentsMargins(kSpacing, kSpacing, kSpacing, kSpacing);
    sections->setSpacing(12);
    Rows rows(sections);
    QString current;
    for (const HWCGalleryEntry &entry : entries()) {
        if (entry.section != current) {
            current = entry.section;
            rows.endSection();
            sections->addSpacing(8);
            sections->addWidget(label(current, 15, true, Qt::white));
        }
        rows.add(tile(entry));
    }
    sections->addStretch();
    setWidget(canvas);
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
}

QColor HWCGallery::backdropColor()
{
    return backdrop();
}
