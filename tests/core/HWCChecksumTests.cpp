#include "Categories/HWIDataAdditions.h"
#include "Classes/HWCChecksumMD5.h"
#include "Classes/HWCChecksumSHA1.h"
#include "Classes/HWCChecksumXXHash32.h"
#include "Classes/HWCChecksumXXHash64.h"
#include "support/TestSupport.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>

namespace {

// Feeds data through a freshly reset checksum and compares with the stored text.
bool matches(HWCChecksum &checksum, const QByteArray &data, const QString &text)
{
    checksum.reset();
    checksum.updateWithBytes(data.constData(), quint64(data.size()));
    return checksum.isEqualToHexadecimalString(text);
}

// A text that differs from text in its first digit.
QString withFirstDigitChanged(QString text)
{
    text[0] = text[0] == QLatin1Char('0') ? QLatin1Char('1') : QLatin1Char('0');
    return text;
}

quint32 xxh32Of(const QByteArray &data)
{
    return XXH32(data.constData(), size_t(data.size()), 0);
}

// The first field of an independent tool's output line ("<digest>  <file>").
QString toolDigest(const QString &tool, const QStringList &arguments)
{
    const QByteArray output = TestSupport::runTool(tool, arguments);
    return QString::fromLatin1(output.left(output.indexOf(' ')));
}

} // namespace

TEST(HWCChecksum, NamesAndTypes)
{
    EXPECT_EQ(HWCChecksum::types(),
              (QStringList{QStringLiteral("xxhash64"), QStringLiteral("md5"),
                           QStringLiteral("sha1"), QStringLiteral("xxhash")}));
    EXPECT_EQ(HWCChecksumMD5().name(), QStringLiteral("md5"));
    EXPECT_EQ(HWCChecksumSHA1().name(), QStringLiteral("sha1"));
    EXPECT_EQ(HWCChecksumXXHash32().name(), QStringLiteral("xxhash"));
    EXPECT_EQ(HWCChecksumXXHash64().name(), QStringLiteral("xxhash64"));
    EXPECT_STREQ(HWCChecksumMD5::kName, "md5");
    EXPECT_STREQ(HWCChecksumSHA1::kName, "sha1");
    EXPECT_STREQ(HWCChecksumXXHash32::kName, "xxhash");
    EXPECT_STREQ(HWCChecksumXXHash64::kName, "xxhash64");
    HWCChecksum base;
    EXPECT_TRUE(base.name().isEmpty());
    EXPECT_FALSE(base.name().isNull());
}

TEST(HWCChecksum, BaseAndValuelessKindsAnswerNothing)
{
    HWCChecksum base;
    base.reset();
    base.updateWithBytes("abc", 3);
    EXPECT_EQ(base.bytesRead(), 3u);
    EXPECT_TRUE(base.value().isNull());
    EXPECT_FALSE(base.isEqualToChecksum(QByteArray()));
    EXPECT_FALSE(base.isEqualToHexadecimalString(u""));
    EXPECT_FALSE(base.isEqualToHexadecimalString(u"d41d8cd98f00b204e9800998ecf8427e"));

    HWCChecksumMD5 md5;
    HWCChecksumSHA1 sha1;
    HWCChecksumXXHash32 xxh32;
    for (HWCChecksum *checksum :
         {static_cast<HWCChecksum *>(&md5), static_cast<HWCChecksum *>(&sha1),
          static_cast<HWCChecksum *>(&xxh32)}) {
        checksum->reset();
        checksum->updateWithBytes("abc", 3);
        EXPECT_TRUE(checksum->value().isNull()) << checksum->name().toStdString();
    }
}

TEST(HWCChecksum, MD5MatchesTheRfc1321Suite)
{
    const std::pair<const char *, const char *> suite[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
         "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
    };
    HWCChecksumMD5 md5;
    for (const auto &[message, digest] : suite) {
        const QString text = QString::fromLatin1(digest);
        EXPECT_TRUE(matches(md5, message, text)) << message;
        EXPECT_TRUE(matches(md5, message, text.toUpper())) << message;
        EXPECT_FALSE(matches(md5, message, withFirstDigitChanged(text))) << message;
    }
}

TEST(HWCChecksum, SHA1MatchesTheFips180Examples)
{
    HWCChecksumSHA1 sha1;
    EXPECT_TRUE(matches(sha1, "abc", QStringLiteral("a9993e364706816aba3e25717850c26c9cd0d89d")));
    EXPECT_TRUE(matches(sha1, "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
                        QStringLiteral("84983e441c3bd26ebaae4aa1f95129e5e54670f1")));
    EXPECT_TRUE(matches(sha1, QByteArray(1000000, 'a'),
                        QStringLiteral("34AA973CD4C4DAA4F61EEB2BDBAD27316534016F")));
    EXPECT_FALSE(matches(sha1, "abd", QStringLiteral("a9993e364706816aba3e25717850c26c9cd0d89d")));
}

TEST(HWCChecksum, XXHashKnownValuesOfNoBytes)
{
    HWCChecksumXXHash32 xxh32;
    xxh32.reset();
    EXPECT_TRUE(xxh32.isEqualToHexadecimalString(QString::number(0x02CC5D05u)));
    const quint32 empty32 = 0x02CC5D05u;
    EXPECT_TRUE(xxh32.isEqualToChecksum(QByteArray(reinterpret_cast<const char *>(&empty32), 4)));
    EXPECT_EQ(toolDigest(QStringLiteral("sh"),
                         {QStringLiteral("-c"), QStringLiteral("printf '' | xxhsum -H0")}),
              QStringLiteral("02cc5d05"));

    HWCChecksumXXHash64 xxh64;
    xxh64.reset();
    EXPECT_EQ(xxh64.value(), QByteArray::fromHex("99e9d85137db46ef"));
    EXPECT_TRUE(xxh64.isEqualToHexadecimalString(u"99e9d85137db46ef"));
    // The canonical (big-endian) text does not match: the stored order is little-endian.
    EXPECT_FALSE(xxh64.isEqualToHexadecimalString(u"ef46db3751d8e999"));
    EXPECT_EQ(toolDigest(QStringLiteral("sh"),
                         {QStringLiteral("-c"), QStringLiteral("printf '' | xxhsum -H1")}),
              QStringLiteral("ef46db3751d8e999"));
}

TEST(HWCChecksum, AgreesWithIndependentToolsOnFilesReadInBlocks)
{
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    const qint64 mebibyte = 1 << 20;
    const qint64 sizes[] = {0, 1, mebibyte - 1, mebibyte, mebibyte + 1, 10 * mebibyte + 7};
    for (const qint64 size : sizes) {
        SCOPED_TRACE(size);
        const QString path = folder.filePath(QStringLiteral("file-%1").arg(size));
        TestSupport::writeFile(path, size, quint32(size + 7));
        const QString md5Text = toolDigest(QStringLiteral("md5sum"), {path});
        const QString sha1Text = toolDigest(QStringLiteral("sha1sum"), {path});
        const QString xxh32Canonical = toolDigest(QStringLiteral("xxhsum"), {"-H0", path});
        const QString xxh64Canonical = toolDigest(QStringLiteral("xxhsum"), {"-H1", path});
        const QString xxh64Little =
            toolDigest(QStringLiteral("xxhsum"), {"-H1", "--little-endian", path});

        HWCChecksumMD5 md5;
        HWCChecksumSHA1 sha1;
        HWCChecksumXXHash32 xxh32;
        HWCChecksumXXHash64 xxh64;
        HWCChecksum *all[] = {&md5, &sha1, &xxh32, &xxh64};
        for (HWCChecksum *checksum : all)
            checksum->reset();
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        while (!file.atEnd()) {
            const QByteArray block = file.read(mebibyte);
            for (HWCChecksum *checksum : all)
                checksum->updateWithBytes(block.constData(), quint64(block.size()));
        }
        for (HWCChecksum *checksum : all)
            EXPECT_EQ(checksum->bytesRead(), quint64(size)) << checksum->name().toStdString();

        EXPECT_EQ(hwi_hexadecimalString(xxh64.value()), xxh64Little);
        QString reversed;
        for (qsizetype i = xxh64Canonical.size() - 2; i >= 0; i -= 2)
            reversed += xxh64Canonical.mid(i, 2);
        EXPECT_EQ(xxh64Little, reversed);
        EXPECT_TRUE(xxh64.isEqualToHexadecimalString(xxh64Little));
        const quint32 xxh32Value = xxh32Canonical.toUInt(nullptr, 16);
        EXPECT_TRUE(xxh32.isEqualToHexadecimalString(QString::number(xxh32Value)));
        EXPECT_FALSE(xxh32.isEqualToHexadecimalString(QString::number(xxh32Value + 1)));
        EXPECT_TRUE(md5.isEqualToHexadecimalString(md5Text));
        EXPECT_TRUE(sha1.isEqualToHexadecimalString(sha1Text.toUpper()));
    }
}

TEST(HWCChecksum, ResetStartsOverAndValueLeavesTheStateAlone)
{
    const QByteArray data("The quick brown fox jumps over the lazy dog");
    HWCChecksumXXHash64 once;
    once.reset();
    once.updateWithBytes(data.constData(), quint64(data.size()));
    const QByteArray whole = once.value();
    EXPECT_EQ(once.value(), whole);

    HWCChecksumXXHash64 split;
    split.reset();
    split.updateWithBytes("garbage", 7);
    split.reset();
    EXPECT_EQ(split.bytesRead(), 0u);
    split.updateWithBytes(data.constData(), 10);
    EXPECT_NE(split.value(), whole);
    split.updateWithBytes(data.constData() + 10, quint64(data.size() - 10));
    EXPECT_EQ(split.value(), whole);
    EXPECT_EQ(split.bytesRead(), quint64(data.size()));

    split.setBytesRead(5);
    EXPECT_EQ(split.bytesRead(), 5u);

    HWCChecksumMD5 md5;
    // An MD5 object is finalised by its comparison; reset() makes it usable again.
    EXPECT_FALSE(matches(md5, "garbage", QStringLiteral("9e107d9d372bb6826bd81d3542a419d6")));
    EXPECT_TRUE(matches(md5, data, QStringLiteral("9e107d9d372bb6826bd81d3542a419d6")));
    EXPECT_TRUE(matches(md5, data, QStringLiteral("9e107d9d372bb6826bd81d3542a419d6")));
}

TEST(HWCChecksum, WrongLengthsCompareUnequal)
{
    const QByteArray data("abc");
    HWCChecksumMD5 md5;
    const QByteArray md5Digest = QByteArray::fromHex("900150983cd24fb0d6963f7d28e17f72");
    for (const QByteArray &stored : {md5Digest.left(15), md5Digest + '\0', QByteArray()}) {
        md5.reset();
        md5.updateWithBytes(data.constData(), 3);
        EXPECT_FALSE(md5.isEqualToChecksum(stored)) << stored.size();
    }
    EXPECT_FALSE(matches(md5, data, QStringLiteral("900150983cd24fb0d6963f7d28e17f7")));
    // A trailing odd digit is ignored.
    EXPECT_TRUE(matches(md5, data, QStringLiteral("900150983cd24fb0d6963f7d28e17f72f")));

    HWCChecksumSHA1 sha1;
    EXPECT_FALSE(matches(sha1, data, QStringLiteral("a9993e364706816aba3e25717850c26c9cd0d8")));

    HWCChecksumXXHash64 xxh64;
    xxh64.reset();
    xxh64.updateWithBytes(data.constData(), 3);
    const QString text = hwi_hexadecimalString(xxh64.value());
    EXPECT_FALSE(xxh64.isEqualToHexadecimalString(text.left(15)));
    EXPECT_TRUE(xxh64.isEqualToHexadecimalString(text + QLatin1Char('7')));
    EXPECT_FALSE(xxh64.isEqualToChecksum(xxh64.value().left(7)));
    EXPECT_FALSE(xxh64.isEqualToChecksum(xxh64.value() + '\0'));

    HWCChecksumXXHash32 xxh32;
    xxh32.reset();
    xxh32.updateWithBytes(data.constData(), 3);
    const quint32 digest = xxh32Of(data);
    const QByteArray hostOrder(reinterpret_cast<const char *>(&digest), 4);
    EXPECT_TRUE(xxh32.isEqualToChecksum(hostOrder));
    EXPECT_FALSE(xxh32.isEqualToChecksum(hostOrder.left(3)));
    EXPECT_FALSE(xxh32.isEqualToChecksum(hostOrder + '\0'));
}

TEST(HWCChecksum, XXHash32TextIsReadAsSignedDecimal)
{
    // Find inputs whose digests lie on either side of 2^31.
    QByteArray low;
    QByteArray high;
    for (int i = 0; low.isEmpty() || high.isEmpty(); ++i) {
        const QByteArray candidate = QByteArray::number(i);
        (xxh32Of(candidate) < 0x80000000u ? low : high) = candidate;
    }
    HWCChecksumXXHash32 xxh32;
    for (const QByteArray &data : {low, high}) {
        const quint32 digest = xxh32Of(data);
        SCOPED_TRACE(digest);
        const qint64 wrapped = qint64(digest) - (qint64(1) << 32);
        EXPECT_TRUE(matches(xxh32, data, QString::number(digest)));
        EXPECT_TRUE(matches(xxh32, data, QString::number(wrapped)));
        EXPECT_TRUE(matches(xxh32, data, QString::number(qint64(digest) + (qint64(5) << 32))));
        EXPECT_TRUE(matches(xxh32, data, QStringLiteral(" \t\n+%1").arg(digest)));
        EXPECT_TRUE(matches(xxh32, data, QStringLiteral("%1abc 12").arg(digest)));
        EXPECT_FALSE(matches(xxh32, data, QStringLiteral("+ %1").arg(digest)));
        EXPECT_FALSE(matches(xxh32, data, QString::number(digest, 16)));
        EXPECT_FALSE(matches(xxh32, data, QStringLiteral("0x%1").arg(digest, 0, 16)));
        EXPECT_FALSE(matches(xxh32, data, QString::number(digest + 1)));
    }
    // Hexadecimal-looking text reads as the decimal 0.
    xxh32.reset();
    EXPECT_FALSE(xxh32.isEqualToHexadecimalString(u"ab12cd34"));
    EXPECT_FALSE(xxh32.isEqualToHexadecimalString(u"02cc5d05"));
    EXPECT_TRUE(xxh32.isEqualToHexadecimalString(u"46947589"));
}
