#pragma once

#include <QString>
#include <QVariant>

// A file state as its description; null outside 1 to 9.
// Stateless; any thread.
class HWCFileStateToStringValueTransformer {
public:
    static QString transformedValue(const QVariant &value);
};
