#pragma once

#include "engine/ascmhl/HWCASCMHLSettings.h"
#include "engine/files/HWCExcludedNames.h"

#include <QString>
#include <QStringList>
#include <memory>

class HWCSource;

// What a creation writes: an MHL 1.1 list beside the files, or the first generation of an ASC
// MHL history in the folder's `ascmhl` folder.
enum class HWCListFormat { MHL, ASCMHL };

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

    // Creation: the list it writes.
    HWCListFormat listFormat = HWCListFormat::MHL;

    // Creation: the digest kinds every entry carries, each computed from the same read:
    // names of HWCChecksumKinds::preferred() for an MHL 1.1 list (in this order), of
    // HWCChecksumKinds::historyOrder() for a history. Empty: the kind HWCChecksumKinds::created()
    // names, or xxh128 for a history.
    QStringList digestKinds{};

    // Creation of a history: author, ignore patterns, directory hashes.
    HWCASCMHLSettings ascmhl{};

    // Creation of an MHL 1.1 list: files whose names match are left out of it. Verification: files
    // whose names match are never reported as unlisted.
    HWCExcludedNames excludes{QStringList()};

    // Verification: the folder the files of a list are looked for in, in place of the list's
    // own folder (for a list kept apart from the media); a source folder's lists in
    // subfolders look in the same subfolders of it. Empty: the list's own folder.
    QString rootFolder{};

    // Verification: after the check, also find the files under the folder the lists' files
    // are looked for in that no list names.
    bool searchUnlistedFiles = false;

    // Verification: record the check as a new generation of each ASC MHL history it read
    // (HWCASCMHLSeal), with the settings of ascmhl; needs searchUnlistedFiles for the files
    // new since the last generation.
    bool seal = false;
    // Verification with seal: a new file with the content of a missing one is recorded as
    // that file renamed.
    bool detectRenames = false;
};
