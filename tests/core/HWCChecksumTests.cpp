#include "engine/digests/HWCChecksumKinds.h"
#include "engine/digests/HWIDataAdditions.h"
#include "support/VerificationFixtures.h"

#include <QFile>
#include <xxhash.h>

using VerificationFixtures::toolDigest;

namespace {

// Feeds data through a fresh checksum of the kind and compares with the stored text.
bool matches(const char *kind, const QByteArray &data, const QString &text)
{
    const std::unique_ptr<HWCChecksum> checksum = HWCChecksumKinds::make(kind);
    checksum->reset();
    checksum->updateWithBytes(data.constData(), quint64(data.size()));
    return checksum->isEqualToHexadecimalString(text);
}

// The checksum's own text for data, asked for after a comparison that finalised it.
QString textAfterComparing(const char *kind, const QByteArray &data)
{
    const std::unique_ptr<HWCChecksum> checksum = HWCChecksumKinds::make(kind);
    checksum->reset();
    checksum->updateWithBytes(data.constData(), quint64(data.size()));
    checksum->isEqualToHexadecimalString(u"00");
    return checksum->digestText();
}

} // namespace

TEST(HWCChecksum, KnownVectorsInTheirStoredTextForm)
{
    const std::tuple<const char *, QByteArray, QString> vectors[] = {
        {"md5", "", "d41d8cd98f00b204e9800998ecf8427e"},
        {"md5", "message digest", "F96B697D7CB7938D525A2F31AAF161D0"},
        {"md5", QByteArray("1234567890").repeated(8), "57edf4a22be3c955ac49da2e2107b67a"},
        {"sha1", "abc", "a9993e364706816aba3e25717850c26c9cd0d89d"},
        {"sha1", QByteArray(1000000, 'a'), "34AA973CD4C4DAA4F61EEB2BDBAD27316534016F"},
        // Least significant byte first, unlike the canonical ef46db3751d8e999.
        {"xxhash64", "", "99e9d85137db46ef"},
        // A decimal number: 0x02cc5d05.
        {"xxhash", "", "46947589"},
        {"xxhash64be", "", "ef46db3751d8e999"},
        {"xxh3", "", "2d06800538d394c2"},
        {"xxh128", "", "99aa06d3014798d86001c324468d497f"},
    };
    for (const auto &[kind, data, text] : vectors) {
        SCOPED_TRACE(text.toStdString());
        QString changed = text;
        changed[1] = changed[1] == QLatin1Char('0') ? QLatin1Char('1') : QLatin1Char('0');
        EXPECT_TRUE(matches(kind, data, text));
        EXPECT_FALSE(matches(kind, data, changed));
        EXPECT_EQ(textAfterComparing(kind, data), text.toLower());
    }
    EXPECT_FALSE(matches("xxhash64", "", "ef46db3751d8e999"));
    EXPECT_EQ(HWCChecksumKinds::make("sha256"), nullptr);
}

TEST(HWCChecksum, AgreesWithIndependentToolsOnFilesReadInBlocks)
{
    QTemporaryDir folder;
    const qint64 mebibyte = 1 << 20;
    for (const qint64 size : {qint64(0), mebibyte - 1, mebibyte + 1, 3 * mebibyte + 7}) {
        const QString path = folder.filePath(QString::number(size));
        TestSupport::writeFile(path, size, quint32(size));
        QStringList kinds = {"xxh3", "xxh128"};
        for (const HWCChecksumKinds::Kind &kind : HWCChecksumKinds::listOrder())
            kinds.append(kind.name);
        for (const QString &kind : kinds) {
            SCOPED_TRACE(std::to_string(size) + " " + kind.toStdString());
            const std::unique_ptr<HWCChecksum> checksum =
                HWCChecksumKinds::make(kind.toStdString());
            checksum->reset();
            QFile file(path);
            ASSERT_TRUE(file.open(QIODevice::ReadOnly));
            while (!file.atEnd()) {
                const QByteArray block = file.read(mebibyte);
                checksum->updateWithBytes(block.constData(), quint64(block.size()));
            }
            EXPECT_EQ(checksum->bytesRead(), quint64(size));
            const QString expected = toolDigest(kind, path);
            EXPECT_TRUE(checksum->isEqualToHexadecimalString(expected.toUpper()))
                << expected.toStdString();
            // Only the 64- and 128-bit xxHash kinds hand out their value.
            if (kind.startsWith("xxh") && kind != "xxhash") {
                EXPECT_EQ(hwi_hexadecimalString(checksum->value()), expected);
            }
        }
    }
}

TEST(HWCChecksum, ResetStartsOverAndWrongLengthsCompareUnequal)
{
    const QByteArray data("abc");
    const std::unique_ptr<HWCChecksum> md5 = HWCChecksumKinds::make("md5");
    for (const char *bytes : {"garbage", "abc"}) {
        md5->reset();
        md5->updateWithBytes(bytes, quint64(strlen(bytes)));
    }
    EXPECT_EQ(md5->bytesRead(), 3u);
    EXPECT_TRUE(md5->isEqualToHexadecimalString(u"900150983cd24fb0d6963f7d28e17f72"));
    // A trailing odd digit is ignored; a missing one is not.
    EXPECT_TRUE(matches("md5", data, "900150983cd24fb0d6963f7d28e17f72f"));
    EXPECT_FALSE(matches("md5", data, "900150983cd24fb0d6963f7d28e17f7"));
    EXPECT_FALSE(matches("sha1", data, "a9993e364706816aba3e25717850c26c9cd0d8"));

    const std::unique_ptr<HWCChecksum> xxh64 = HWCChecksumKinds::make("xxhash64");
    xxh64->reset();
    xxh64->updateWithBytes(data.constData(), 3);
    const QByteArray digest = xxh64->value();
    EXPECT_EQ(xxh64->value(), digest) << "value() leaves the state alone";
    EXPECT_FALSE(xxh64->isEqualToChecksum(digest.left(7)) ||
                 xxh64->isEqualToChecksum(digest + '\0'));
    EXPECT_TRUE(xxh64->isEqualToChecksum(digest));
}

TEST(HWCChecksum, XXHash32TextIsReadAsSignedDecimal)
{
    // Inputs whose digests lie on either side of 2^31.
    QByteArray low;
    QByteArray high;
    for (int i = 0; low.isEmpty() || high.isEmpty(); ++i) {
        const QByteArray candidate = QByteArray::number(i);
        (XXH32(candidate.constData(), size_t(candidate.size()), 0) < 0x80000000u ? low : high) =
            candidate;
    }
    for (const QByteArray &data : {low, high}) {
        const quint32 digest = XXH32(data.constData(), size_t(data.size()), 0);
        SCOPED_TRACE(digest);
        for (const QString &same :
             {QString::number(digest), QString::number(qint64(digest) - (qint64(1) << 32)),
              QString::number(qint64(digest) + (qint64(5) << 32)),
              QStringLiteral(" \t\n+%1").arg(digest), QStringLiteral("%1abc 12").arg(digest)})
            EXPECT_TRUE(matches("xxhash", data, same)) << same.toStdString();
        for (const QString &other :
             {QStringLiteral("+ %1").arg(digest), QString::number(digest, 16),
              QStringLiteral("0x%1").arg(digest, 0, 16), QString::number(digest + 1)})
            EXPECT_FALSE(matches("xxhash", data, other)) << other.toStdString();
    }
}
