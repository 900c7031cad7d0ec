#pragma once

#include <QWidget>

// The window's own background. Main thread.
class HWIWindowBackgroundView : public QWidget {
    Q_OBJECT

public:
    explicit HWIWindowBackgroundView(QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};
