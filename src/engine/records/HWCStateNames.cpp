#include "engine/records/HWCStateNames.h"

#include <QCoreApplication>
#include <iterator>

namespace {

// Indexed by operation state.
constexpr const char *kOperationStateNames[] = {
    "Preparing",     "Verifying", "Verified OK", "Finished with warnings", "Cancelled",
    "Error: No MHL", "Creating",  "Created OK",  "Error: No files found",
};

// Indexed by file state - 1.
constexpr const char *kFileStateNames[] = {
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

QString HWCOperationStateName(HWCOperationState state)
{
    if (hwc_code(state) >= std::size(kOperationStateNames))
        return QString();
    return QString::fromLatin1(kOperationStateNames[hwc_code(state)]);
}

QString HWCFileStateName(HWCFileState state)
{
    const quint64 code = hwc_code(state);
    if (code < 1 || code > std::size(kFileStateNames))
        return {};
    return QCoreApplication::translate("Hashwarden", kFileStateNames[code - 1]);
}

QString HWCActionTypeName(HWCActionType type)
{
    switch (type) {
    case HWCActionType::Create:
        return QCoreApplication::translate("Hashwarden", "Create");
    case HWCActionType::Verify:
        return QCoreApplication::translate("Hashwarden", "Verify");
    default:
        return {};
    }
}
