#include "ui/window/HWCViewTransition.h"

#include <QGraphicsOpacityEffect>
#include <QVariantAnimation>

HWCViewTransition::HWCViewTransition(QWidget *from, QWidget *to, HWCViewTransitionOptions options,
                                     QObject *parent)
    : QObject(parent), m_container(to->parentWidget()), m_from(from), m_to(to), m_options(options),
      m_animation(new QVariantAnimation(this))
{
    m_animation->setStartValue(0.0);
    m_animation->setEndValue(1.0);
    m_animation->setDuration(kDurationMilliseconds);
    m_animation->setEasingCurve(QEasingCurve::InOutQuad);
    connect(m_animation, &QVariantAnimation::valueChanged, this,
            [this](const QVariant &value) { apply(value.toReal()); });
    connect(m_animation, &QVariantAnimation::finished, this, &HWCViewTransition::end);
    if (m_options & HWCViewTransitionCrossfade) {
        for (QWidget *widget : {from, to})
            widget->setGraphicsEffect(new QGraphicsOpacityEffect);
    }
    containerResized();
    to->show();
}

HWCViewTransition::~HWCViewTransition() = default;

void HWCViewTransition::start()
{
    m_animation->start();
}

void HWCViewTransition::containerResized()
{
    apply(m_animation->state() == QAbstractAnimation::Running ? m_animation->currentValue().toReal()
                                                              : 0.0);
}

void HWCViewTransition::apply(qreal progress)
{
    if (!m_container)
        return;
    const QSize size = m_container->size();
    int direction = 0;
    if (m_options & HWCViewTransitionSlideLeft)
        direction = -1;
    else if (m_options & HWCViewTransitionSlideRight)
        direction = 1;
    const int shift = qRound(progress * size.width()) * direction;
    if (m_from)
        m_from->setGeometry(QRect(QPoint(shift, 0), size));
    if (m_to)
        m_to->setGeometry(QRect(QPoint(shift - direction * size.width(), 0), size));
    setOpacity(m_from, 1.0 - progress);
    setOpacity(m_to, progress);
}

void HWCViewTransition::setOpacity(QWidget *widget, qreal opacity) const
{
    if (!widget)
        return;
    if (auto *effect = qobject_cast<QGraphicsOpacityEffect *>(widget->graphicsEffect()))
        effect->setOpacity(opacity);
}

void HWCViewTransition::end()
{
    apply(1.0);
    for (QWidget *widget : {m_from.data(), m_to.data()}) {
        if (widget && (m_options & HWCViewTransitionCrossfade))
            widget->setGraphicsEffect(nullptr);
    }
    Q_EMIT finished();
}
