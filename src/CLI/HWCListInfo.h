#pragma once

#include <QString>

// `hashwarden info MHL`: what one MHL file lists. Main thread.
namespace HWCListInfo {

// Prints the creator tool, the number of files, their total size and the digest kinds
// present, as text or as one JSON object. Returns the exit code: 0, or 66 when the path is
// not a readable MHL file.
int run(const QString &path, bool json);

} // namespace HWCListInfo
