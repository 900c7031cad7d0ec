#pragma once

#include <QAbstractButton>

// One of the buttons the custom title bar draws itself: close, minimise, zoom and the menu
// button at the bar's right end. Round, in the title bar's colours, brighter under the
// pointer and darker while pressed; dimmed while the window does not have the focus.
// Main thread.
class HWCWindowButton : public QAbstractButton {
    Q_OBJECT

public:
    enum class Kind { Close, Minimize, Zoom, Menu };

    // The side of the three window buttons; the menu button is larger.
    static constexpr int kWindowButtonSide = 14;
    static constexpr int kMenuButtonSide = 24;

    HWCWindowButton(Kind kind, QWidget *parent = nullptr);

    Kind kind() const { return m_kind; }
    // The colour the button is drawn against and the colour of its glyph.
    void setColors(const QColor &background, const QColor &glyph);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    bool event(QEvent *event) override;

private:
    void drawGlyph(QPainter &painter, const QRectF &frame) const;

    Kind m_kind;
    QColor m_background;
    QColor m_glyph;
};
