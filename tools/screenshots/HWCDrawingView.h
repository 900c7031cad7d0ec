#pragma once

#include "ui/drawing/HWCDrawingIconEngine.h"

#include <QWidget>

// A fixed-size widget that shows one drawing over its whole area; the gallery's canvas for
// drawings that no screen shows yet. Main thread.
class HWCDrawingView : public QWidget {
    Q_OBJECT

public:
    HWCDrawingView(const QSize &size, HWCDrawingIconEngine::Drawing drawing,
                   QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    HWCDrawingIconEngine::Drawing m_drawing;
};
