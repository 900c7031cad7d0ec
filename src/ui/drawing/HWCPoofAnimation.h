#pragma once

#include <QWidget>

class QVariantAnimation;

// A small puff of smoke that swells and fades at a point on the screen, telling the user
// that what they dragged away is gone. Frameless and translucent, it takes no input and
// deletes itself when it has faded. Main thread.
class HWCPoofAnimation : public QWidget {
    Q_OBJECT

public:
    static constexpr int kDurationMilliseconds = 300;
    static constexpr int kSide = 96;

    // Shows a new puff centred on globalPoint and lets it run.
    static HWCPoofAnimation *showAtPoint(const QPoint &globalPoint);

    // 0 when it starts, 1 when it has faded out.
    qreal progress() const { return m_progress; }
    void setProgress(qreal progress);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    HWCPoofAnimation();

    qreal m_progress = 0;
};
