#include "engine/digests/HWCChecksumC4.h"

#include "engine/digests/HWIDataAdditions.h"

#include <openssl/evp.h>

namespace {

constexpr qsizetype kDigits = 88;

// Fetched once: an implicit fetch on every reset() costs a provider lookup per file.
// The algorithm lives as long as the process.
const EVP_MD *algorithm()
{
    static const EVP_MD *const fetched = HWCChecksumEVP::fetch("SHA512");
    return fetched;
}

} // namespace

HWCChecksumC4::HWCChecksumC4() : HWCChecksumEVP(algorithm(), kDigestLength)
{
}

HWCChecksumC4::~HWCChecksumC4() = default;

QString HWCChecksumC4::name() const
{
    return QString::fromLatin1(kName);
}

QString HWCChecksumC4::identifier()
{
    const QByteArray digest = finalDigest();
    if (digest.isEmpty())
        return {};
    const QString digits = hwi_base58String(digest);
    return QStringLiteral("c4") + QString(kDigits - digits.size(), QLatin1Char('1')) + digits;
}

bool HWCChecksumC4::isEqualToHexadecimalString(QStringView text)
{
    const QString id = identifier();
    return !id.isEmpty() && text == id;
}
