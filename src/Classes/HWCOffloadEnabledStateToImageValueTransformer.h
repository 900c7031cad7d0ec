#pragma once

#include <QImage>
#include <QVariant>

// No state of the offload product has an image: always a null image.
// Stateless; any thread.
class HWCOffloadEnabledStateToImageValueTransformer {
public:
    static QImage transformedValue(const QVariant &value);
};
