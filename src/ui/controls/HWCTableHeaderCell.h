#pragma once

#include <QColor>
#include <QString>

class QPainter;
class QRect;

// The title of one column of a dark table: white system font of 13 pixels, indented 10,
// on a line 18 high, with no bezel. HWCTableTextFieldCell draws its texts the same way.
// Main thread.
class HWCTableHeaderCell {
public:
    static constexpr int kFontPixelSize = 13;
    static constexpr int kHeadIndent = 10;
    static constexpr int kLineHeight = 18;

    explicit HWCTableHeaderCell(QString title) : m_title(std::move(title)) {}

    const QString &title() const { return m_title; }

    // Only the interior: a header cell has no bezel.
    void drawWithFrame(QPainter &painter, const QRect &frame) const;
    void drawInteriorWithFrame(QPainter &painter, const QRect &frame) const;

    // The shared text drawing: one line of text, vertically centred on a line of
    // kLineHeight, elided in the middle so that a path keeps its file name.
    static void drawTitle(QPainter &painter, const QRect &frame, const QString &title,
                          const QColor &color = Qt::white);

private:
    QString m_title;
};
