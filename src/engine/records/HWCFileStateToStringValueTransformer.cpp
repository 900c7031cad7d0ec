#include "engine/records/HWCFileStateToStringValueTransformer.h"

#include "engine/records/HWCStateNames.h"

QString HWCFileStateToStringValueTransformer::transformedValue(const QVariant &value)
{
    const qint64 state = value.toLongLong();
    return state < 1 ? QString() : HWCFileStateName(HWCFileState(state));
}
