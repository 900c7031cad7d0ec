#pragma once

#include <QString>
#include <QVariant>

// An action type as its verb: "Create", "Verify"; null for any other value.
// Stateless; any thread.
class HWCActionTypeToStringValueTransformer {
public:
    static QString transformedValue(const QVariant &value);
};
