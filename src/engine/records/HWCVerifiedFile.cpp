#include "engine/records/HWCVerifiedFile.h"

#include "engine/files/HWCPathAdditions.h"
#include "engine/records/HWCFileStateToStringValueTransformer.h"
#include "engine/records/HWIDiskSpaceToStringValueTransformer.h"

#include <QFileInfo>
#include <algorithm>

namespace {

// Keeps the rate of an absurdly short time inside the formatter's signed 64-bit input.
constexpr double kHWCMaximumRate = 9.2e18;

} // namespace

HWCVerifiedFile::HWCVerifiedFile(const QString &sourcePath, const QString &rootPath,
                                 const QString &relativePath, HWCFileState state, quint64 bytes,
                                 quint64 time, Detail detail)
    : m_sourcePath(sourcePath), m_rootPath(rootPath), m_relativePath(relativePath), m_state(state),
      m_bytes(bytes), m_time(time), m_detail(std::move(detail))
{
}

QString HWCVerifiedFile::path() const
{
    return hwc_appendingPathComponent(m_rootPath, m_relativePath);
}

QString HWCVerifiedFile::fullPath() const
{
    const QString full = hwc_appendingPathComponent(
        hwc_appendingPathComponent(m_sourcePath, m_rootPath), m_relativePath);
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
