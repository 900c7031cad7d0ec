#include "Classes/HWCOffloadEnabledStateToImageValueTransformer.h"

QImage HWCOffloadEnabledStateToImageValueTransformer::transformedValue(const QVariant &)
{
    return {};
}
