#pragma once

#include <QAbstractButton>

// The large start button: a rounded gradient body that darkens while held down, an
// optional image near its left edge and a centred white title, faded when disabled. Space
// and Return press it when it has the keyboard focus. Main thread.
class HWIBigButtonCell : public QAbstractButton {
    Q_OBJECT

public:
    explicit HWIBigButtonCell(const QString &title = {}, QWidget *parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
};
