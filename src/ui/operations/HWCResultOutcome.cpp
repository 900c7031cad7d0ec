#include "ui/operations/HWCResultOutcome.h"

#include "engine/operations/HWCSourceOperation.h"
#include "engine/records/HWCOperationInfo.h"

#include <QCoreApplication>

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

HWCTheme HWCResultOutcome::theme(Outcome outcome)
{
    switch (outcome) {
    case Verified:
        return HWCTheme::Success;
    case Warnings:
        return HWCTheme::Warning;
    case Failed:
    case NothingDone:
        return HWCTheme::Error;
    case Cancelled:
        return HWCTheme::Cancelled;
    default:
        return HWCTheme::Default;
    }
}

QString HWCResultOutcome::stateText(const HWCSourceOperation &operation)
{
    // The info's state, which the text follows, not the operation's, which a worker sets.
    const HWCOperationInfo *info = operation.info();
    if (info->state() == HWCOperationState::Cancelled)
        return QCoreApplication::translate("Hashwarden", "Cancelled.");
    return info->stateString();
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
