#include "Classes/HWCActionTypeToStringValueTransformer.h"

#include "Classes/HWCTypes.h"

#include <QCoreApplication>

QString HWCActionTypeToStringValueTransformer::transformedValue(const QVariant &value)
{
    switch (value.toULongLong()) {
    case HWCActionTypeCreate:
        return QCoreApplication::translate("Hashwarden", "Create");
    case HWCActionTypeVerify:
        return QCoreApplication::translate("Hashwarden", "Verify");
    default:
        return {};
    }
}
