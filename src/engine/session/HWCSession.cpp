#include "engine/session/HWCSession.h"

#include "HWCBuildInfo.h"

#include <QFile>
#include <QMutexLocker>
#include <QUrl>
#include <QUrlQuery>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace {

constexpr const char *kOriginAttribute = "user.xdg.origin.url";

std::optional<QString> buildVersion()
{
    const QString version = QString::fromUtf8(HWCBuildInfo::kShortVersion);
    if (version.isEmpty())
        return std::nullopt;
    return version;
}

bool containsAny(const QString &text, const QString &characters)
{
    for (const QChar character : characters) {
        if (text.contains(character))
            return true;
    }
    return false;
}

QDateTime fileTime(const QByteArray &path)
{
    struct statx status {};
    if (statx(AT_FDCWD, path.constData(), 0, STATX_BTIME | STATX_MTIME, &status) != 0)
        return {};
    const statx_timestamp time =
        (status.stx_mask & STATX_BTIME) ? status.stx_btime : status.stx_mtime;
    return QDateTime::fromMSecsSinceEpoch(time.tv_sec * 1000 + time.tv_nsec / 1000000, Qt::UTC);
}

} // namespace

HWCSession::HWCSession() : m_startDate(QDateTime::currentDateTime())
{
}

HWCSession &HWCSession::sharedSession()
{
    static HWCSession *session = nullptr;
    static std::once_flag once;
    std::call_once(once, [] {
        session = new HWCSession;
        session->startSession();
    });
    return *session;
}

QString HWCSession::releaseTypeForVersion(const std::optional<QString> &version)
{
    // A build without a version counts as the least finished kind.
    if (!version)
        return QStringLiteral("Alpha");
    if (containsAny(*version, QStringLiteral("a\u03B1")))
        return QStringLiteral("Alpha");
    if (containsAny(*version, QStringLiteral("b\u03B2\u00DF")))
        return QStringLiteral("Beta");
    return QStringLiteral("Release");
}

void HWCSession::startSession()
{
    setStartDate(QDateTime::currentDateTime());
    const QString type = releaseTypeForVersion(buildVersion());
    setReleaseType(type);
    if (type != QLatin1String("Release"))
        setPreRelease(true);
    if (const std::optional<HWCDownload> download = downloadOf(QStringLiteral("/proc/self/exe"))) {
        setDownloadDate(download->date);
        setDownloadReference(download->reference);
        setDownloadWeek(download->week);
    }
}

std::optional<HWCDownload> HWCSession::downloadOf(const QString &path)
{
    const QByteArray file = QFile::encodeName(path);
    const ssize_t length = getxattr(file.constData(), kOriginAttribute, nullptr, 0);
    if (length < 0)
        return std::nullopt;
    QByteArray origin(length, Qt::Uninitialized);
    // The attribute may change between the two calls; a shorter value is taken as it is.
    const ssize_t got = getxattr(file.constData(), kOriginAttribute, origin.data(), length);
    if (got < 0)
        return std::nullopt;
    origin.truncate(got);
    HWCDownload download{.date = fileTime(file), .reference = {}, .week = {}};
    const QUrlQuery query{QUrl(QString::fromUtf8(origin))};
    for (const auto &[name, value] : query.queryItems(QUrl::FullyDecoded)) {
        if (name == QLatin1String("ref"))
            download.reference = value;
        else if (name == QLatin1String("week"))
            download.week = value;
    }
    return download;
}

QDateTime HWCSession::startDate() const
{
    QMutexLocker lock(&m_mutex);
    return m_startDate;
}

QString HWCSession::releaseType() const
{
    QMutexLocker lock(&m_mutex);
    return m_releaseType;
}

bool HWCSession::isPreRelease() const
{
    QMutexLocker lock(&m_mutex);
    return m_preRelease;
}

QDateTime HWCSession::downloadDate() const
{
    QMutexLocker lock(&m_mutex);
    return m_downloadDate;
}

QString HWCSession::downloadReference() const
{
    QMutexLocker lock(&m_mutex);
    return m_downloadReference;
}

QString HWCSession::downloadWeek() const
{
    QMutexLocker lock(&m_mutex);
    return m_downloadWeek;
}

void HWCSession::setStartDate(const QDateTime &date)
{
    QMutexLocker lock(&m_mutex);
    m_startDate = date;
}

void HWCSession::setReleaseType(const QString &type)
{
    QMutexLocker lock(&m_mutex);
    m_releaseType = type;
}

void HWCSession::setPreRelease(bool preRelease)
{
    QMutexLocker lock(&m_mutex);
    m_preRelease = preRelease;
}

void HWCSession::setDownloadDate(const QDateTime &date)
{
    QMutexLocker lock(&m_mutex);
    m_downloadDate = date;
}

void HWCSession::setDownloadReference(const QString &reference)
{
    QMutexLocker lock(&m_mutex);
    m_downloadReference = reference;
}

void HWCSession::setDownloadWeek(const QString &week)
{
    QMutexLocker lock(&m_mutex);
    m_downloadWeek = week;
}
