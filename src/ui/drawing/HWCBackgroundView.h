#pragma once

#include <QWidget>

// The application's dark background behind a screen. Main thread.
class HWCBackgroundView : public QWidget {
    Q_OBJECT

public:
    explicit HWCBackgroundView(QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};
