#include "engine/records/HWCActionTypeToStringValueTransformer.h"

#include "engine/records/HWCStateNames.h"

QString HWCActionTypeToStringValueTransformer::transformedValue(const QVariant &value)
{
    return HWCActionTypeName(HWCActionType(value.toULongLong()));
}
