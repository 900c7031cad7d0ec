#include "ui/drawing/HWCRibbonView.h"

#include "engine/session/HWCSession.h"
#include "ui/drawing/HWCStyleKit.h"

#include <QPainter>

HWCRibbonView::HWCRibbonView(QWidget *parent) : QWidget(parent)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAccessibleName(tr("Release type"));
    setAccessibleDescription(HWCSession::sharedSession().releaseType());
}

QSize HWCRibbonView::sizeHint() const
{
    return QSize(38, 38);
}

void HWCRibbonView::paintEvent(QPaintEvent *)
{
    const QString releaseType = HWCSession::sharedSession().releaseType();
    QPainter painter(this);
    if (releaseType == QLatin1String("Alpha"))
        HWCStyleKit::drawAlphaRibbonWithFrame(painter, rect());
    else if (releaseType == QLatin1String("Beta"))
        HWCStyleKit::drawBetaRibbonWithFrame(painter, rect());
}
