#include "Classes/HWCActionTypeToStringValueTransformer.h"

#include "Classes/HWCStateNames.h"

QString HWCActionTypeToStringValueTransformer::transformedValue(const QVariant &value)
{
    return HWCActionTypeName(value.toULongLong());
}
