#include "Classes/HWCChecksumMD5.h"

#include <cstring>

namespace {

// Fetched once: an implicit fetch on every reset() costs a provider lookup per file.
// The algorithm lives as long as the process.
const EVP_MD *algorithm()
{
    static const EVP_MD *const fetched = EVP_MD_fetch(nullptr, "MD5", nullptr);
    return fetched;
}

} // namespace

HWCChecksumMD5::HWCChecksumMD5() : m_context(EVP_MD_CTX_new())
{
    // Initialised here too, so that an update before the first reset() cannot reach an
    // unset context.
    EVP_DigestInit_ex(m_context.get(), algorithm(), nullptr);
}

HWCChecksumMD5::~HWCChecksumMD5() = default;

QString HWCChecksumMD5::name() const
{
    return QString::fromLatin1(kName);
}

void HWCChecksumMD5::reset()
{
    HWCChecksum::reset();
    EVP_DigestInit_ex(m_context.get(), algorithm(), nullptr);
}

void HWCChecksumMD5::updateWithBytes(const void *bytes, quint64 length)
{
    HWCChecksum::updateWithBytes(bytes, length);
    EVP_DigestUpdate(m_context.get(), bytes, length);
}

bool HWCChecksumMD5::isEqualToChecksum(const QByteArray &checksum)
{
    if (checksum.size() != kDigestLength)
        return false;
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_DigestFinal_ex(m_context.get(), digest, &length) != 1 || length != kDigestLength)
        return false;
    return std::memcmp(digest, checksum.constData(), kDigestLength) == 0;
}
