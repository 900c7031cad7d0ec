#include "Classes/HWCChecksumEVP.h"

#include <cstring>
#include <openssl/evp.h>

void HWCChecksumEVP::ContextDeleter::operator()(evp_md_ctx_st *context) const
{
    EVP_MD_CTX_free(context);
}

HWCChecksumEVP::HWCChecksumEVP(const evp_md_st *algorithm, int digestLength)
    : m_algorithm(algorithm), m_digestLength(digestLength), m_context(EVP_MD_CTX_new())
{
    // Initialised here too, so that an update before the first reset() cannot reach an
    // unset context.
    EVP_DigestInit_ex(m_context.get(), m_algorithm, nullptr);
}

HWCChecksumEVP::~HWCChecksumEVP() = default;

void HWCChecksumEVP::reset()
{
    HWCChecksum::reset();
    EVP_DigestInit_ex(m_context.get(), m_algorithm, nullptr);
}

void HWCChecksumEVP::updateWithBytes(const void *bytes, quint64 length)
{
    HWCChecksum::updateWithBytes(bytes, length);
    EVP_DigestUpdate(m_context.get(), bytes, length);
}

bool HWCChecksumEVP::isEqualToChecksum(const QByteArray &checksum)
{
    if (checksum.size() != m_digestLength)
        return false;
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_DigestFinal_ex(m_context.get(), digest, &length) != 1 || int(length) != m_digestLength)
        return false;
    return std::memcmp(digest, checksum.constData(), size_t(m_digestLength)) == 0;
}
