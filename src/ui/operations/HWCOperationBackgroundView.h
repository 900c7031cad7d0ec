#pragma once

#include "ui/drawing/HWCBackgroundView.h"

// The background of the operation screen. It takes every click that reaches it, so that
// nothing behind the screen reacts while operations are shown. Main thread.
class HWCOperationBackgroundView : public HWCBackgroundView {
    Q_OBJECT

public:
    using HWCBackgroundView::HWCBackgroundView;

protected:
    void mousePressEvent(QMouseEvent *event) override;
};
