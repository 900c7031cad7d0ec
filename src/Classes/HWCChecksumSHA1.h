#pragma once

#include "Classes/HWCChecksum.h"

#include <memory>
#include <openssl/evp.h>

// SHA-1 through OpenSSL's EVP interface. The digest is finalised by isEqualToChecksum(),
// so an object compares once per reset(). One thread at a time.
class HWCChecksumSHA1 final : public HWCChecksum {
public:
    static constexpr const char *kName = "sha1";
    static constexpr int kDigestLength = 20;

    HWCChecksumSHA1();
    ~HWCChecksumSHA1() override;

    QString name() const override;
    void reset() override;
    void updateWithBytes(const void *bytes, quint64 length) override;
    bool isEqualToChecksum(const QByteArray &checksum) override;

private:
    struct ContextDeleter {
        void operator()(EVP_MD_CTX *context) const { EVP_MD_CTX_free(context); }
    };
    std::unique_ptr<EVP_MD_CTX, ContextDeleter> m_context;
};
