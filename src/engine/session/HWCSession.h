#pragma once

#include <QDateTime>
#include <QMutex>
#include <QString>
#include <optional>

// Where and when a file was downloaded, as the browser left it on the file.
struct HWCDownload {
    QDateTime date;    // the file's birth time, else its last modification
    QString reference; // the link's `ref` query item (the last of several); empty without
    QString week;      // the link's `week` query item, alike
};

// What the process knows about itself: when it started, whether it is an alpha, beta or
// release build, and when and through which link it was downloaded. The shared session is
// made once per process; its values are final once startSession() has returned. Getters
// may be called on any thread.
class HWCSession {
public:
    HWCSession();
    HWCSession(const HWCSession &) = delete;
    HWCSession &operator=(const HWCSession &) = delete;

    // Made and started on the first call, thread-safely; the same object afterwards.
    static HWCSession &sharedSession();

    // "Alpha" when the version holds an alpha letter ('a' or U+03B1) or is missing, else
    // "Beta" when it holds a beta letter ('b', U+03B2 or U+00DF), else "Release".
    static QString releaseTypeForVersion(const std::optional<QString> &version);

    // The download of the file at path, from the link browsers record in its
    // `user.xdg.origin.url` extended attribute; nullopt when the file has none or cannot be
    // read. Logs nothing. Any thread.
    static std::optional<HWCDownload> downloadOf(const QString &path);

    // Sets the start date and the release type of this build, then the download of the
    // running executable (downloadOf() of /proc/self/exe, followed to the file). Without one
    // the download values stay empty. Called on one thread at a time.
    void startSession();

    QDateTime startDate() const;
    QString releaseType() const;
    bool isPreRelease() const;
    QString buildType() const { return QStringLiteral("Release"); }
    QDateTime downloadDate() const; // invalid when unknown
    QString downloadReference() const;
    QString downloadWeek() const;

    void setStartDate(const QDateTime &date);
    void setReleaseType(const QString &type);
    void setPreRelease(bool preRelease);
    void setDownloadDate(const QDateTime &date);
    void setDownloadReference(const QString &reference);
    void setDownloadWeek(const QString &week);

private:
    mutable QMutex m_mutex;
    QDateTime m_startDate;
    QString m_releaseType;
    bool m_preRelease = false;
    QDateTime m_downloadDate;
    QString m_downloadReference;
    QString m_downloadWeek;
};
