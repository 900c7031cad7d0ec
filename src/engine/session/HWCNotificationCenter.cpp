#include "engine/session/HWCNotificationCenter.h"

HWCNotificationCenter &HWCNotificationCenter::defaultCenter()
{
    static HWCNotificationCenter center;
    return center;
}

void HWCNotificationCenter::post(const QString &name, const QVariantMap &userInfo)
{
    Q_EMIT posted(name, userInfo);
}
