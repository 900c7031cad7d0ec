#pragma once

#include "engine/digests/HWCChecksumKinds.h"

#include <QString>
#include <memory>
#include <span>

class HWCChecksum;
class HWCChecksumEntry;
class HWCChecksumGroup;

// What a verification makes of one entry of a list before and around reading its file.
// Any thread.
namespace HWCEntryRules {

// The first kind, by preference, that the entry carries, then, with allKinds, every other
// kind it carries that can be made here, so that one read computes them all. Null when it
// carries none, or when the preferred kind cannot be made here (its library does not provide
// it): the entry is then skipped like an unknown one.
std::shared_ptr<HWCChecksumGroup> checksumsFor(const HWCChecksumEntry &entry,
                                               std::span<const HWCChecksumKinds::Kind> order,
                                               bool allKinds);

// Why an entry cannot be checked whatever its file holds; empty for a usable one.
QString refusalOf(const HWCChecksumEntry &entry);

// The static name of checksum's kind, which lasts as long as the program (for
// HWCVerifiedFile::Finding); null for a kind no list names.
const char *kindName(const HWCChecksum &checksum);

} // namespace HWCEntryRules
