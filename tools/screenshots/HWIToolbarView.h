#pragma once

#include <QWidget>

// The strip along the top of a window, drawn brighter while its window has the focus.
// Main thread.
class HWIToolbarView : public QWidget {
    Q_OBJECT

public:
    explicit HWIToolbarView(QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
    bool event(QEvent *event) override;
};
