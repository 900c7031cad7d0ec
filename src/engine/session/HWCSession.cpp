#include "engine/session/HWCSession.h"

#include "HWCBuildInfo.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>
#include <QUrl>
#include <QUrlQuery>
#include <mutex>
#include <sqlite3.h>

namespace {

const QString kQuarantineDatabasePath =
    QStringLiteral("Library/Preferences/com.apple.LaunchServices.QuarantineEventsV2");

const QString kDownloadQuery = QStringLiteral(
    "SELECT LSQuarantineTimeStamp,LSQuarantineDataURLString,LSQuarantineOriginURLString "
    "FROM LSQuarantineEvent WHERE LSQuarantineDataURLString LIKE '%1' "
    "ORDER BY LSQuarantineTimeStamp DESC LIMIT 1");

const QString kDownloadPattern = QStringLiteral("%%Hashwarden%%.zip%%");

// Seconds from 1970-01-01 to 2001-01-01, the epoch of the stored time stamps.
constexpr double kReferenceDateOffset = 978307200.0;

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

QString columnText(sqlite3_stmt *statement, int column)
{
    const unsigned char *text = sqlite3_column_text(statement, column);
    if (!text)
        return QString();
    return QString::fromUtf8(reinterpret_cast<const char *>(text));
}

} // namespace

HWCSession::HWCSession()
    : m_startDate(QDateTime::currentDateTime()),
      m_downloadDate(QDateTime::fromSecsSinceEpoch(0, Qt::UTC))
{
}

HWCSession::~HWCSession()
{
    closeDatabase();
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
    readDownloadHistory();
}

void HWCSession::readDownloadHistory()
{
    closeDatabase();
    const QString path = QDir(QDir::homePath()).filePath(kQuarantineDatabasePath);
    if (!QFileInfo::exists(path))
        return;
    if (sqlite3_open_v2(QFile::encodeName(path).constData(), &m_database, SQLITE_OPEN_READONLY,
                        nullptr) != SQLITE_OK) {
        closeDatabase();
        return;
    }
    const QByteArray query = kDownloadQuery.arg(kDownloadPattern).toUtf8();
    if (sqlite3_prepare_v2(m_database, query.constData(), -1, &m_statement, nullptr) != SQLITE_OK)
        return;
    while (sqlite3_step(m_statement) == SQLITE_ROW)
        readDownloadRow();
}

void HWCSession::readDownloadRow()
{
    const QString timeStamp = columnText(m_statement, 0);
    if (!timeStamp.isNull()) {
        // Unparsable text counts as 0, the reference date itself.
        const double seconds = timeStamp.trimmed().toDouble() + kReferenceDateOffset;
        setDownloadDate(QDateTime::fromMSecsSinceEpoch(qRound64(seconds * 1000.0), Qt::UTC));
    }
    const QString dataURL = columnText(m_statement, 1);
    if (dataURL.isNull())
        return;
    const QUrlQuery query{QUrl(dataURL)};
    for (const auto &[name, value] : query.queryItems(QUrl::FullyDecoded)) {
        if (name == QLatin1String("ref"))
            setDownloadReference(value);
        else if (name == QLatin1String("week"))
            setDownloadWeek(value);
    }
}

void HWCSession::closeDatabase()
{
    sqlite3_finalize(m_statement);
    m_statement = nullptr;
    sqlite3_close(m_database);
    m_database = nullptr;
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
