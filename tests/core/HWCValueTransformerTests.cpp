#include "Classes/HWCActionTypeToStringValueTransformer.h"
#include "Classes/HWCFileStateToStringValueTransformer.h"
#include "Classes/HWCOffloadEnabledStateToImageValueTransformer.h"
#include "Classes/HWIDateToStringWithTimeValueTransformer.h"
#include "Classes/HWIDiskSpaceToStringValueTransformer.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QLocale>
#include <QTimeZone>
#include <QTranslator>
#include <gtest/gtest.h>
#include <limits>

namespace {

// The decimal separator follows the default locale, so each case fixes the locale it
// expects instead of depending on the machine's.
class LocaleScope {
public:
    explicit LocaleScope(const QLocale &locale) { QLocale::setDefault(locale); }
    ~LocaleScope() { QLocale::setDefault(m_previous); }

private:
    QLocale m_previous;
};

QString sizeText(qint64 bytes)
{
    return HWIDiskSpaceToStringValueTransformer::transformedValue(bytes);
}

// A translation table for the context "Hashwarden" keyed by the English texts.
class FrenchTable : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *source, const char *, int) const override
    {
        if (QByteArrayView(context) != "Hashwarden")
            return {};
        const QByteArrayView key(source);
        if (key == "%1 KB")
            return QStringLiteral("%1 Ko");
        if (key == "%1 Bytes")
            return QStringLiteral("%1 octets");
        if (key == "Verify")
            return QStringLiteral("Vérifier");
        if (key == "Missing file")
            return QStringLiteral("Fichier manquant");
        return {};
    }
};

} // namespace

TEST(HWIDiskSpaceToStringValueTransformer, DecimalUnitsWithOneFractionDigit)
{
    LocaleScope scope(QLocale::c());
    EXPECT_EQ(sizeText(0), QStringLiteral("0 Bytes"));
    EXPECT_EQ(sizeText(999), QStringLiteral("999 Bytes"));
    EXPECT_EQ(sizeText(1000), QStringLiteral("1 KB"));
    EXPECT_EQ(sizeText(1500000000), QStringLiteral("1.5 GB"));
    EXPECT_EQ(sizeText(1234567), QStringLiteral("1.2 MB"));
    EXPECT_EQ(sizeText(1260000), QStringLiteral("1.3 MB"));
    EXPECT_EQ(sizeText(5000000000000000), QStringLiteral("5000 TB"));
    EXPECT_EQ(sizeText(-5000), QStringLiteral("-5 KB"));
    EXPECT_EQ(sizeText(-999), QStringLiteral("-999 Bytes"));
    EXPECT_EQ(sizeText(-1500000000), QStringLiteral("-1.5 GB"));
    EXPECT_EQ(sizeText(std::numeric_limits<qint64>::max()), QStringLiteral("9223372 TB"));
    EXPECT_EQ(HWIDiskSpaceToStringValueTransformer::transformedValue(QVariant()),
              QStringLiteral("0 Bytes"));
}

TEST(HWIDiskSpaceToStringValueTransformer, UnitBoundariesTruncateWhileTextsRound)
{
    LocaleScope scope(QLocale::c());
    // 0.999999 MB truncates to 0, 999.999 KB rounds to 1000.
    EXPECT_EQ(sizeText(999999), QStringLiteral("1000 KB"));
    EXPECT_EQ(sizeText(999949), QStringLiteral("999.9 KB"));
    // A quotient within half a single-precision step of 1 narrows to 1: the larger unit
    // wins (0.999999999 GB, 0.999999999999 TB); 0.9999999 TB narrows below 1.
    EXPECT_EQ(sizeText(999999999), QStringLiteral("1 GB"));
    EXPECT_EQ(sizeText(999999999999), QStringLiteral("1 TB"));
    EXPECT_EQ(sizeText(999999900000), QStringLiteral("1000 GB"));
}

TEST(HWIDiskSpaceToStringValueTransformer, LocaleGivesTheSeparatorButNeverGroups)
{
    {
        LocaleScope scope(QLocale(QLocale::German, QLocale::Germany));
        EXPECT_EQ(sizeText(1500000000), QStringLiteral("1,5 GB"));
        EXPECT_EQ(sizeText(2000000), QStringLiteral("2 MB"));
        EXPECT_EQ(sizeText(1234567890123456), QStringLiteral("1234,6 TB"));
    }
    LocaleScope scope(QLocale(QLocale::English, QLocale::UnitedStates));
    EXPECT_EQ(sizeText(1234567890123456), QStringLiteral("1234.6 TB"));
    EXPECT_EQ(sizeText(5000000000000000), QStringLiteral("5000 TB"));
}

TEST(HWCValueTransformers, ActionTypesFileStatesAndOffloadImages)
{
    EXPECT_EQ(HWCActionTypeToStringValueTransformer::transformedValue(1ULL),
              QStringLiteral("Create"));
    EXPECT_EQ(HWCActionTypeToStringValueTransformer::transformedValue(2ULL),
              QStringLiteral("Verify"));
    for (const QVariant &none : {QVariant(0ULL), QVariant(3ULL), QVariant()})
        EXPECT_TRUE(HWCActionTypeToStringValueTransformer::transformedValue(none).isNull());

    const QStringList texts{"File read successfully", "Hash fail",       "Missing file",
                            "Access denied",          "Can't open file", "Can't read file",
                            "Can't close file",       "No hash",         "Unknown hash"};
    for (int state = 1; state <= 9; ++state)
        EXPECT_EQ(HWCFileStateToStringValueTransformer::transformedValue(quint64(state)),
                  texts[state - 1]);
    for (const QVariant &none : {QVariant(0), QVariant(10), QVariant(-1), QVariant()})
        EXPECT_TRUE(HWCFileStateToStringValueTransformer::transformedValue(none).isNull());

    for (const QVariant &state : {QVariant(true), QVariant(false), QVariant()})
        EXPECT_TRUE(
            HWCOffloadEnabledStateToImageValueTransformer::transformedValue(state).isNull());
}

TEST(HWCValueTransformers, TextsAreKeysOfTheTranslationTable)
{
    LocaleScope scope(QLocale::c());
    FrenchTable table;
    ASSERT_TRUE(QCoreApplication::installTranslator(&table));
    EXPECT_EQ(sizeText(5000), QStringLiteral("5 Ko"));
    EXPECT_EQ(sizeText(12), QStringLiteral("12 octets"));
    EXPECT_EQ(sizeText(2000000), QStringLiteral("2 MB")) << "untranslated keys show as they are";
    EXPECT_EQ(HWCActionTypeToStringValueTransformer::transformedValue(2ULL),
              QStringLiteral("Vérifier"));
    EXPECT_EQ(HWCFileStateToStringValueTransformer::transformedValue(3),
              QStringLiteral("Fichier manquant"));
    QCoreApplication::removeTranslator(&table);
    EXPECT_EQ(sizeText(5000), QStringLiteral("5 KB"));
}

TEST(HWIDateToStringWithTimeValueTransformer, LocalTimeWithDotsAndNoneForNoDate)
{
    const QDateTime local(QDate(2017, 3, 2), QTime(14, 5, 9));
    EXPECT_EQ(HWIDateToStringWithTimeValueTransformer::transformedValue(local),
              QStringLiteral("2017-03-02 at 14.05.09"));
    // A moment given in another zone is shown in local time.
    EXPECT_EQ(HWIDateToStringWithTimeValueTransformer::transformedValue(
                  local.toTimeZone(QTimeZone(QByteArrayLiteral("Asia/Tokyo")))),
              QStringLiteral("2017-03-02 at 14.05.09"));
    const QDateTime evening(QDate(2017, 12, 31), QTime(23, 59, 59, 999));
    EXPECT_EQ(HWIDateToStringWithTimeValueTransformer::transformedValue(evening),
              QStringLiteral("2017-12-31 at 23.59.59"));
    EXPECT_TRUE(HWIDateToStringWithTimeValueTransformer::transformedValue(QDateTime()).isNull());
    EXPECT_TRUE(HWIDateToStringWithTimeValueTransformer::transformedValue(QVariant()).isNull());
}
