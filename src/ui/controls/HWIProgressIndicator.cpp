#include "ui/controls/HWIProgressIndicator.h"

#include "ui/controls/HWCAccessibleFactory.h"
#include "ui/drawing/HWCStyleKit.h"

#include <QAccessible>
#include <QEvent>
#include <QPainter>
#include <cmath>

namespace {

// Long enough to read as motion, short enough to keep up with one update per block read.
constexpr int kRiseMilliseconds = 250;
constexpr int kFrameMilliseconds = 16;

} // namespace

HWIProgressIndicator::HWIProgressIndicator(QWidget *parent)
    : QWidget(parent), m_animation(this, "internalDoubleValue"),
      m_subAnimation(this, "internalSubDoubleValue")
{
    for (QPropertyAnimation *animation : {&m_animation, &m_subAnimation}) {
        animation->setDuration(kRiseMilliseconds);
        animation->setEasingCurve(QEasingCurve::OutCubic);
    }
    m_repaint.setSingleShot(true);
    m_repaint.setInterval(kFrameMilliseconds);
    connect(&m_repaint, &QTimer::timeout, this, qOverload<>(&QWidget::update));
    HWCAccessibleFactory::install();
    setAccessibleName(tr("Progress"));
    setTheme(HWCTheme::Default);
    setDoubleValue(0);
    setSubDoubleValue(0);
}

const HWCGradient &HWIProgressIndicator::gradientForTheme(HWCTheme theme)
{
    switch (theme) {
    case HWCTheme::Success:
        return HWCStyleKit::successGradient();
    case HWCTheme::Error:
        return HWCStyleKit::errorGradient();
    case HWCTheme::Cancelled:
        return HWCStyleKit::cancelledGradient();
    case HWCTheme::Warning:
        return HWCStyleKit::warningGradient();
    case HWCTheme::Default:
        break;
    }
    return HWCStyleKit::defaultGradient();
}

void HWIProgressIndicator::setTheme(HWCTheme theme)
{
    m_theme = theme;
    setupTheme();
}

void HWIProgressIndicator::setupTheme()
{
    m_progressBarGradient = &gradientForTheme(m_theme);
    m_subProgressBarGradient = m_progressBarGradient;
    QMetaObject::invokeMethod(this, qOverload<>(&QWidget::update), Qt::QueuedConnection);
}

void HWIProgressIndicator::moveTo(QPropertyAnimation &animation, double from, double to)
{
    if (to <= from) {
        animation.stop();
        animation.targetObject()->setProperty(animation.propertyName(), to);
    } else if (animation.state() == QAbstractAnimation::Running) {
        // A rise during a rise carries on toward the new value.
        animation.setEndValue(to);
    } else {
        animation.setStartValue(animation.targetObject()->property(animation.propertyName()));
        animation.setEndValue(to);
        animation.start();
    }
}

void HWIProgressIndicator::setDoubleValue(double value)
{
    moveTo(m_animation, m_doubleValue, value);
    m_doubleValue = value;
    describe();
}

void HWIProgressIndicator::setSubDoubleValue(double value)
{
    moveTo(m_subAnimation, m_subDoubleValue, value);
    m_subDoubleValue = value;
    describe();
}

void HWIProgressIndicator::setInternalDoubleValue(double value)
{
    m_internalDoubleValue = value;
    scheduleRepaint();
}

void HWIProgressIndicator::setInternalSubDoubleValue(double value)
{
    m_internalSubDoubleValue = value;
    scheduleRepaint();
}

void HWIProgressIndicator::scheduleRepaint()
{
    if (!m_repaint.isActive())
        m_repaint.start();
}

QRectF HWIProgressIndicator::barRect(double value) const
{
    const double fraction = value / 100.0;
    // Halves round away from zero.
    double barWidth = std::round(fraction * width());
    // Also catches a value that is not a number.
    if (!(barWidth > 0))
        barWidth = 1;
    return QRectF(0, 0, barWidth, height());
}

QRectF HWIProgressIndicator::progressBarRect() const
{
    return barRect(m_internalDoubleValue);
}

QRectF HWIProgressIndicator::subProgressBarRect() const
{
    return barRect(m_internalSubDoubleValue);
}

QSize HWIProgressIndicator::sizeHint() const
{
    return QSize(240, 12);
}

void HWIProgressIndicator::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    HWCStyleKit::drawProgressBarTrackWithFrame(painter, rect(), std::floor(height() * 0.5));
    if (m_subDoubleValue > 0) {
        const QRectF bar = subProgressBarRect();
        HWCStyleKit::drawSubProgressBarWithFrame(painter, bar, *m_subProgressBarGradient,
                                                 std::floor(bar.height() * 0.5));
    }
    if (m_doubleValue > 0) {
        const QRectF bar = progressBarRect();
        HWCStyleKit::drawProgressBarWithFrame(painter, bar, *m_progressBarGradient,
                                              std::floor(bar.height() * 0.5));
    }
}

bool HWIProgressIndicator::event(QEvent *event)
{
    // The owning window gained or lost focus, whichever window that is now.
    if (event->type() == QEvent::WindowActivate || event->type() == QEvent::WindowDeactivate)
        update();
    return QWidget::event(event);
}

double HWIProgressIndicator::shownValue() const
{
    const double shown = std::max(m_doubleValue, m_subDoubleValue);
    return std::isfinite(shown) ? std::clamp(shown, 0.0, 100.0) : 0.0;
}

void HWIProgressIndicator::describe()
{
    const QString description = tr("%1 percent").arg(std::lround(shownValue()));
    // Screen readers hear of a change, not of every block read.
    if (description == accessibleDescription())
        return;
    setAccessibleDescription(description);
    QAccessibleValueChangeEvent change(this, shownValue());
    QAccessible::updateAccessibility(&change);
}
