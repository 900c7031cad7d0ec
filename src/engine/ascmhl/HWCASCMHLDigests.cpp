#include "engine/ascmhl/HWCASCMHLDigests.h"

#include "engine/digests/HWCChecksumC4.h"
#include "engine/digests/HWCChecksumKinds.h"
#include "engine/digests/HWCChecksumXXHash64.h"
#include "engine/digests/HWIDataAdditions.h"

#include <utility>

namespace HWCASCMHLDigests {

namespace {

// In the schema's order.
const std::pair<QString, QString> kElementKinds[] = {
    {QStringLiteral("c4"), QString::fromLatin1(HWCChecksumC4::kName)},
    {QStringLiteral("md5"), QStringLiteral("md5")},
    {QStringLiteral("sha1"), QStringLiteral("sha1")},
    {QStringLiteral("xxh128"), QStringLiteral("xxh128")},
    {QStringLiteral("xxh3"), QStringLiteral("xxh3")},
    {QStringLiteral("xxh64"), QString::fromLatin1(HWCChecksumXXHash64::kBigEndianName)},
};

constexpr QLatin1StringView kC4Prefix("c4");

} // namespace

const QStringList &elements()
{
    static const QStringList names = [] {
        QStringList list;
        for (const auto &[element, kind] : kElementKinds)
            list.append(element);
        return list;
    }();
    return names;
}

QString kindForElement(const QString &element)
{
    for (const auto &[name, kind] : kElementKinds) {
        if (name == element)
            return kind;
    }
    return {};
}

QString elementForKind(const QString &kind)
{
    for (const auto &[element, name] : kElementKinds) {
        if (name == kind)
            return element;
    }
    return {};
}

QStringList inElementOrder(const QStringList &kinds)
{
    QStringList ordered;
    for (const auto &[element, kind] : kElementKinds) {
        if (kinds.contains(kind))
            ordered.append(kind);
    }
    return ordered;
}

QByteArray bytesForText(const QString &element, const QString &text)
{
    if (element == kC4Prefix)
        return text.startsWith(kC4Prefix)
                   ? hwi_dataFromBase58(QStringView(text).mid(2), HWCChecksumC4::kDigestLength)
                   : QByteArray();
    return QByteArray::fromHex(text.toLatin1());
}

QString digestOf(const QString &element, const QByteArray &bytes)
{
    const std::unique_ptr<HWCChecksum> checksum =
        HWCChecksumKinds::make(kindForElement(element).toStdString());
    if (!checksum)
        return {};
    checksum->reset();
    checksum->updateWithBytes(bytes.constData(), quint64(bytes.size()));
    return checksum->digestText();
}

} // namespace HWCASCMHLDigests
