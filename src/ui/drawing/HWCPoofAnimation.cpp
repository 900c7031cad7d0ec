#include "ui/drawing/HWCPoofAnimation.h"

#include <QPainter>
#include <QPainterPath>
#include <QVariantAnimation>
#include <cmath>
#include <numbers>

namespace {

constexpr int kPuffs = 7;

} // namespace

HWCPoofAnimation::HWCPoofAnimation()
    : QWidget(nullptr, Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus)
{
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_DeleteOnClose);
    setFixedSize(kSide, kSide);
}

HWCPoofAnimation *HWCPoofAnimation::showAtPoint(const QPoint &globalPoint)
{
    auto *poof = new HWCPoofAnimation;
    poof->move(globalPoint - QPoint(kSide / 2, kSide / 2));
    auto *animation = new QVariantAnimation(poof);
    animation->setStartValue(0.0);
    animation->setEndValue(1.0);
    animation->setDuration(kDurationMilliseconds);
    animation->setEasingCurve(QEasingCurve::OutCubic);
    connect(animation, &QVariantAnimation::valueChanged, poof,
            [poof](const QVariant &value) { poof->setProgress(value.toReal()); });
    connect(animation, &QVariantAnimation::finished, poof, &QWidget::close);
    poof->show();
    animation->start();
    return poof;
}

void HWCPoofAnimation::setProgress(qreal progress)
{
    m_progress = progress;
    update();
}

void HWCPoofAnimation::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setOpacity(1.0 - m_progress);
    const QPointF centre = QRectF(rect()).center();
    // A ring of puffs that drift outwards and swell around a core that shrinks.
    const qreal spread = 10 + 26 * m_progress;
    const qreal puff = 10 + 10 * m_progress;
    QPainterPath cloud;
    cloud.setFillRule(Qt::WindingFill);
    for (int index = 0; index < kPuffs; ++index) {
        const qreal angle = 2 * std::numbers::pi * index / kPuffs + 0.4;
        cloud.addEllipse(centre + QPointF(std::cos(angle), std::sin(angle)) * spread, puff, puff);
    }
    cloud.addEllipse(centre, spread, spread);
    // One outline, so that overlapping puffs do not show darker seams.
    painter.fillPath(cloud.simplified(), QColor(236, 236, 240, 215));
    const qreal core = 18 * (1.0 - m_progress);
    painter.setBrush(QColor(250, 250, 252, 235));
    painter.drawEllipse(centre, core, core);
}
