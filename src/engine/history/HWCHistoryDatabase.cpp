#include "engine/history/HWCHistoryDatabase.h"

#include "engine/files/HWCFileDescriptor.h"
#include "engine/history/HWCSqlStatement.h"
#include "engine/records/HWCStateNames.h"
#include "engine/session/HWCLog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QStandardPaths>
#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <vector>

namespace {

// Long enough for ten runs that end together to write one after another.
constexpr int kBusyTimeoutMs = 30000;

const char *const kSchema = R"(
CREATE TABLE IF NOT EXISTS runs (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    source TEXT,
    volume_label TEXT,
    volume_uuid TEXT,
    action TEXT,
    started TEXT,
    ended TEXT NOT NULL,
    duration REAL NOT NULL,
    bytes INTEGER NOT NULL,
    files INTEGER NOT NULL,
    outcome TEXT,
    host TEXT,
    user TEXT,
    tool_version TEXT,
    entry TEXT NOT NULL);
CREATE INDEX IF NOT EXISTS runs_by_end ON runs (ended);
CREATE TABLE IF NOT EXISTS files (
    run INTEGER NOT NULL REFERENCES runs (id) ON DELETE CASCADE,
    path TEXT NOT NULL,
    state INTEGER NOT NULL,
    bytes INTEGER NOT NULL,
    digest_kind TEXT,
    expected TEXT,
    actual TEXT,
    expected_size INTEGER,
    reason TEXT);
CREATE INDEX IF NOT EXISTS files_by_run ON files (run);
)";

// UTC with a fixed width, so that the text orders as the times do.
QString sortableTime(const QDateTime &time)
{
    return time.isValid() ? time.toUTC().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzzZ"))
                          : QString();
}

// Rows one statement inserts: a statement per row would spend most of the time starting it
// and finding the index's last page again. 900 parameters, within the 999 that SQLite
// before 3.32 takes.
constexpr qsizetype kRowsPerInsert = 100;

QByteArray insertFilesSql(qsizetype rows)
{
    QByteArray sql = "INSERT INTO files VALUES (?,?,?,?,?,?,?,?,?)";
    for (qsizetype row = 1; row < rows; ++row)
        sql += ",(?,?,?,?,?,?,?,?,?)";
    return sql;
}

// Runs insert (insertFilesSql(rows.size())) with rows, whose texts it binds in place.
bool insertFiles(HWCSqlStatement &insert, qint64 run, const std::vector<HWCHistoryFileUtf8> &rows)
{
    for (const HWCHistoryFileUtf8 &row : rows) {
        insert.bind(run)
            .bindInPlace(row.path)
            .bind(qint64(hwc_code(row.state)))
            .bind(qint64(row.bytes))
            .bindInPlace(row.detail.digestKind)
            .bindInPlace(row.detail.expected)
            .bindInPlace(row.detail.actual)
            .bind(row.detail.expectedSize)
            .bindInPlace(row.detail.reason);
    }
    const bool inserted = insert.run();
    insert.reset();
    return inserted;
}

bool isCorrupt(sqlite3 *database)
{
    const int code = sqlite3_errcode(database);
    return code == SQLITE_CORRUPT || code == SQLITE_NOTADB;
}

} // namespace

HWCHistoryDatabase::HWCHistoryDatabase(const QString &path) : m_path(path)
{
    if (!open() && m_database && isCorrupt(m_database))
        startAnew();
}

HWCHistoryDatabase::~HWCHistoryDatabase()
{
    sqlite3_close(m_database);
}

QString HWCHistoryDatabase::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/hashwarden/history.sqlite");
}

bool HWCHistoryDatabase::fail()
{
    m_error = m_database ? QString::fromUtf8(sqlite3_errmsg(m_database))
                         : QStringLiteral("out of memory");
    return false;
}

bool HWCHistoryDatabase::open()
{
    if (!QDir().mkpath(QFileInfo(m_path).path())) {
        m_error = QStringLiteral("%1: the folder cannot be made").arg(QFileInfo(m_path).path());
        return false;
    }
    // One object per thread, so SQLite need not lock the connection on every call.
    if (sqlite3_open_v2(QFile::encodeName(m_path).constData(), &m_database,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                        nullptr) != SQLITE_OK) {
        fail();
        sqlite3_close(m_database);
        m_database = nullptr;
        return false;
    }
    sqlite3_busy_timeout(m_database, kBusyTimeoutMs);
    return prepareSchema();
}

bool HWCHistoryDatabase::prepareSchema()
{
    // A read-only database can still be read: only writes then fail.
    HWCSqlStatement(m_database, "PRAGMA journal_mode=WAL").run();
    // A statement of many rows keeps a journal of the pages it changes, to undo it alone: a
    // few pages, which in a temporary file would be written again for every statement.
    if (sqlite3_exec(m_database, "PRAGMA foreign_keys=ON; PRAGMA temp_store=MEMORY", nullptr,
                     nullptr, nullptr) != SQLITE_OK)
        return fail();
    if (HWCSqlStatement(m_database, "SELECT count(*) FROM sqlite_master").run() &&
        sqlite3_db_readonly(m_database, "main") == 1)
        return true;
    if (sqlite3_exec(m_database, kSchema, nullptr, nullptr, nullptr) != SQLITE_OK)
        return fail();
    m_error.clear();
    return true;
}

bool HWCHistoryDatabase::startAnew()
{
    sqlite3_close(m_database);
    m_database = nullptr;
    // Two processes that find the database corrupt at once take turns: the second, once it
    // holds the lock, opens the path again and finds the new database the first made, which
    // it must not set aside in its turn. A file system without locks goes unguarded.
    const HWCFileDescriptor lock(::open(QFile::encodeName(m_path + QStringLiteral(".lock")),
                                        O_RDWR | O_CREAT | O_CLOEXEC, 0644));
    if (lock.get() >= 0) {
        while (flock(lock.get(), LOCK_EX) != 0 && errno == EINTR) {
        }
    }
    if (open())
        return true;
    if (!m_database || !isCorrupt(m_database))
        return false;
    sqlite3_close(m_database);
    m_database = nullptr;
    const QString aside =
        QStringLiteral("%1.corrupt-%2")
            .arg(m_path,
                 QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz")));
    // The journal files go first: once the database has gone, a process that opens the path
    // makes journal files of its own there.
    for (const char *suffix : {"-wal", "-shm"})
        QFile::rename(m_path + QLatin1String(suffix), aside + QLatin1String(suffix));
    if (!QFile::rename(m_path, aside)) {
        m_error = QStringLiteral("%1 is corrupt and cannot be set aside").arg(m_path);
        return false;
    }
    m_setAsidePath = aside;
    HWCLogWarning(QStringLiteral("The history database was corrupt; it was moved to %1 and a "
                                 "new one started")
                      .arg(aside));
    // Made while the lock is held, so that the next process in turn finds it.
    return open();
}

qint64 HWCHistoryDatabase::add(const HWCHistoryEntry &entry)
{
    for (int attempt = 0; attempt < 2 && m_database; ++attempt) {
        if (sqlite3_exec(m_database, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) == SQLITE_OK) {
            HWCSqlStatement insert(m_database,
                                   "INSERT INTO runs (source, volume_label, volume_uuid, action, "
                                   "started, ended, duration, bytes, files, outcome, host, user, "
                                   "tool_version, entry) VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?)");
            insert.bind(entry.source)
                .bind(entry.volumeLabel)
                .bind(entry.volumeUUID)
                .bind(HWCActionTypeName(entry.action))
                .bind(sortableTime(entry.started))
                .bind(sortableTime(entry.ended))
                .bind(entry.durationSeconds)
                .bind(qint64(entry.bytes))
                .bind(qint64(entry.files))
                .bind(entry.stateName)
                .bind(entry.host)
                .bind(entry.user)
                .bind(entry.toolVersion)
                .bind(QString::fromUtf8(
                    QJsonDocument(entry.toJson()).toJson(QJsonDocument::Compact)));
            const qint64 id = insert.run() ? sqlite3_last_insert_rowid(m_database) : 0;
            if (id > 0 && addRecords(id, entry.records) &&
                sqlite3_exec(m_database, "COMMIT", nullptr, nullptr, nullptr) == SQLITE_OK) {
                m_error.clear();
                return id;
            }
        }
        fail();
        const bool corrupt = isCorrupt(m_database);
        sqlite3_exec(m_database, "ROLLBACK", nullptr, nullptr, nullptr);
        if (!corrupt || !startAnew())
            break;
    }
    return 0;
}

bool HWCHistoryDatabase::addRecords(qint64 id, const HWCHistoryRecords &records)
{
    HWCSqlStatement full(m_database, insertFilesSql(kRowsPerInsert).constData());
    // Each record is made as it is written, a statement's rows at a time: an operation's
    // records are not copied first.
    std::vector<HWCHistoryFileUtf8> rows;
    rows.reserve(kRowsPerInsert);
    for (qsizetype start = 0; start < records.size(); start += kRowsPerInsert) {
        rows.clear();
        for (qsizetype index = start; index < std::min(records.size(), start + kRowsPerInsert);
             ++index)
            rows.push_back(records.utf8At(index));
        if (qsizetype(rows.size()) < kRowsPerInsert) {
            HWCSqlStatement last(m_database, insertFilesSql(qsizetype(rows.size())).constData());
            return insertFiles(last, id, rows);
        }
        if (!insertFiles(full, id, rows))
            return false;
    }
    return true;
}

QList<HWCHistoryEntry> HWCHistoryDatabase::entries(const QDateTime &since, const QString &match)
{
    QList<HWCHistoryEntry> found;
    if (!m_database)
        return found;
    const QString folder =
        match.isEmpty() ? QString() : QDir::cleanPath(QFileInfo(match).absoluteFilePath());
    HWCSqlStatement select(m_database,
                           "SELECT id, entry FROM runs WHERE (?1 IS NULL OR ended >= ?1) AND "
                           "(?2 IS NULL OR source = ?2 OR substr(source, 1, length(?2) + 1) = "
                           "?2 || '/' OR volume_label = ?3 OR volume_uuid = ?3) "
                           "ORDER BY ended DESC, id DESC");
    select.bind(sortableTime(since)).bind(folder).bind(match);
    while (select.next()) {
        HWCHistoryEntry entry =
            HWCHistoryEntry::fromJson(QJsonDocument::fromJson(select.text(1).toUtf8()).object());
        entry.id = select.number(0);
        found.append(entry);
    }
    if (!select.succeeded())
        fail();
    return found;
}

std::optional<HWCHistoryEntry> HWCHistoryDatabase::entry(qint64 id)
{
    if (!m_database)
        return std::nullopt;
    HWCSqlStatement select(m_database, "SELECT entry FROM runs WHERE id = ?");
    select.bind(id);
    if (!select.next()) {
        fail();
        return std::nullopt;
    }
    HWCHistoryEntry entry =
        HWCHistoryEntry::fromJson(QJsonDocument::fromJson(select.text(0).toUtf8()).object());
    entry.id = id;
    HWCSqlStatement files(m_database, "SELECT path, state, bytes, digest_kind, expected, actual, "
                                      "expected_size, reason FROM files WHERE run = ? ORDER BY "
                                      "rowid");
    files.bind(id);
    while (files.next()) {
        HWCHistoryFile record{
            files.text(0), HWCFileState(files.number(1)), quint64(files.number(2)), {}};
        record.detail = {files.text(3), files.text(4), files.text(5), std::nullopt, files.text(7)};
        if (!files.isNull(6))
            record.detail.expectedSize = quint64(files.number(6));
        entry.records.append(record);
    }
    return entry;
}

int HWCHistoryDatabase::removeEndedBefore(const QDateTime &time)
{
    if (!m_database)
        return -1;
    HWCSqlStatement remove(m_database, "DELETE FROM runs WHERE ended < ?");
    remove.bind(sortableTime(time));
    if (!remove.run()) {
        fail();
        return -1;
    }
    return sqlite3_changes(m_database);
}

bool HWCHistoryDatabase::remove(const QList<qint64> &ids)
{
    if (!m_database)
        return false;
    if (sqlite3_exec(m_database, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK)
        return fail();
    HWCSqlStatement remove(m_database, "DELETE FROM runs WHERE id = ?");
    for (const qint64 id : ids) {
        remove.reset();
        if (!remove.bind(id).run()) {
            fail();
            sqlite3_exec(m_database, "ROLLBACK", nullptr, nullptr, nullptr);
            return false;
        }
    }
    if (sqlite3_exec(m_database, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK)
        return fail();
    m_error.clear();
    return true;
}
