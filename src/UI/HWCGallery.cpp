#include "UI/HWCGallery.h"

#include "HWCBuildInfo.h"
#include "UI/HWCStyleKit.h"
#include "UI/HWIWindowBackgroundView.h"

#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace {

constexpr int kColumns = 4;

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

} // namespace

HWCGallery::HWCGallery(QWidget *parent) : QScrollArea(parent)
{
    setAccessibleName(tr("Drawing gallery"));
    auto *canvas = new HWIWindowBackgroundView;
    auto *sections = new QVBoxLayout(canvas);
    sections->setContentsMargins(24, 24, 24, 24);
    sections->setSpacing(12);
    QString current;
    QGridLayout *grid = nullptr;
    int index = 0;
    for (const HWCGalleryEntry &entry : entries()) {
        if (entry.section != current) {
            current = entry.section;
            sections->addWidget(label(current, 15, true, Qt::white));
            grid = new QGridLayout;
            grid->setHorizontalSpacing(24);
            grid->setVerticalSpacing(12);
            sections->addLayout(grid);
            index = 0;
        }
        grid->addWidget(tile(entry), index / kColumns, index % kColumns, Qt::AlignLeft);
        ++index;
    }
    sections->addStretch();
    setWidget(canvas);
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
}

int HWCGallery::exec(int argc, char **argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QString::fromUtf8(HWCBuildInfo::kExecutableName));
    QApplication::setApplicationVersion(QString::fromUtf8(HWCBuildInfo::kShortVersion));
    HWCGallery gallery;
    gallery.setWindowTitle(QApplication::applicationName());
    gallery.resize(1100, 760);
    gallery.show();
    return app.exec();
}
