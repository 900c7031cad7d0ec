#pragma once

#include <QtGlobal>

// Values shared by sources, operations, records and display code.

// What a source asks for: create a list, or verify against the lists it holds.
using HWCActionType = quint64;
inline constexpr HWCActionType HWCActionTypeCreate = 1;
inline constexpr HWCActionType HWCActionTypeVerify = 2;

// One enumeration for both kinds of operation.
using HWCOperationState = quint64;
inline constexpr HWCOperationState HWCOperationStatePreparing = 0;
inline constexpr HWCOperationState HWCOperationStateVerifying = 1;
inline constexpr HWCOperationState HWCOperationStateVerifiedOK = 2;
inline constexpr HWCOperationState HWCOperationStateFinishedWithWarnings = 3;
inline constexpr HWCOperationState HWCOperationStateCancelled = 4;
inline constexpr HWCOperationState HWCOperationStateNoMHL = 5;
inline constexpr HWCOperationState HWCOperationStateCreating = 6;
inline constexpr HWCOperationState HWCOperationStateCreatedOK = 7;
inline constexpr HWCOperationState HWCOperationStateNoFilesFound = 8;

// The outcome of one file. Only HWCFileStateReadSuccessfully is a success.
using HWCFileState = quint64;
inline constexpr HWCFileState HWCFileStateReadSuccessfully = 1;
inline constexpr HWCFileState HWCFileStateHashFail = 2;
inline constexpr HWCFileState HWCFileStateMissingFile = 3;
inline constexpr HWCFileState HWCFileStateAccessDenied = 4;
inline constexpr HWCFileState HWCFileStateCantOpenFile = 5;
inline constexpr HWCFileState HWCFileStateCantReadFile = 6;
inline constexpr HWCFileState HWCFileStateCantCloseFile = 7;
inline constexpr HWCFileState HWCFileStateNoHash = 8;
inline constexpr HWCFileState HWCFileStateUnknownHash = 9;

// Every read request of verification and creation asks for this many bytes.
inline constexpr quint64 kHWCReadBlockSize = 1048576;
