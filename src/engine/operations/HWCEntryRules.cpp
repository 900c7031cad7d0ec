#include "engine/operations/HWCEntryRules.h"

#include "engine/digests/HWCChecksum.h"
#include "engine/files/HWCPathAdditions.h"
#include "engine/mhl/HWCChecksumEntry.h"

namespace HWCEntryRules {

std::shared_ptr<HWCChecksum> preferredChecksum(const HWCChecksumEntry &entry,
                                               std::span<const HWCChecksumKinds::Kind> order)
{
    for (const HWCChecksumKinds::Kind &kind : order) {
        if (entry.contains(kind.name)) {
            std::unique_ptr<HWCChecksum> checksum = kind.make();
            return checksum->isAvailable() ? std::move(checksum) : nullptr;
        }
    }
    return nullptr;
}

QString refusalOf(const HWCChecksumEntry &entry)
{
    // A list must not make us read files above its own folder.
    if (hwc_climbsOutOfFolder(entry.fileName()))
        return QStringLiteral("its path leaves the MHL's folder");
    const QByteArrayView size = entry.text(HWCChecksumEntry::Field::Size);
    if (!size.isNull() && !entry.listedSize())
        return QStringLiteral("its size \"%1\" is not a number of bytes")
            .arg(QString::fromUtf8(size));
    return {};
}

const char *kindName(const HWCChecksum &checksum, std::span<const HWCChecksumKinds::Kind> order)
{
    const QString name = checksum.name();
    for (const HWCChecksumKinds::Kind &kind : order) {
        if (name == QLatin1String(kind.name))
            return kind.name;
    }
    return nullptr;
}

} // namespace HWCEntryRules
