#pragma once

#include "ui/window/HWCViewTransition.h"

#include <QList>
#include <QPointer>
#include <QWidget>
#include <functional>

class QGridLayout;

// A screen that holds other screens as children. A child added with
// addConstraintsToChildViewController() fills this widget edge to edge and keeps doing so
// through every resize. Main thread.
class HWCViewController : public QWidget {
    Q_OBJECT

public:
    explicit HWCViewController(QWidget *parent = nullptr);

    // Takes child as a child screen (this widget becomes its parent); it is not laid out
    // until addConstraintsToChildViewController().
    void addChildViewController(QWidget *child);
    // Takes child out of the layout and the children and deletes it later.
    virtual void removeChildViewController(QWidget *child);
    QList<QWidget *> childViewControllers() const;

    // Makes child, a child screen, fill this widget. Children so laid out overlap.
    void addConstraintsToChildViewController(QWidget *child);

    // Animates from the child screen from to the child screen to, which is shown at once;
    // from leaves the layout for the animation. completion runs when it has ended, with both
    // still children unless one has been removed meanwhile.
    void transitionFromViewController(QWidget *from, QWidget *to, HWCViewTransitionOptions options,
                                      std::function<void()> completion);
    bool isTransitioning() const { return !m_transitions.isEmpty(); }

    // Gives the focus to the first visible control inside screen that Tab reaches.
    static void focusFirstControl(QWidget *screen);

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    QGridLayout *m_layout;
    QList<QPointer<QWidget>> m_children;
    QList<HWCViewTransition *> m_transitions;
};
