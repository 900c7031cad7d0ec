// Feeds arbitrary bytes to the MHL reader through a file, as a list on a disk reaches it,
// and touches everything a verification reads.
#include "engine/digests/HWCChecksumKinds.h"
#include "engine/mhl/HWCChecksumEntry.h"
#include "engine/mhl/HWCMHLReader.h"
#include "engine/mhl/HWCMediaHashList.h"

#include <QString>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <unistd.h>

namespace {

// In memory, one per process (parallel fuzzing jobs must not share it), removed at exit.
struct ListFile {
    QString path = QStringLiteral("/dev/shm/hwc-mhl-reader-fuzzer-%1.mhl").arg(getpid());
    ~ListFile() { std::remove(path.toLocal8Bit().constData()); }
};

const QString &listPath()
{
    static const ListFile file;
    return file.path;
}

// Whether two readings of a list gave the same records, field by field and digest by digest.
bool sameRecords(const HWCMHLReader::Contents &one, const HWCMHLReader::Contents &other)
{
    if (one.problem != other.problem || one.tool != other.tool ||
        one.records.size() != other.records.size())
        return false;
    for (size_t index = 0; index < one.records.size(); ++index) {
        const HWCChecksumEntry &a = one.records[index];
        const HWCChecksumEntry &b = other.records[index];
        for (int field = 0; field <= int(HWCChecksumEntry::Field::HashDate); ++field) {
            if (a.text(HWCChecksumEntry::Field(field)) != b.text(HWCChecksumEntry::Field(field)))
                return false;
        }
        const QList<QByteArrayView> kinds = a.digestKinds();
        if (kinds != b.digestKinds())
            return false;
        for (const QByteArrayView kind : kinds) {
            if (a.digest(kind) != b.digest(kind))
                return false;
        }
    }
    return true;
}

// Keeps the reads below from being optimised away.
volatile quint64 g_sink = 0;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray path = listPath().toLocal8Bit();
    FILE *file = std::fopen(path.constData(), "wb");
    if (!file)
        return 0;
    const bool written = std::fwrite(data, 1, size, file) == size;
    if (std::fclose(file) != 0 || !written)
        return 0;

    const std::unique_ptr<HWCMediaHashList> list =
        HWCMediaHashList::initWithContentsOfURL(listPath());
    if (!list)
        __builtin_trap();
    // Unsigned: the sizes a list declares are arbitrary and their sum may wrap.
    quint64 characters =
        quint64(list->fileCount()) + quint64(list->fileSize()) + quint64(list->root().size());
    if (!list->wasRead() && (characters != 0 || list->tool()))
        __builtin_trap();
    if (const std::optional<QString> tool = list->tool())
        characters += quint64(tool->size());
    for (const HWCChecksumEntry &record : list->hashes()) {
        characters += quint64(record.fileText().size() + record.fileName().size()) +
                      record.listedSize().value_or(0) + record.listsNoDigest();
        for (const HWCChecksumKinds::Kind &kind : HWCChecksumKinds::preferred())
            characters += quint64(record.digestText(kind.name).size()) + record.contains(kind.name);
    }
    g_sink = characters;
    // A long list is parsed in pieces: in pieces of a few bytes, this one must read the same.
    if (!sameRecords(HWCMHLReader::read(listPath(), 8),
                     HWCMHLReader::read(listPath(), qsizetype(size) + 1)))
        __builtin_trap();
    return 0;
}
