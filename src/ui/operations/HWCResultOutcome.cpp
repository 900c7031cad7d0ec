#include "ui/operations/HWCResultOutcome.h"

#include "engine/operations/HWCSourceOperation.h"
#include "ui/controls/HWIProgressIndicator.h"

HWCResultOutcome::Outcome HWCResultOutcome::of(const HWCSourceOperation &operation)
{
    if (!operation.isFinished())
        return Running;
    const HWCOperationState state = operation.state();
    if (state == HWCOperationState::Cancelled)
        return Cancelled;
    const bool failures = !operation.filesWithState(HWCFileState::ReadSuccessfully, true).isEmpty();
    if (operation.actionType() == HWCActionType::Create) {
        if (operation.writtenList().path.isEmpty())
            return NothingDone;
        return failures ? Failed : Verified;
    }
    if (state == HWCOperationState::NoMHL || operation.verifiedNothing())
        return NothingDone;
    if (failures)
        return Failed;
    // A history that refused its generation holds no record of this check.
    const bool leftOut =
        !operation.unlistedFiles().isEmpty() || !operation.unusableLists().isEmpty() ||
        !operation.unreadableFolders().isEmpty() || !operation.writtenList().writeError.isNull();
    return leftOut ? Warnings : Verified;
}

quint64 HWCResultOutcome::theme(Outcome outcome)
{
    switch (outcome) {
    case Verified:
        return HWIProgressIndicator::kThemeSuccess;
    case Warnings:
        return HWIProgressIndicator::kThemeWarning;
    case Failed:
    case NothingDone:
        return HWIProgressIndicator::kThemeError;
    case Cancelled:
        return HWIProgressIndicator::kThemeCancelled;
    default:
        return HWIProgressIndicator::kThemeDefault;
    }
}

const char *HWCResultOutcome::sign(Outcome outcome)
{
    switch (outcome) {
    case Verified:
        return "✓";
    case Warnings:
        return "!";
    case Failed:
    case NothingDone:
        return "✕";
    case Cancelled:
        return "■";
    default:
        return "…";
    }
}
