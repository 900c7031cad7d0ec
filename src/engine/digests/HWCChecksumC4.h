#pragma once

#include "engine/digests/HWCChecksumEVP.h"

// The C4 ID of ASC MHL: "c4" and the SHA-512 digest as a base-58 number, left-padded with "1"
// to 88 digits. The digest is finalised by the first comparison or identifier() after a
// reset(). One thread at a time.
class HWCChecksumC4 final : public HWCChecksumEVP {
public:
    static constexpr const char *kName = "c4";
    static constexpr int kDigestLength = 64;

    HWCChecksumC4();
    ~HWCChecksumC4() override;

    QString name() const override;

    // The ID of the bytes so far; empty when OpenSSL fails.
    QString identifier();

    // text is a C4 ID; compared exactly, as base 58 is case-sensitive.
    bool isEqualToHexadecimalString(QStringView text) override;
    QString digestText() override { return identifier(); }
};
