#pragma once

#include "engine/digests/HWCChecksum.h"

#include <memory>
#include <optional>

struct evp_md_ctx_st;
struct evp_md_st;

// A digest computed through OpenSSL's EVP interface (MD5, SHA-1). The digest is finalised
// by the first isEqualToChecksum() or digestText() after a reset(); later ones reuse it.
// One thread at a time; a thread that made one releases its OpenSSL state when it ends.
class HWCChecksumEVP : public HWCChecksum {
public:
    ~HWCChecksumEVP() override;

    // The named algorithm of the default library context, or null after logging at error
    // level why OpenSSL cannot provide it.
    static const evp_md_st *fetch(const char *name); // any thread

    bool isAvailable() const override { return m_algorithm && m_context; }
    void reset() override;
    void updateWithBytes(const void *bytes, quint64 length) override;
    bool isEqualToChecksum(const QByteArray &checksum) override;
    QString digestText() override;

protected:
    // algorithm is fetched once by the subclass and lives as long as the process.
    HWCChecksumEVP(const evp_md_st *algorithm, int digestLength);

    // Finalises the digest at the first call after a reset(); empty when OpenSSL fails.
    QByteArray finalDigest();

private:
    struct ContextDeleter {
        void operator()(evp_md_ctx_st *context) const;
    };
    const evp_md_st *m_algorithm;
    int m_digestLength;
    std::unique_ptr<evp_md_ctx_st, ContextDeleter> m_context;
    std::optional<QByteArray> m_final;
};
