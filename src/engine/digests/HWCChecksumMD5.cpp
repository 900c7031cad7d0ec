#include "engine/digests/HWCChecksumMD5.h"

#include <openssl/evp.h>

namespace {

// Fetched once: an implicit fetch on every reset() costs a provider lookup per file.
// The algorithm lives as long as the process.
const EVP_MD *algorithm()
{
    static const EVP_MD *const fetched = HWCChecksumEVP::fetch("MD5");
    return fetched;
}

} // namespace

HWCChecksumMD5::HWCChecksumMD5() : HWCChecksumEVP(algorithm(), kDigestLength)
{
}

HWCChecksumMD5::~HWCChecksumMD5() = default;

QString HWCChecksumMD5::name() const
{
    return QString::fromLatin1(kName);
}
