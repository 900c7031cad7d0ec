#include "ui/window/HWCViewController.h"

#include <QGridLayout>

HWCViewController::HWCViewController(QWidget *parent)
    : QWidget(parent), m_layout(new QGridLayout(this))
{
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);
}

void HWCViewController::addChildViewController(QWidget *child)
{
    if (m_children.contains(child))
        return;
    child->setParent(this);
    m_children.append(child);
}

void HWCViewController::removeChildViewController(QWidget *child)
{
    if (!m_children.removeOne(child))
        return;
    m_layout->removeWidget(child);
    child->hide();
    child->deleteLater();
}

QList<QWidget *> HWCViewController::childViewControllers() const
{
    QList<QWidget *> children;
    for (const QPointer<QWidget> &child : m_children) {
        if (child)
            children.append(child);
    }
    return children;
}

void HWCViewController::addConstraintsToChildViewController(QWidget *child)
{
    // Every child in the one cell: each fills the whole widget, and transitions may show
    // two of them at once.
    m_layout->addWidget(child, 0, 0);
    child->show();
}

void HWCViewController::transitionFromViewController(QWidget *from, QWidget *to,
                                                     HWCViewTransitionOptions options,
                                                     std::function<void()> completion)
{
    // The animation places both screens; the layout would put from back at the origin.
    m_layout->removeWidget(from);
    auto *transition = new HWCViewTransition(from, to, options, this);
    m_transitions.append(transition);
    connect(transition, &HWCViewTransition::finished, this,
            [this, transition, completion = std::move(completion)] {
                m_transitions.removeOne(transition);
                transition->deleteLater();
                completion();
            });
    transition->start();
}

void HWCViewController::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    for (HWCViewTransition *transition : std::as_const(m_transitions))
        transition->containerResized();
}

void HWCViewController::focusFirstControl(QWidget *screen)
{
    for (QWidget *widget = screen->nextInFocusChain(); widget && widget != screen;
         widget = widget->nextInFocusChain()) {
        if (screen->isAncestorOf(widget) && widget->isVisible() && widget->isEnabled() &&
            (widget->focusPolicy() & Qt::TabFocus)) {
            widget->setFocus(Qt::TabFocusReason);
            return;
        }
    }
}
