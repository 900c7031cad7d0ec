#include "engine/digests/HWCChecksumSHA1.h"

#include <openssl/evp.h>

namespace {

// Fetched once: an implicit fetch on every reset() costs a provider lookup per file.
// The algorithm lives as long as the process.
const EVP_MD *algorithm()
{
    static const EVP_MD *const fetched = HWCChecksumEVP::fetch("SHA1");
    return fetched;
}

} // namespace

HWCChecksumSHA1::HWCChecksumSHA1() : HWCChecksumEVP(algorithm(), kDigestLength)
{
}

HWCChecksumSHA1::~HWCChecksumSHA1() = default;

QString HWCChecksumSHA1::name() const
{
    return QString::fromLatin1(kName);
}
