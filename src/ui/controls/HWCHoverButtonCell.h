#pragma once

#include <QAbstractButton>

// A flat text button whose rounded bezel appears only while the pointer is over it; the
// title is white, and grey while the button is held down. Space and Return press it when it
// has the keyboard focus, which a thin ring shows. Main thread.
class HWCHoverButtonCell : public QAbstractButton {
    Q_OBJECT

public:
    explicit HWCHoverButtonCell(const QString &title = {}, QWidget *parent = nullptr);

    bool isHovered() const { return m_hovered; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    bool m_hovered = false;
};
