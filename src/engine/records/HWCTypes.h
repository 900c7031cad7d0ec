#pragma once

#include <QtGlobal>

// Values shared by sources, operations, records and display code.

// The codes below are those of the JSON, the logs and the usage events; keep each value.

// What a source asks for: create a list, or verify against the lists it holds.
enum class HWCActionType : quint64 {
    Create = 1,
    Verify = 2,
};

// One enumeration for both kinds of operation.
enum class HWCOperationState : quint64 {
    Preparing = 0,
    Verifying = 1,
    VerifiedOK = 2,
    FinishedWithWarnings = 3,
    Cancelled = 4,
    NoMHL = 5,
    Creating = 6,
    CreatedOK = 7,
    NoFilesFound = 8,
};

// The outcome of one file. Only ReadSuccessfully is a success.
enum class HWCFileState : quint64 {
    ReadSuccessfully = 1,
    HashFail = 2,
    MissingFile = 3,
    AccessDenied = 4,
    CantOpenFile = 5,
    CantReadFile = 6,
    CantCloseFile = 7,
    NoHash = 8,
    UnknownHash = 9,
};

// The colours of an operation's progress bar. The engine gives Default while an operation
// runs, Success when it ends well, Warning otherwise; the window tells Error and Cancelled
// apart by the outcome.
enum class HWCTheme : quint64 {
    Default = 0,
    Success = 2,
    Error = 3,
    Cancelled = 4,
    Warning = 5,
};

// The number a state or action stands for.
template <typename Code> constexpr quint64 hwc_code(Code code)
{
    return static_cast<quint64>(code);
}

// Every file state, in the order reports group them.
inline constexpr HWCFileState kHWCFileStates[] = {
    HWCFileState::ReadSuccessfully, HWCFileState::HashFail,     HWCFileState::MissingFile,
    HWCFileState::AccessDenied,     HWCFileState::CantOpenFile, HWCFileState::CantReadFile,
    HWCFileState::CantCloseFile,    HWCFileState::NoHash,       HWCFileState::UnknownHash,
};

// Every read request of verification and creation asks for this many bytes.
inline constexpr quint64 kHWCReadBlockSize = 1048576;
