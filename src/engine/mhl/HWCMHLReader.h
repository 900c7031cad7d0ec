#pragma once

#include "engine/mhl/HWCChecksumEntry.h"

#include <QString>
#include <optional>
#include <vector>

// Reads an MHL 1.1 list into plain records. Any thread.
namespace HWCMHLReader {

struct Contents {
    // Why the file could not be read as XML ("is not well-formed XML (undefined entity at
    // byte 120)", "cannot be opened: ..."); empty when it was read, records or not.
    QString problem;
    // The document is a stand-alone ASC MHL 2.0 manifest (root `hashlist`, version 2.x), a
    // packing list: its records are read as a history's generation is.
    bool laterFormat = false;
    // The text of the last `tool` of the last `creatorinfo`; nullopt when there is none.
    std::optional<QString> tool;
    // One record per `hash` child of the root (for a packing list, per path), in document order:
    // each direct child element read as its full text content, the later of two of the same name
    // winning.
    std::vector<HWCChecksumEntry> records;
};

// A list longer than pieceBytes is parsed a piece of about that length at a time, which
// reads the same records and tool as the whole text does.
Contents read(const QString &path, qsizetype pieceBytes = 16 << 20);

} // namespace HWCMHLReader
