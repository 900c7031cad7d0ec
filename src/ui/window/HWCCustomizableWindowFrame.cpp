#include "ui/window/HWCCustomizableWindowFrame.h"

#include "engine/session/HWCLog.h"
#include "ui/controls/HWCWindowButton.h"
#include "ui/drawing/HWCStyleKit.h"
#include "ui/window/HWCMainWindow.h"
#include "ui/window/HWCWindowDragger.h"

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QLinearGradient>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QWindow>

namespace {

constexpr qreal kCornerRadius = 4;
// Room between the menu button and the window's right edge, outside the resize band.
constexpr int kMenuButtonRightMargin = 12;

// The plus-darker blend of an opaque colour over an opaque one: each channel is the sum of
// both less one, never below zero.
QColor plusDarker(const QColor &under, const QColor &over)
{
    const auto channel = [](float a, float b) { return std::max(0.0f, a + b - 1.0f); };
    const QColor u = under.toExtendedRgb();
    const QColor o = over.toExtendedRgb();
    return QColor::fromRgbF(channel(u.redF(), o.redF()), channel(u.greenF(), o.greenF()),
                            channel(u.blueF(), o.blueF()));
}

} // namespace

HWCCustomizableWindowFrame::HWCCustomizableWindowFrame(HWCMainWindow *window)
    : QWidget(window), m_window(window),
      m_titlebarSeparatorColor(QColor::fromRgbF(0.3f, 0.3f, 0.3f)),
      m_closeButton(new HWCWindowButton(HWCWindowButton::Kind::Close, this)),
      m_minimizeButton(new HWCWindowButton(HWCWindowButton::Kind::Minimize, this)),
      m_zoomButton(new HWCWindowButton(HWCWindowButton::Kind::Zoom, this))
{
    m_titleStringShadow = defaultTitleStringShadow();
    connect(m_closeButton, &QAbstractButton::clicked, window, &QWidget::close);
    connect(m_minimizeButton, &QAbstractButton::clicked, window, &QWidget::showMinimized);
    connect(m_zoomButton, &QAbstractButton::clicked, window, &HWCMainWindow::zoom);
}

void HWCCustomizableWindowFrame::setTitlebarColor(const QColor &color)
{
    if (!color.isValid()) {
        HWCLogError(QStringLiteral("Assertion failure: _titlebarColor != nil"));
        qFatal("_titlebarColor != nil");
    }
    m_titlebarColor = color;
    // Deliberately one colour for all four: the bar looks the same whether key or not.
    m_titlebarSeparatorColor = offsetColor(color, 0);
    m_titlebarSeparatorColorNoKey = offsetColor(color, 0);
    m_titlebarColorNoKey = offsetColor(color, 0);
    frameChanged();
}

void HWCCustomizableWindowFrame::setTitleStringColor(const QColor &color)
{
    m_titleStringColor = color;
    if (color.isValid())
        m_titleStringColorNoKey = offsetColor(color, 0.2);
    m_titleStringShadow = defaultTitleStringShadow();
    frameChanged();
}

void HWCCustomizableWindowFrame::setTitleStringFont(const QFont &font)
{
    m_titleStringFont = font;
    frameChanged();
}

void HWCCustomizableWindowFrame::setTitlebarHeight(double height)
{
    m_titlebarHeight = height;
    frameChanged();
}

void HWCCustomizableWindowFrame::setControlsXOffset(double offset)
{
    m_controlsXOffset = offset;
    frameChanged();
}

void HWCCustomizableWindowFrame::setCenterControls(bool center)
{
    m_shouldCenterControls = center;
    frameChanged();
}

void HWCCustomizableWindowFrame::setMenu(QMenu *menu)
{
    m_menu = menu;
    if (!menu) {
        delete m_menuButton;
        m_menuButton = nullptr;
        return;
    }
    if (!m_menuButton) {
        m_menuButton = new HWCWindowButton(HWCWindowButton::Kind::Menu, this);
        connect(m_menuButton, &QAbstractButton::pressed, this,
                &HWCCustomizableWindowFrame::showMenu);
        // F10 and the Menu key open it from anywhere in the window.
        auto *open = new QAction(this);
        open->setShortcuts({QKeySequence(Qt::Key_F10), QKeySequence(Qt::Key_Menu)});
        open->setShortcutContext(Qt::WindowShortcut);
        connect(open, &QAction::triggered, this, &HWCCustomizableWindowFrame::showMenu);
        addAction(open);
    }
    frameChanged();
}

void HWCCustomizableWindowFrame::showMenu()
{
    if (!m_menu || !m_menuButton || m_menu->isVisible())
        return;
    const QPoint below = m_menuButton->mapToGlobal(QPoint(0, m_menuButton->height()));
    connect(
        m_menu, &QMenu::aboutToHide, m_menuButton,
        [button = m_menuButton] { button->setDown(false); }, Qt::SingleShotConnection);
    m_menu->popup(below);
    // The first command is chosen, so that the arrows and Return work at once.
    if (!m_menu->actions().isEmpty())
        m_menu->setActiveAction(m_menu->actions().constFirst());
}

void HWCCustomizableWindowFrame::frameChanged()
{
    updateButtonColors();
    layoutFrame();
    update();
}

QRectF HWCCustomizableWindowFrame::titlebarRect() const
{
    return QRectF(0, 0, width(), m_titlebarHeight);
}

double HWCCustomizableWindowFrame::centeredTrafficLightsY() const
{
    return m_titlebarHeight * 0.5 - HWCWindowButton::kWindowButtonSide * 0.5;
}

QPointF HWCCustomizableWindowFrame::closeButtonOrigin() const
{
    // Five points from the top when not centred: 19 points of bar above the button's foot.
    const double y = m_shouldCenterControls ? centeredTrafficLightsY()
                                            : 19.0 - HWCWindowButton::kWindowButtonSide;
    return QPointF(m_controlsXOffset + 6, y);
}

QPointF HWCCustomizableWindowFrame::minimizeButtonOrigin() const
{
    return QPointF(m_controlsXOffset + 26, closeButtonOrigin().y());
}

QPointF HWCCustomizableWindowFrame::zoomButtonOrigin() const
{
    return QPointF(m_controlsXOffset + 46, closeButtonOrigin().y());
}

QColor HWCCustomizableWindowFrame::offsetColor(const QColor &color, double offset)
{
    const QColor rgb = color.toExtendedRgb();
    double r = rgb.redF() + offset;
    double g = rgb.greenF() + offset;
    double b = rgb.blueF() + offset;
    if (r < 0) {
        g += r * 0.5;
        b += r * 0.5;
    }
    if (g < 0) {
        r += g * 0.5;
        b += g * 0.5;
    }
    if (b < 0) {
        r += b * 0.5;
        g += b * 0.5;
    }
    return QColor::fromRgbF(float(r), float(g), float(b), rgb.alphaF());
}

bool HWCCustomizableWindowFrame::shouldUseDarkShadow() const
{
    const QColor rgb = m_titleStringColor.toExtendedRgb();
    return rgb.redF() >= 0.5 || rgb.greenF() >= 0.5 || rgb.blueF() >= 0.5;
}

HWCTitleShadow HWCCustomizableWindowFrame::defaultTitleStringShadow() const
{
    // One point down, as light falls from above.
    const bool dark = shouldUseDarkShadow();
    return HWCTitleShadow{QPointF(0, 1), 1,
                          QColor::fromRgbF(dark ? 0 : 1, dark ? 0 : 1, dark ? 0 : 1, 0.7f)};
}

bool HWCCustomizableWindowFrame::drawsTitlebar() const
{
    return !m_window->isFullScreen();
}

bool HWCCustomizableWindowFrame::isKey() const
{
    return m_window->isActiveWindow();
}

void HWCCustomizableWindowFrame::updateButtonColors()
{
    const QColor background = isKey() ? m_titlebarColor : m_titlebarColorNoKey;
    const QColor glyph = m_titleStringColor.isValid() ? m_titleStringColor : QColor(Qt::white);
    for (HWCWindowButton *button : {m_closeButton, m_minimizeButton, m_zoomButton, m_menuButton}) {
        if (button)
            button->setColors(background, glyph);
    }
}

void HWCCustomizableWindowFrame::layoutFrame()
{
    const bool bar = drawsTitlebar();
    m_closeButton->move(closeButtonOrigin().toPoint());
    m_minimizeButton->move(minimizeButtonOrigin().toPoint());
    m_zoomButton->move(zoomButtonOrigin().toPoint());
    for (HWCWindowButton *button : {m_closeButton, m_minimizeButton, m_zoomButton}) {
        button->setVisible(bar);
        button->raise();
    }
    if (m_menuButton) {
        const int side = HWCWindowButton::kMenuButtonSide;
        m_menuButton->move(width() - kMenuButtonRightMargin - side,
                           qRound(m_titlebarHeight * 0.5 - side * 0.5));
        m_menuButton->setVisible(bar);
        m_menuButton->raise();
    }
    if (QWidget *content = m_window->contentView())
        content->setGeometry(m_window->contentRectForFrameRect(rect(), m_window->windowState()));
}

void HWCCustomizableWindowFrame::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    layoutFrame();
}

bool HWCCustomizableWindowFrame::event(QEvent *event)
{
    if (event->type() == QEvent::WindowActivate || event->type() == QEvent::WindowDeactivate) {
        updateButtonColors();
        update();
    }
    return QWidget::event(event);
}

void HWCCustomizableWindowFrame::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(rect(), Qt::transparent);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    // Square corners where the window meets the screen's edges.
    if (!m_window->isMaximized() && !m_window->isFullScreen()) {
        QPainterPath rounded;
        rounded.addRoundedRect(QRectF(rect()), kCornerRadius, kCornerRadius);
        painter.setClipPath(rounded);
    }
    painter.fillRect(rect(), HWCStyleKit::backgroundColor());
    if (!drawsTitlebar())
        return;
    drawTitlebar(painter);
    drawTitleString(painter);
}

void HWCCustomizableWindowFrame::drawOverlayGradientInRect(QPainter &painter,
                                                           const QRectF &rect) const
{
    // Transparent at the foot, a third white at the top, added to what lies under it.
    QLinearGradient gradient(rect.bottomLeft(), rect.topLeft());
    gradient.setColorAt(0, QColor::fromRgbF(1, 1, 1, 0));
    gradient.setColorAt(1, QColor::fromRgbF(1, 1, 1, 0.3f));
    painter.save();
    painter.setCompositionMode(QPainter::CompositionMode_Plus);
    painter.fillRect(rect, gradient);
    painter.restore();
}

void HWCCustomizableWindowFrame::drawSeparatorLine(QPainter &painter, const QRectF &line,
                                                   const QColor &under, const QColor &color) const
{
    // The overlay is transparent at the bar's foot, so the bar's own colour lies under it.
    painter.fillRect(line, plusDarker(under, color));
}

void HWCCustomizableWindowFrame::drawTitlebar(QPainter &painter) const
{
    const QRectF bar = titlebarRect();
    const QColor fill = isKey() ? m_titlebarColor : m_titlebarColorNoKey;
    painter.fillRect(bar, fill);
    drawOverlayGradientInRect(painter, bar);
    drawSeparatorLine(painter, QRectF(0, bar.bottom() - 1, bar.width(), 1), fill,
                      isKey() ? m_titlebarSeparatorColor : m_titlebarSeparatorColorNoKey);
}

void HWCCustomizableWindowFrame::drawTitleString(QPainter &painter)
{
    const QString title = m_window->windowTitle();
    if (title.isEmpty())
        return;
    if (!m_titleStringColor.isValid())
        setTitleStringColor(offsetColor(m_titlebarColor, 0));
    // Centred over the whole bar, clear of the buttons at both ends.
    const qreal inset = zoomButtonOrigin().x() + HWCWindowButton::kWindowButtonSide + 12;
    QRectF rect = titlebarRect().adjusted(inset, 0, -inset, 0);
    // Level with the buttons when they sit at the top rather than in the middle.
    if (!m_shouldCenterControls)
        rect.setHeight(2 * closeButtonOrigin().y() + HWCWindowButton::kWindowButtonSide);
    painter.setFont(m_titleStringFont);
    const QString shown =
        painter.fontMetrics().elidedText(title, Qt::ElideRight, int(rect.width()));
    if (isKey()) {
        painter.setPen(m_titleStringShadow.color);
        painter.drawText(rect.translated(m_titleStringShadow.offset), Qt::AlignCenter, shown);
        painter.setPen(m_titleStringColor);
    } else {
        painter.setPen(m_titleStringColorNoKey);
    }
    painter.drawText(rect, Qt::AlignCenter, shown);
}

void HWCCustomizableWindowFrame::mousePressEvent(QMouseEvent *event)
{
    m_titlebarPressed = event->button() == Qt::LeftButton && drawsTitlebar() &&
                        titlebarRect().contains(event->position());
    m_pressPosition = event->globalPosition();
    QWidget::mousePressEvent(event);
}

void HWCCustomizableWindowFrame::mouseMoveEvent(QMouseEvent *event)
{
    // Only once the pointer has travelled, so that a double click still reaches the bar.
    if (m_titlebarPressed && (event->buttons() & Qt::LeftButton) &&
        (event->globalPosition() - m_pressPosition).manhattanLength() >=
            QApplication::startDragDistance()) {
        m_titlebarPressed = false;
        m_window->dragger()->startMove(m_pressPosition);
    }
    QWidget::mouseMoveEvent(event);
}

void HWCCustomizableWindowFrame::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && drawsTitlebar() &&
        titlebarRect().contains(event->position()))
        m_window->zoom();
    m_titlebarPressed = false;
}

void HWCCustomizableWindowFrame::contextMenuEvent(QContextMenuEvent *event)
{
    if (!drawsTitlebar() || !titlebarRect().contains(event->pos()))
        return;
    QMenu menu(this);
    menu.addAction(m_window->minimizeAction());
    QAction *zoom = menu.addAction(m_window->isMaximized() ? tr("Restore") : tr("Maximize"));
    connect(zoom, &QAction::triggered, m_window, &HWCMainWindow::zoom);
    menu.addAction(m_window->fullScreenAction());
    menu.addSeparator();
    menu.addAction(m_window->closeAction());
    menu.exec(event->globalPos());
}
