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
    if (state >= std::size(kOperationStateNames))
        return QString();
    return QString::fromLatin1(kOperationStateNames[state]);
}

QString HWCFileStateName(HWCFileState state)
{
    if (state < 1 || state > std::size(kFileStateNames))
        return {};
    return QCoreApplication::translate("Hashwarden", kFileStateNames[state - 1]);
}

QString HWCActionTypeName(HWCActionType type)
{
    switch (type) {
    case HWCActionTypeCreate:
        return QCoreApplication::translate("Hashwarden", "Create");
    case HWCActionTypeVerify:
        return QCoreApplication::translate("Hashwarden", "Verify");
    default:
        return {};
    }
}
