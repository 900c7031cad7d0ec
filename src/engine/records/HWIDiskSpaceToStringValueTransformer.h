#pragma once

#include <QString>
#include <QVariant>

// A byte count (signed) as a size in decimal units, one fraction digit at most, in the
// default locale: "999 Bytes", "1.2 MB", "-5 KB".
// Stateless; any thread.
class HWIDiskSpaceToStringValueTransformer {
public:
    static QString transformedValue(const QVariant &value);
};
