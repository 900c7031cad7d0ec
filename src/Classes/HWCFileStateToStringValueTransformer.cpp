#include "Classes/HWCFileStateToStringValueTransformer.h"

#include <QCoreApplication>
#include <array>

namespace {

// Indexed by file state - 1.
constexpr std::array kHWCFileStateTexts = {
    QT_TRANSLATE_NOOP("Hashwarden", "File read successfully"),
    QT_TRANSLATE_NOOP("Hashwarden", "Hash fail"),
    QT_TRANSLATE_NOOP("Hashwarden", "Missing file"),
    QT_TRANSLATE_NOOP("Hashwarden", "Access denied"),
    QT_TRANSLATE_NOOP("Hashwarden", "Can't open file"),
    QT_TRANSLATE_NOOP("Hashwarden", "Can't read file"),
    QT_TRANSLATE_NOOP("Hashwarden", "Can't close file"),
    QT_TRANSLATE_NOOP("Hashwarden", "No hash"),
    QT_TRANSLATE_NOOP("Hashwarden", "Unknown hash"),
};

} // namespace

QString HWCFileStateToStringValueTransformer::transformedValue(const QVariant &value)
{
    const qint64 state = value.toLongLong();
    if (state < 1 || state > qint64(kHWCFileStateTexts.size()))
        return {};
    return QCoreApplication::translate("Hashwarden", kHWCFileStateTexts[size_t(state - 1)]);
}
