#include "engine/records/HWCFileStateToStringValueTransformer.h"
#include "engine/records/HWIDateToStringWithTimeValueTransformer.h"
#include "engine/records/HWIDiskSpaceToStringValueTransformer.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QLocale>
#include <QTimeZone>
#include <QTranslator>
#include <gtest/gtest.h>
#include <limits>

namespace {

QString sizeText(qint64 bytes, const QLocale &locale = QLocale::c())
{
    const QLocale previous;
    QLocale::setDefault(locale);
    const QString text = HWIDiskSpaceToStringValueTransformer::transformedValue(bytes);
    QLocale::setDefault(previous);
    return text;
}

// A translation table for the context "Hashwarden" keyed by the English texts.
class FrenchTable : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *source, const char *, int) const override
    {
        const QByteArrayView key(source);
        if (QByteArrayView(context) != "Hashwarden")
            return {};
        if (key == "%1 KB")
            return QStringLiteral("%1 Ko");
        return key == "Missing file" ? QStringLiteral("Fichier manquant") : QString();
    }
};

} // namespace

TEST(HWIDiskSpaceToStringValueTransformer, DecimalUnitsOneFractionDigitNoGrouping)
{
    const std::pair<qint64, const char *> sizes[] = {
        {0, "0 Bytes"},
        {999, "999 Bytes"},
        {1000, "1 KB"},
        {1234567, "1.2 MB"},
        {1260000, "1.3 MB"},
        {-1500000000, "-1.5 GB"},
        {999999, "1000 KB"},
        {999949, "999.9 KB"},
        {999999999, "1 GB"},
        {999999900000, "1000 GB"},
        {5000000000000000, "5000 TB"},
        {std::numeric_limits<qint64>::max(), "9223372 TB"},
    };
    for (const auto &[bytes, text] : sizes)
        EXPECT_EQ(sizeText(bytes), QString::fromLatin1(text)) << bytes;
    EXPECT_EQ(sizeText(1234567890123456, QLocale(QLocale::German)), u"1234,6 TB");
    EXPECT_EQ(HWIDiskSpaceToStringValueTransformer::transformedValue(QVariant()), u"0 Bytes");
}

TEST(HWCValueTransformers, TextsAreKeysOfTheTranslationTable)
{
    FrenchTable table;
    ASSERT_TRUE(QCoreApplication::installTranslator(&table));
    EXPECT_EQ(sizeText(5000), u"5 Ko");
    EXPECT_EQ(sizeText(2000000), u"2 MB") << "untranslated keys show as they are";
    EXPECT_EQ(HWCFileStateToStringValueTransformer::transformedValue(3), u"Fichier manquant");
    QCoreApplication::removeTranslator(&table);
    EXPECT_EQ(HWCFileStateToStringValueTransformer::transformedValue(3), u"Missing file");
    EXPECT_TRUE(HWCFileStateToStringValueTransformer::transformedValue(10).isNull());
}

TEST(HWIDateToStringWithTimeValueTransformer, LocalTimeWithDotsAndNoneForNoDate)
{
    const QDateTime local(QDate(2017, 3, 2), QTime(14, 5, 9, 999));
    EXPECT_EQ(HWIDateToStringWithTimeValueTransformer::transformedValue(
                  local.toTimeZone(QTimeZone(QByteArrayLiteral("Asia/Tokyo")))),
              u"2017-03-02 at 14.05.09");
    EXPECT_TRUE(HWIDateToStringWithTimeValueTransformer::transformedValue(QDateTime()).isNull());
}
