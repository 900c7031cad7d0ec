#include "engine/operations/HWCEntryRules.h"

#include "engine/digests/HWCChecksum.h"
#include "engine/files/HWCPathAdditions.h"
#include "engine/mhl/HWCChecksumEntry.h"

#include <algorithm>
#include <optional>

namespace HWCEntryRules {

namespace {

// The size an entry lists, when it lists one as a non-negative decimal number.
std::optional<quint64> listedSize(const HWCChecksumEntry &entry)
{
    const QString text = entry.value("size").trimmed();
    const bool digits = !text.isEmpty() && std::all_of(text.begin(), text.end(), [](QChar c) {
        return c >= QLatin1Char('0') && c <= QLatin1Char('9');
    });
    bool valid = false;
    const quint64 size = digits ? text.toULongLong(&valid) : 0;
    return valid ? std::optional(size) : std::nullopt;
}

} // namespace

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
    if (const QString size = entry.value("size"); !size.isNull() && !listedSize(entry))
        return QStringLiteral("its size \"%1\" is not a number of bytes").arg(size);
    return {};
}

HWCVerifiedFile::Detail listedDetail(const HWCChecksumEntry &entry, const HWCChecksum &checksum)
{
    HWCVerifiedFile::Detail detail;
    detail.digestKind = checksum.name();
    detail.expected = entry.value(detail.digestKind.toStdString());
    detail.expectedSize = listedSize(entry);
    return detail;
}

} // namespace HWCEntryRules
