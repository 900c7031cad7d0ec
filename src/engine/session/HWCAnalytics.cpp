#include "engine/session/HWCAnalytics.h"

#include "engine/session/HWCLog.h"

#include <QDateTime>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMutex>
#include <QMutexLocker>

namespace HWCAnalytics {

namespace {

struct State {
    QMutex mutex;
    QString token;
    QVariantMap superProperties;
};

State &state()
{
    static State shared;
    return shared;
}

QJsonValue jsonValue(const QVariant &value)
{
    if (value.metaType().id() == QMetaType::QDateTime)
        return value.toDateTime().toUTC().toString(Qt::ISODateWithMs);
    return QJsonValue::fromVariant(value);
}

QJsonObject jsonObject(const QVariantMap &map)
{
    QJsonObject object;
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        object.insert(it.key(), jsonValue(it.value()));
    return object;
}

} // namespace

void setupMixpanelWithToken(const QString &newToken)
{
    QMutexLocker lock(&state().mutex);
    state().token = newToken;
}

QString token()
{
    QMutexLocker lock(&state().mutex);
    return state().token;
}

void addEventSuperProperties(const QVariantMap &properties)
{
    QMutexLocker lock(&state().mutex);
    state().superProperties.insert(properties);
}

void event(const QString &name, const QVariantMap &properties)
{
    const QString path = qEnvironmentVariable(kLogEnvironmentVariable);
    if (path.isEmpty())
        return;
    // One lock for the super properties and the file, so that lines never interleave.
    QMutexLocker lock(&state().mutex);
    const QJsonObject line{
        {QStringLiteral("event"), name},
        {QStringLiteral("token"), state().token},
        {QStringLiteral("properties"), jsonObject(properties)},
        {QStringLiteral("superProperties"), jsonObject(state().superProperties)},
        {QStringLiteral("time"), QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)},
    };
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append)) {
        HWCLogWarning(QStringLiteral("Cannot write the usage event log %1: %2")
                          .arg(path, file.errorString()));
        return;
    }
    file.write(QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n');
}

} // namespace HWCAnalytics
