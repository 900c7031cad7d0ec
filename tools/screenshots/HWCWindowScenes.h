#pragma once

#include <QDir>
#include <QImage>
#include <QList>
#include <QString>

// One capture of the whole main window as the display shows it.
struct HWCWindowShot {
    QString name;
    QImage image;
};

// Drives the real main window through its screens (an empty collection, a source, the slide,
// a creation, a verification with warnings, the window at its minimum size), key and
// non-key, and captures each from the screen. Needs a real display (an X server such as
// Xvfb); on any other platform it returns nothing.
QList<HWCWindowShot> windowScenes();
