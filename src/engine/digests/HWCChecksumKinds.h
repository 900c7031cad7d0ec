#pragma once

#include "engine/digests/HWCChecksum.h"

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

// The four kinds of an MHL 1.1 list, in the order verification prefers them when one entry
// carries several: md5, xxhash64, sha1, xxhash.
std::span<const Kind> preferred();

// The order in which verification tries the kinds of an MHL 1.1 entry: preferred(), then
// the big-endian xxhash64be that many writers use.
std::span<const Kind> listOrder();

// The order in which verification tries the kinds of an ASC MHL history, fastest first:
// xxh3, xxh128, xxhash64be (a manifest's xxh64), sha1, md5, c4.
std::span<const Kind> historyOrder();

// The kind a new MHL is written with (xxhash64).
const Kind &created();

// A new checksum of the named kind; null when no kind has that name.
std::unique_ptr<HWCChecksum> make(std::string_view name);

} // namespace HWCChecksumKinds
