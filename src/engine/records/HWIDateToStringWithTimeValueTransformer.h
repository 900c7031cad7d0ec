#pragma once

#include <QString>
#include <QVariant>

// A date as local time usable in a file name: "2017-03-02 at 14.05.09"; null for no date.
// Stateless; any thread.
class HWIDateToStringWithTimeValueTransformer {
public:
    static QString transformedValue(const QVariant &value);
};
