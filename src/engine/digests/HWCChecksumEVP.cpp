#include "engine/digests/HWCChecksumEVP.h"

#include "engine/digests/HWIDataAdditions.h"
#include "engine/session/HWCLog.h"

#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>

namespace {

// OpenSSL keeps state per thread that it frees only when told the thread is ending; pool
// threads come and go, so each one that used a digest tells it on its way out.
struct OpenSSLThreadState {
    ~OpenSSLThreadState() { OPENSSL_thread_stop(); }
};

void keepThreadStateReleased()
{
    static thread_local OpenSSLThreadState state;
    (void)state;
}

} // namespace

const evp_md_st *HWCChecksumEVP::fetch(const char *name)
{
    const EVP_MD *algorithm = EVP_MD_fetch(nullptr, name, nullptr);
    if (!algorithm) {
        char reason[256] = "no reason given";
        if (const unsigned long error = ERR_get_error())
            ERR_error_string_n(error, reason, sizeof reason);
        HWCLogError(QStringLiteral("OpenSSL cannot provide %1: %2")
                        .arg(QLatin1String(name), QString::fromLocal8Bit(reason)));
        ERR_clear_error();
    }
    return algorithm;
}

void HWCChecksumEVP::ContextDeleter::operator()(evp_md_ctx_st *context) const
{
    EVP_MD_CTX_free(context);
}

HWCChecksumEVP::HWCChecksumEVP(const evp_md_st *algorithm, int digestLength)
    : m_algorithm(algorithm), m_digestLength(digestLength), m_context(EVP_MD_CTX_new())
{
    keepThreadStateReleased();
    // Initialised here too, so that an update before the first reset() cannot reach an
    // unset context.
    EVP_DigestInit_ex(m_context.get(), m_algorithm, nullptr);
}

HWCChecksumEVP::~HWCChecksumEVP() = default;

void HWCChecksumEVP::reset()
{
    HWCChecksum::reset();
    m_final.reset();
    EVP_DigestInit_ex(m_context.get(), m_algorithm, nullptr);
}

void HWCChecksumEVP::updateWithBytes(const void *bytes, quint64 length)
{
    HWCChecksum::updateWithBytes(bytes, length);
    EVP_DigestUpdate(m_context.get(), bytes, length);
}

QByteArray HWCChecksumEVP::finalDigest()
{
    if (m_final)
        return *m_final;
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    m_final.emplace();
    if (EVP_DigestFinal_ex(m_context.get(), digest, &length) == 1 && int(length) == m_digestLength)
        m_final = QByteArray(reinterpret_cast<const char *>(digest), int(length));
    return *m_final;
}

bool HWCChecksumEVP::isEqualToChecksum(const QByteArray &checksum)
{
    if (checksum.size() != m_digestLength)
        return false;
    return finalDigest() == checksum;
}

QString HWCChecksumEVP::digestText()
{
    return hwi_hexadecimalString(finalDigest());
}
