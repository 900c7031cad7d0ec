#pragma once

#include <QColor>
#include <QFont>
#include <QPointF>
#include <QPointer>
#include <QWidget>

class HWCMainWindow;
class HWCWindowButton;
class QMenu;

// The text shadow of the title: drawn under the title, moved by offset.
struct HWCTitleShadow {
    QPointF offset;
    qreal blurRadius = 0;
    QColor color;
};

// The whole frame of the main window, drawn by the application itself: the title bar in its
// key and non-key colours with a lighter overlay towards the top, a one-point separator
// under it, the centred title with a shadow, an optional bottom content border and rounded
// corners of radius 4. It places the close, minimise and zoom buttons, an optional menu
// button at the bar's right end, and the content view in the rest. A drag of the bar moves
// the window, a double click zooms it, a right click opens the window menu. Geometry is in
// the widget's own coordinates, y growing downwards. Main thread.
class HWCCustomizableWindowFrame : public QWidget {
    Q_OBJECT

public:
    explicit HWCCustomizableWindowFrame(HWCMainWindow *window);

    // The title bar fill while key; every other colour of the bar derives from it. Must be
    // a valid colour: an invalid one is a programming error that ends the process.
    void setTitlebarColor(const QColor &color);
    // Sets the key title colour; the non-key one is 0.2 lighter. Renews the shadow.
    void setTitleStringColor(const QColor &color);
    void setTitleStringFont(const QFont &font);
    void setTitlebarHeight(double height);
    void setControlsXOffset(double offset);
    void setCenterControls(bool center);
    const HWCTitleShadow &titleStringShadow() const { return m_titleStringShadow; }

    // A button at the right end of the title bar that pops menu up (so do F10 and the Menu
    // key); null removes it.
    void setMenu(QMenu *menu);
    // Pops the menu up below its button, its first command chosen.
    void showMenu();
    HWCWindowButton *menuButton() const { return m_menuButton; }
    HWCWindowButton *closeButton() const { return m_closeButton; }
    HWCWindowButton *zoomButton() const { return m_zoomButton; }

    QRectF titlebarRect() const;
    // The top-left corners of the window buttons.
    QPointF closeButtonOrigin() const;
    QPointF minimizeButtonOrigin() const;
    QPointF zoomButtonOrigin() const;
    // The top of a window button centred in the title bar.
    double centeredTrafficLightsY() const;

    // c with offset added to red, green and blue; a channel that falls below zero passes
    // half of its excess on to the other two (red first, then green, then blue) instead of
    // being clipped. Keeps c's alpha. The result may lie outside 0...1.
    static QColor offsetColor(const QColor &color, double offset);
    // True for a light title colour, which a dark shadow sets off.
    bool shouldUseDarkShadow() const;
    HWCTitleShadow defaultTitleStringShadow() const;

    // Places the buttons, the menu button and the content view again.
    void layoutFrame();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    bool event(QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    bool drawsTitlebar() const;
    bool isKey() const;
    void frameChanged();
    void drawTitlebar(QPainter &painter) const;
    void drawOverlayGradientInRect(QPainter &painter, const QRectF &rect) const;
    void drawSeparatorLine(QPainter &painter, const QRectF &line, const QColor &under,
                           const QColor &color) const;
    void drawTitleString(QPainter &painter);
    void updateButtonColors();

    HWCMainWindow *m_window;
    double m_titlebarHeight = 0;
    QColor m_titlebarColor;
    QColor m_titlebarColorNoKey;
    QColor m_titlebarSeparatorColor;
    QColor m_titlebarSeparatorColorNoKey;
    QColor m_titleStringColor;
    QColor m_titleStringColorNoKey;
    QFont m_titleStringFont;
    HWCTitleShadow m_titleStringShadow;
    double m_controlsXOffset = 0;
    bool m_shouldCenterControls = false;
    HWCWindowButton *m_closeButton;
    HWCWindowButton *m_minimizeButton;
    HWCWindowButton *m_zoomButton;
    HWCWindowButton *m_menuButton = nullptr;
    QPointer<QMenu> m_menu;
    QPointF m_pressPosition;
    bool m_titlebarPressed = false;
};
