#pragma once

#include "engine/digests/HWCChecksumEVP.h"

// MD5 through OpenSSL. The digest is finalised by the first comparison after a reset().
// One thread at a time.
class HWCChecksumMD5 final : public HWCChecksumEVP {
public:
    static constexpr const char *kName = "md5";
    static constexpr int kDigestLength = 16;

    HWCChecksumMD5();
    ~HWCChecksumMD5() override;

    QString name() const override;
};
