#include "engine/operations/HWCEntryRules.h"

#include "engine/digests/HWCChecksum.h"
#include "engine/digests/HWCChecksumGroup.h"
#include "engine/files/HWCPathAdditions.h"
#include "engine/mhl/HWCChecksumEntry.h"

namespace HWCEntryRules {

std::shared_ptr<HWCChecksumGroup> checksumsFor(const HWCChecksumEntry &entry,
                                               std::span<const HWCChecksumKinds::Kind> order,
                                               bool allKinds)
{
    std::vector<std::unique_ptr<HWCChecksum>> members;
    for (const HWCChecksumKinds::Kind &kind : order) {
        if (entry.contains(kind.name)) {
            members.push_back(kind.make());
            break;
        }
    }
    if (members.empty() || !members.front()->isAvailable())
        return nullptr;
    const QString preferred = members.front()->name();
    for (const QByteArrayView kind : allKinds ? entry.digestKinds() : QList<QByteArrayView>()) {
        std::unique_ptr<HWCChecksum> other =
            HWCChecksumKinds::make(std::string_view(kind.data(), size_t(kind.size())));
        if (other && other->isAvailable() && other->name() != preferred)
            members.push_back(std::move(other));
    }
    return std::make_shared<HWCChecksumGroup>(std::move(members));
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

const char *kindName(const HWCChecksum &checksum)
{
    const QString name = checksum.name();
    for (const auto kinds : {HWCChecksumKinds::listOrder(), HWCChecksumKinds::historyOrder()}) {
        for (const HWCChecksumKinds::Kind &kind : kinds) {
            if (name == QLatin1String(kind.name))
                return kind.name;
        }
    }
    return nullptr;
}

} // namespace HWCEntryRules
