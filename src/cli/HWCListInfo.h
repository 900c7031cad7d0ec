#pragma once

#include <QString>

// `hashwarden info MHL`: what one MHL file, or one ASC MHL history, lists. Main thread.
namespace HWCListInfo {

// Prints the creator tool, the number of files, their total size and the digest kinds
// present, as text or as one JSON object; for a history also its format, generations and
// every generation's tool; the text shows the path and the tools as hwc_displayedName()
// does. path names an MHL file, or a history by its `ascmhl` folder, a
// file in it or the folder that holds it. Returns the exit code: 0, or 66 when the path is
// not a readable MHL file or history.
int run(const QString &path, bool json);

} // namespace HWCListInfo
