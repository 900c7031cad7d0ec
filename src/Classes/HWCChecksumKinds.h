#pragma once

#include "Classes/HWCChecksum.h"

#include <memory>
#include <span>
#include <string_view>

// Every digest kind the program computes: its name, which is also its element name in an
// MHL, and how to make one. Any thread.
namespace HWCChecksumKinds {

struct Kind {
    const char *name;
    std::unique_ptr<HWCChecksum> (*make)();
};

// Every kind, in the order verification prefers them when one entry carries several:
// md5, xxhash64, sha1, xxhash.
std::span<const Kind> preferred();

// The kind a new MHL is written with (xxhash64).
const Kind &created();

// A new checksum of the named kind; null when no kind has that name.
std::unique_ptr<HWCChecksum> make(std::string_view name);

} // namespace HWCChecksumKinds
