#pragma once

#include <QString>
#include <QVariantMap>

// The usage-event facade. Nothing is sent anywhere by default. When the environment
// variable HASHWARDEN_ANALYTICS_LOG names a file, every event is appended to it as one JSON
// line {"event", "token", "properties", "superProperties", "time"}, so that a user or an auditor
// can see exactly what would be sent. Every function may be called on any thread.
namespace HWCAnalytics {

inline constexpr const char *kLogEnvironmentVariable = "HASHWARDEN_ANALYTICS_LOG";

// Called once at launch, before any event.
void setupMixpanelWithToken(const QString &token);
QString token();

// Attached to every later event; a later value under the same key replaces the earlier.
void addEventSuperProperties(const QVariantMap &properties);

// Reports one event. Dates are written in ISO 8601 (UTC), numbers as numbers.
void event(const QString &name, const QVariantMap &properties);

} // namespace HWCAnalytics
