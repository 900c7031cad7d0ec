#include "engine/records/HWCVerifiedFile.h"

#include "engine/files/HWCPathAdditions.h"
#include "engine/mhl/HWCChecksumEntry.h"
#include "engine/records/HWCFileStateToStringValueTransformer.h"
#include "engine/records/HWIDiskSpaceToStringValueTransformer.h"

#include <QByteArray>
#include <QFileInfo>
#include <algorithm>
#include <cstring>

namespace {

// Keeps the rate of an absurdly short time inside the formatter's signed 64-bit input.
constexpr double kHWCMaximumRate = 9.2e18;

constexpr QByteArrayView kByteOrderMark("\xEF\xBB\xBF");

QByteArray hexOf(const std::array<quint8, 20> &digest, quint8 length)
{
    return QByteArray(reinterpret_cast<const char *>(digest.data()), length).toHex();
}

// What QString::fromUtf8(text).toUtf8() gives: text itself, not copied, unless decoding
// changes it (bytes that are not UTF-8, or a leading byte order mark, which it drops).
QByteArray utf8Of(QByteArrayView text)
{
    if (text.isValidUtf8() && !text.startsWith(kByteOrderMark))
        return QByteArray::fromRawData(text.data(), text.size());
    return QString::fromUtf8(text).toUtf8();
}

} // namespace

// A list of ten million files keeps ten million records.
static_assert(sizeof(HWCVerifiedFile) <= 96, "a record must stay small");

HWCVerifiedFile::HWCVerifiedFile(const QString &sourcePath, const QString &rootPath,
                                 const QString &relativePath, HWCFileState state, quint64 bytes,
                                 quint64 time, Detail detail)
    : m_origin(std::make_shared<const Origin>(Origin{sourcePath, rootPath, nullptr})),
      m_own(std::make_shared<const Own>(Own{relativePath, std::move(detail)})), m_bytes(bytes),
      m_time(time), m_state(state)
{
}

HWCVerifiedFile::HWCVerifiedFile(std::shared_ptr<const Origin> origin, quint32 entry,
                                 HWCFileState state, quint64 bytes, quint64 time, Finding finding)
    : m_origin(std::move(origin)), m_bytes(bytes), m_time(time), m_digestKind(finding.digestKind),
      m_entry(entry), m_state(state)
{
    Detail own;
    own.reason = std::move(finding.reason);
    keepActual(finding.actual, own);
    if (!own.reason.isNull() || !own.actual.isNull())
        m_own = std::make_shared<const Own>(Own{QString(), std::move(own)});
}

void HWCVerifiedFile::keepActual(const QString &actual, Detail &own)
{
    const QByteArray text = actual.toLatin1();
    const QByteArray bytes = QByteArray::fromHex(text);
    if (!actual.isEmpty() && bytes.size() <= qsizetype(m_actual.size()) && bytes.toHex() == text &&
        QString::fromLatin1(text) == actual) {
        m_actualLength = quint8(bytes.size());
        std::memcpy(m_actual.data(), bytes.constData(), size_t(bytes.size()));
        return;
    }
    own.actual = actual;
}

const HWCChecksumEntry *HWCVerifiedFile::entry() const
{
    return m_origin->entries ? &(*m_origin->entries)[m_entry] : nullptr;
}

QString HWCVerifiedFile::relativePath() const
{
    const HWCChecksumEntry *listed = entry();
    return listed ? listed->fileText() : m_own->relativePath;
}

HWCVerifiedFile::Detail HWCVerifiedFile::detail() const
{
    Detail detail = m_own ? m_own->detail : Detail();
    if (m_digestKind) {
        const HWCChecksumEntry *listed = entry();
        detail.digestKind = QString::fromLatin1(m_digestKind);
        detail.expected = listed->digestText(m_digestKind);
        detail.expectedSize = listed->listedSize();
    }
    if (m_actualLength > 0)
        detail.actual = QString::fromLatin1(hexOf(m_actual, m_actualLength));
    return detail;
}

QByteArray HWCVerifiedFile::relativePathUtf8() const
{
    const HWCChecksumEntry *listed = entry();
    return listed ? utf8Of(listed->text(HWCChecksumEntry::Field::File))
                  : m_own->relativePath.toUtf8();
}

HWCVerifiedFile::DetailUtf8 HWCVerifiedFile::detailUtf8() const
{
    DetailUtf8 utf8;
    if (m_own) {
        const Detail &own = m_own->detail;
        utf8 = {own.digestKind.toUtf8(), own.expected.toUtf8(), own.actual.toUtf8(),
                own.expectedSize, own.reason.toUtf8()};
    }
    if (m_digestKind) {
        const HWCChecksumEntry *listed = entry();
        utf8.digestKind =
            QByteArray::fromRawData(m_digestKind, qsizetype(std::strlen(m_digestKind)));
        utf8.expected = utf8Of(listed->digest(m_digestKind));
        utf8.expectedSize = listed->listedSize();
    }
    if (m_actualLength > 0)
        utf8.actual = hexOf(m_actual, m_actualLength);
    return utf8;
}

QString HWCVerifiedFile::path() const
{
    return hwc_appendingPathComponent(rootPath(), relativePath());
}

QString HWCVerifiedFile::fullPath() const
{
    const QString full = hwc_appendingPathComponent(
        hwc_appendingPathComponent(sourcePath(), rootPath()), relativePath());
    return QFileInfo::exists(full) ? full : QString();
}

QString HWCVerifiedFile::speed() const
{
    if (m_bytes == 0 || m_time == 0)
        return {};
    // Single precision on purpose: long times lose precision, and the texts depend on it.
    const float seconds = float(m_time) / 1e9f;
    const double rate = std::min(double(m_bytes) / double(seconds), kHWCMaximumRate);
    return QStringLiteral("%1/sec").arg(
        HWIDiskSpaceToStringValueTransformer::transformedValue(qint64(rate)));
}

QString HWCVerifiedFile::size() const
{
    return HWIDiskSpaceToStringValueTransformer::transformedValue(qint64(m_bytes));
}

QString HWCVerifiedFile::state() const
{
    return HWCFileStateToStringValueTransformer::transformedValue(hwc_code(m_state));
}

QString HWCVerifiedFile::description() const
{
    const QString rate = speed();
    return QStringLiteral("HWCVerifiedFile %1 %2 (%3)")
        .arg(state(), path(), rate.isNull() ? QStringLiteral("(null)") : rate);
}
