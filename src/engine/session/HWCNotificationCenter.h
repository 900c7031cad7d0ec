#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>

// Process-wide announcements by name, such as "AppOpenedWithMHL" with the key "filename".
// Whoever posts does not know who listens; a listener connects to posted() and picks the
// names it cares about. post() may be called on any thread; a listener that lives on another
// thread receives the signal through its own event loop.
class HWCNotificationCenter : public QObject {
    Q_OBJECT

public:
    static HWCNotificationCenter &defaultCenter();

    void post(const QString &name, const QVariantMap &userInfo = {});

Q_SIGNALS:
    void posted(const QString &name, const QVariantMap &userInfo);

private:
    HWCNotificationCenter() = default;
};

// Posted when the application is asked to open an MHL file; "filename" holds its path.
inline constexpr char kHWCAppOpenedWithMHLNotification[] = "AppOpenedWithMHL";
inline constexpr char kHWCFilenameKey[] = "filename";
