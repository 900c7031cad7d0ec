#pragma once

#include <QColor>
#include <QList>
#include <QScrollArea>
#include <QString>
#include <functional>

// One thing to look at: a drawing of a kit at one size, or a widget in one state.
struct HWCGalleryEntry {
    QString section;
    QString name;
    std::function<QWidget *()> make; // a new, unparented widget at its intended size
};

// Every drawing of the kits at two sizes and every widget in each of its states, for a
// person to judge, written to PNG files by the screenshot tool. Main thread.
class HWCGallery : public QScrollArea {
    Q_OBJECT

public:
    static QList<HWCGalleryEntry> entries();

    // A tile per entry, grouped by section.
    explicit HWCGallery(QWidget *parent = nullptr);

    // Behind every tile, in the window and in the screenshots.
    static QColor backdropColor();
};
