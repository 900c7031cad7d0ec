#pragma once

#include <QWidget>

// A container that redraws whenever any window of the application gains or loses the
// focus, for contents that look different in a focused window. Main thread.
class HWIKeyChangingView : public QWidget {
    Q_OBJECT

public:
    explicit HWIKeyChangingView(QWidget *parent = nullptr);
};
