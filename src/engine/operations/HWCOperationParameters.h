#pragma once

#include "engine/files/HWCExcludedNames.h"

#include <QString>
#include <QStringList>
#include <memory>

class HWCSource;

// What an operation is made with; fixed for its life. A field that only one kind of
// operation reads says so; the other kind leaves it alone.
struct HWCOperationParameters {
    std::shared_ptr<HWCSource> source{};

    // How many files are read at once; 1 (or less) reads them one after another. Records
    // keep their order either way.
    int jobs = 1;

    // With one job, how many files are read ahead at once (1 to HWCReadAhead::kMaxDepth);
    // 0: as many as the medium beneath the source takes (HWCMedium::queueDepth()).
    int readDepth = 0;

    // Creation: the digest kinds (element names of HWCChecksumKinds::preferred()) every
    // entry carries, in this order, each computed from the same read. Empty: the kind
    // HWCChecksumKinds::created() names.
    QStringList digestKinds{};

    // Creation: files whose names match are left out of the list. Verification: files whose
    // names match are never reported as unlisted.
    HWCExcludedNames excludes{QStringList()};

    // Verification: the folder the files of a list are looked for in, in place of the list's
    // own folder (for a list kept apart from the media); a source folder's lists in
    // subfolders look in the same subfolders of it. Empty: the list's own folder.
    QString rootFolder{};

    // Verification: after the check, also find the files under the folder the lists' files
    // are looked for in that no list names.
    bool searchUnlistedFiles = false;
};
