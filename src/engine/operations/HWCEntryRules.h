#pragma once

#include "engine/digests/HWCChecksumKinds.h"

#include <QString>
#include <memory>
#include <span>

class HWCChecksum;
class HWCChecksumEntry;

// What a verification makes of one entry of a list before and around reading its file.
// Any thread.
namespace HWCEntryRules {

// The first kind, by preference, that the entry carries. Null when it carries none, or when
// the kind it carries cannot be made here (its library does not provide it): the entry is
// then skipped like an unknown one.
std::shared_ptr<HWCChecksum> preferredChecksum(const HWCChecksumEntry &entry,
                                               std::span<const HWCChecksumKinds::Kind> order);

// Why an entry cannot be checked whatever its file holds; empty for a usable one.
QString refusalOf(const HWCChecksumEntry &entry);

// The name of checksum's kind as order holds it, which lasts as long as the program (for
// HWCVerifiedFile::Finding); null when order has no such kind.
const char *kindName(const HWCChecksum &checksum, std::span<const HWCChecksumKinds::Kind> order);

} // namespace HWCEntryRules
