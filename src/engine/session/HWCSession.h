#pragma once

#include <QDateTime>
#include <QMutex>
#include <QString>
#include <optional>

struct sqlite3;
struct sqlite3_stmt;

// What the process knows about itself: when it started, whether it is an alpha, beta or
// release build, and when and through which link it was downloaded. The shared session is
// made once per process; its values are final once startSession() has returned. Getters
// may be called on any thread.
class HWCSession {
public:
    HWCSession();
    ~HWCSession();
    HWCSession(const HWCSession &) = delete;
    HWCSession &operator=(const HWCSession &) = delete;

    // Made and started on the first call, thread-safely; the same object afterwards.
    static HWCSession &sharedSession();

    // "Alpha" when the version holds an alpha letter ('a' or U+03B1) or is missing, else
    // "Beta" when it holds a beta letter ('b', U+03B2 or U+00DF), else "Release".
    static QString releaseTypeForVersion(const std::optional<QString> &version);

    // Sets the start date and the release type of this build, then reads the download
    // history under the user's home. Every failure there leaves the initial values and is
    // not logged. Called on one thread at a time.
    void startSession();

    QDateTime startDate() const;
    QString releaseType() const;
    bool isPreRelease() const;
    QString buildType() const { return QStringLiteral("Release"); }
    QDateTime downloadDate() const; // Unix time 0 (UTC) when unknown
    QString downloadReference() const;
    QString downloadWeek() const;

    void setStartDate(const QDateTime &date);
    void setReleaseType(const QString &type);
    void setPreRelease(bool preRelease);
    void setDownloadDate(const QDateTime &date);
    void setDownloadReference(const QString &reference);
    void setDownloadWeek(const QString &week);

private:
    void readDownloadHistory();
    void readDownloadRow();
    void closeDatabase();

    mutable QMutex m_mutex;
    QDateTime m_startDate;
    QString m_releaseType;
    bool m_preRelease = false;
    QDateTime m_downloadDate;
    QString m_downloadReference;
    QString m_downloadWeek;
    // Kept open once opened, for the life of the session (the process, for the shared one).
    sqlite3 *m_database = nullptr;
    sqlite3_stmt *m_statement = nullptr;
};
