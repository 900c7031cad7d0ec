#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

class QVariantAnimation;

// How one child screen gives way to another; the bits may be combined.
using HWCViewTransitionOptions = unsigned;
constexpr HWCViewTransitionOptions HWCViewTransitionCrossfade = 0x1;
// The new screen comes in from the right and pushes the old one out to the left.
constexpr HWCViewTransitionOptions HWCViewTransitionSlideLeft = 0x40;
// The new screen comes in from the left and pushes the old one out to the right.
constexpr HWCViewTransitionOptions HWCViewTransitionSlideRight = 0x80;

// The animation of one screen change inside a container, about a quarter of a second long:
// both screens are live throughout, so clicks and keys reach whichever is under the pointer
// or has the focus. Either screen may be deleted meanwhile. Main thread.
class HWCViewTransition : public QObject {
    Q_OBJECT

public:
    static constexpr int kDurationMilliseconds = 250;

    // Places to over from's container (the parent of both) and shows it, still transparent
    // when crossfading; start() runs the animation.
    HWCViewTransition(QWidget *from, QWidget *to, HWCViewTransitionOptions options,
                      QObject *parent = nullptr);
    ~HWCViewTransition() override;

    void start();
    // Keeps both screens at the container's size after it has been resized.
    void containerResized();

Q_SIGNALS:
    // Once, when the animation has run to its end; both screens are in place then.
    void finished();

private:
    void apply(qreal progress);
    void setOpacity(QWidget *widget, qreal opacity) const;
    void end();

    QPointer<QWidget> m_container;
    QPointer<QWidget> m_from;
    QPointer<QWidget> m_to;
    HWCViewTransitionOptions m_options;
    QVariantAnimation *m_animation;
};
