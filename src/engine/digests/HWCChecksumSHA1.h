#pragma once

#include "engine/digests/HWCChecksumEVP.h"

// SHA-1 through OpenSSL. The digest is finalised by the first comparison after a reset().
// One thread at a time.
class HWCChecksumSHA1 final : public HWCChecksumEVP {
public:
    static constexpr const char *kName = "sha1";
    static constexpr int kDigestLength = 20;

    HWCChecksumSHA1();
    ~HWCChecksumSHA1() override;

    QString name() const override;
};
