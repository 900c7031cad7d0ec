#include "cli/HWCExitCode.h"

#include "engine/operations/HWCSourceOperation.h"
#include "engine/reports/HWCSourceRun.h"

namespace HWCExitCode {

int forState(HWCOperationState state)
{
    switch (state) {
    case HWCOperationState::VerifiedOK:
    case HWCOperationState::CreatedOK:
        return kOK;
    case HWCOperationState::FinishedWithWarnings:
        return kWarnings;
    case HWCOperationState::NoMHL:
    case HWCOperationState::NoFilesFound:
        return kNothingToDo;
    default:
        return kCancelled;
    }
}

int forOperation(const HWCSourceOperation &operation)
{
    const HWCSourceOperation::WrittenList written = operation.writtenList();
    if (!written.writeError.isNull())
        return kCantCreate;
    int code = forState(operation.state());
    if (operation.verifiedNothing())
        code = kNothingToDo;
    // A list complete at its name but not synced into its folder may not survive a power cut.
    if (!operation.unusableLists().isEmpty() || !written.syncError.isNull())
        code = worse(code, kWarnings);
    return code;
}

int forRun(const HWCSourceRun &run)
{
    const int code = forOperation(*run.operation);
    const HWCSourceOperation &operation = *run.operation;
    if (run.strict &&
        (!operation.unlistedFiles().isEmpty() || !operation.unreadableFolders().isEmpty()))
        return worse(code, kWarnings);
    return code;
}

int worse(int a, int b)
{
    // A bad file matters more to a script than an empty folder, so 1 outranks 2.
    const auto rank = [](int code) {
        switch (code) {
        case kOK:
            return 0;
        case kNothingToDo:
            return 1;
        case kWarnings:
            return 2;
        case kCancelled:
            return 3;
        default:
            return 4;
        }
    };
    return rank(a) >= rank(b) ? a : b;
}

} // namespace HWCExitCode
