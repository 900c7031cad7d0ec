#pragma once

#include "engine/history/HWCHistoryEntry.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <optional>

struct sqlite3;

// The history of runs on disk: an SQLite database in WAL mode, which several processes may
// write at once (each write is one transaction; a writer waits for the others up to a busy
// timeout). A database that turns out corrupt is renamed aside and a new one started, by one
// process at a time (an flock on "<path>.lock" beside it).
// One object per thread; open one where it is needed.
class HWCHistoryDatabase {
public:
    // Opens (and creates) the database at path; isOpen() and error() tell how it went.
    explicit HWCHistoryDatabase(const QString &path = defaultPath());
    ~HWCHistoryDatabase();
    HWCHistoryDatabase(const HWCHistoryDatabase &) = delete;
    HWCHistoryDatabase &operator=(const HWCHistoryDatabase &) = delete;

    // $XDG_DATA_HOME/hashwarden/history.sqlite (QStandardPaths::GenericDataLocation).
    static QString defaultPath();

    bool isOpen() const { return m_database != nullptr; }
    // Why the last step failed, in SQLite's words; empty after a success.
    QString error() const { return m_error; }
    // Where a corrupt database was moved; empty when none was.
    QString setAsidePath() const { return m_setAsidePath; }

    // Stores the entry with its records; returns its new id, or 0 (see error()).
    qint64 add(const HWCHistoryEntry &entry);

    // Newest first, without records: those that ended at or after since (when valid), and
    // whose source is match or lies beneath it, or whose volume label or UUID is match
    // (when not empty).
    QList<HWCHistoryEntry> entries(const QDateTime &since = {}, const QString &match = {});

    // One entry with its records; nullopt when there is none with that id.
    std::optional<HWCHistoryEntry> entry(qint64 id);

    // Removes the entries that ended before time; returns how many, or -1 (see error()).
    int removeEndedBefore(const QDateTime &time);

    // Removes the entries with these ids, in one transaction; false (see error()) when it
    // could not.
    bool remove(const QList<qint64> &ids);

private:
    bool open();
    bool prepareSchema();
    // Moves a corrupt database aside and opens a new one in its place, unless, once the lock
    // is held, the path holds a sound database again (another process started it).
    bool startAnew();
    bool fail();
    bool addRecords(qint64 id, const HWCHistoryRecords &records);

    QString m_path;
    sqlite3 *m_database = nullptr;
    QString m_error;
    QString m_setAsidePath;
};
