#include "engine/history/HWCHistoryEntry.h"

#include "HWCBuildInfo.h"
#include "engine/digests/HWCChecksumSHA1.h"
#include "engine/history/HWCVolumeIdentity.h"
#include "engine/operations/HWCSourceOperation.h"
#include "engine/records/HWCOperationInfo.h"
#include "engine/records/HWCStateNames.h"
#include "engine/reports/HWCOutcome.h"
#include "engine/session/HWCUserAccount.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <unistd.h>

namespace {

constexpr qsizetype kListReadSize = 1 << 16;

void addRecords(HWCHistoryEntry &entry, const HWCSourceOperation &operation)
{
    const QList<HWCVerifiedFile> &files = operation.files();
    entry.allRecords = files.size() < HWCHistoryEntry::kAllRecordsLimit;
    for (const HWCVerifiedFile &file : files)
        ++entry.counts[file.verifiedFileState()];
    entry.records = HWCHistoryRecords(files, !entry.allRecords);
}

// OpenSSL's SHA-1: a list of a million files is hashed in half the time Qt's takes.
QString sha1Of(const QString &path)
{
    QFile file(path);
    HWCChecksumSHA1 sha1;
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly) || !sha1.isAvailable())
        return {};
    sha1.reset();
    QByteArray buffer(kListReadSize, Qt::Uninitialized);
    qint64 read;
    while ((read = file.read(buffer.data(), buffer.size())) > 0)
        sha1.updateWithBytes(buffer.constData(), quint64(read));
    return read < 0 ? QString() : sha1.digestText();
}

QJsonObject listJson(const HWCHistoryList &list)
{
    return {{"path", list.path}, {"sha1", list.sha1}};
}

HWCHistoryList listFromJson(const QJsonValue &value)
{
    return {value[QLatin1String("path")].toString(), value[QLatin1String("sha1")].toString()};
}

QString isoTime(const QDateTime &time)
{
    return time.isValid() ? time.toOffsetFromUtc(time.offsetFromUtc()).toString(Qt::ISODateWithMs)
                          : QString();
}

} // namespace

HWCHistoryEntry HWCHistoryEntry::fromOperation(const HWCSourceOperation &operation,
                                               const QDateTime &ended)
{
    const HWCOperationInfo *info = operation.info();
    HWCHistoryEntry entry;
    entry.action = operation.actionType();
    entry.source = info->path();
    entry.ended = ended;
    const std::chrono::nanoseconds running = operation.runningTime();
    entry.durationSeconds = double(running.count()) / 1e9;
    // A run shorter than a millisecond ran all the same.
    if (running.count() > 0 || operation.isExecuting())
        entry.started =
            ended.addMSecs(-std::chrono::duration_cast<std::chrono::milliseconds>(running).count());
    entry.state = operation.state() == HWCOperationState::Preparing ? HWCOperationState::Cancelled
                                                                    : operation.state();
    entry.stateName = HWCOutcome::stateName(operation);
    entry.verifiedNothing = operation.verifiedNothing();
    entry.files = operation.fileAmount();
    entry.filesTotal = info->filesTotal();
    entry.bytesTotal = info->bytesTotal();
    entry.bytes = HWCOutcome::bytesRead(operation);
    addRecords(entry, operation);
    for (const HWCSourceOperation::UnusableList &list : operation.unusableLists())
        entry.skippedLists.append({list.path, list.reason});
    for (const QString &path : HWCOutcome::usedLists(operation))
        entry.usedLists.append({path, {}});
    const HWCSourceOperation::WrittenList written = operation.writtenList();
    entry.writtenList.path = written.path;
    entry.writeError = written.writeError;
    entry.sealedGenerations = written.recorded;
    entry.notSealed = written.notRecorded;
    entry.sealedNew = written.recordedNew;
    entry.tools = info->mhlTools();
    entry.unlisted = operation.unlistedFiles();
    entry.unreadableFolders = HWCOutcome::unreadableFolders(operation);
    return entry;
}

void HWCHistoryEntry::addEnvironment()
{
    const HWCUserAccount account = HWCUserAccount::current();
    host = account.hostName;
    user = account.loginName.isEmpty() ? QString::number(getuid()) : account.loginName;
    toolVersion = QString::fromUtf8(HWCBuildInfo::kShortVersion);
    const HWCVolumeIdentity volume = HWCVolumeIdentity::of(source);
    volumeLabel = volume.label;
    volumeUUID = volume.uuid;
    for (HWCHistoryList &list : usedLists)
        list.sha1 = sha1Of(list.path);
    if (!writtenList.path.isEmpty())
        writtenList.sha1 = sha1Of(writtenList.path);
}

HWCRunOutcome HWCHistoryEntry::outcome() const
{
    if (!writeError.isNull())
        return HWCRunOutcome::NotWritten;
    switch (state) {
    case HWCOperationState::CreatedOK:
        return HWCRunOutcome::Created;
    case HWCOperationState::VerifiedOK:
        if (verifiedNothing)
            return HWCRunOutcome::NothingVerified;
        return skippedLists.isEmpty() ? HWCRunOutcome::Verified : HWCRunOutcome::Warnings;
    case HWCOperationState::FinishedWithWarnings:
        return HWCRunOutcome::Warnings;
    case HWCOperationState::NoMHL:
    case HWCOperationState::NoFilesFound:
        return HWCRunOutcome::NothingVerified;
    default:
        return HWCRunOutcome::Cancelled;
    }
}

quint64 HWCHistoryEntry::failures() const
{
    quint64 amount = 0;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it) {
        if (it.key() != HWCFileState::ReadSuccessfully)
            amount += it.value();
    }
    return amount;
}

QString HWCHistoryEntry::cardName() const
{
    return volumeLabel.isEmpty() ? QFileInfo(source).fileName() : volumeLabel;
}

QJsonObject HWCHistoryEntry::toJson() const
{
    QJsonObject stateCounts;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        stateCounts.insert(QString::number(hwc_code(it.key())), qint64(it.value()));
    QJsonArray used, skipped;
    for (const HWCHistoryList &list : usedLists)
        used.append(listJson(list));
    for (const auto &[path, reason] : skippedLists)
        skipped.append(QJsonObject{{"path", path}, {"reason", reason}});
    QJsonObject object{{"action", HWCActionTypeName(action)},
                       {"actionCode", qint64(hwc_code(action))},
                       {"source", source},
                       {"volumeLabel", volumeLabel},
                       {"volumeUUID", volumeUUID},
                       {"start", isoTime(started)},
                       {"end", isoTime(ended)},
                       {"durationSeconds", durationSeconds},
                       {"state", stateName},
                       {"stateCode", qint64(hwc_code(state))},
                       {"verifiedNothing", verifiedNothing},
                       {"files", qint64(files)},
                       {"filesTotal", qint64(filesTotal)},
                       {"bytes", qint64(bytes)},
                       {"bytesTotal", qint64(bytesTotal)},
                       {"stateCounts", stateCounts},
                       {"mhlUsed", used},
                       {"mhlSkipped", skipped},
                       {"tools", QJsonArray::fromStringList(tools)},
                       {"host", host},
                       {"user", user},
                       {"toolVersion", toolVersion},
                       {"allRecords", allRecords},
                       {"unlisted", QJsonArray::fromStringList(unlisted)},
                       {"unreadableFolders", QJsonArray::fromStringList(unreadableFolders)}};
    if (!writtenList.path.isEmpty())
        object.insert("mhlWritten", listJson(writtenList));
    if (!writeError.isNull())
        object.insert("mhlError", writeError);
    if (!sealedGenerations.isEmpty())
        object.insert("historyRecorded", QJsonArray::fromStringList(sealedGenerations));
    if (!notSealed.isNull())
        object.insert("historyNotRecorded", notSealed);
    if (!sealedNew.isEmpty())
        object.insert("historyRecordedNew", QJsonArray::fromStringList(sealedNew));
    return object;
}

HWCHistoryEntry HWCHistoryEntry::fromJson(const QJsonObject &object)
{
    const auto text = [&](const char *key) { return object[QLatin1String(key)].toString(); };
    const auto number = [&](const char *key) {
        return quint64(object[QLatin1String(key)].toInteger());
    };
    const auto strings = [&](const char *key) {
        QStringList list;
        for (const QJsonValue &value : object[QLatin1String(key)].toArray())
            list.append(value.toString());
        return list;
    };
    HWCHistoryEntry entry;
    entry.action = HWCActionType(number("actionCode"));
    entry.source = text("source");
    entry.volumeLabel = text("volumeLabel");
    entry.volumeUUID = text("volumeUUID");
    entry.started = QDateTime::fromString(text("start"), Qt::ISODateWithMs);
    entry.ended = QDateTime::fromString(text("end"), Qt::ISODateWithMs);
    entry.durationSeconds = object["durationSeconds"].toDouble();
    entry.stateName = text("state");
    entry.state = HWCOperationState(number("stateCode"));
    entry.verifiedNothing = object["verifiedNothing"].toBool();
    entry.files = number("files");
    entry.filesTotal = number("filesTotal");
    entry.bytes = number("bytes");
    entry.bytesTotal = number("bytesTotal");
    const QJsonObject stateCounts = object["stateCounts"].toObject();
    for (auto it = stateCounts.begin(); it != stateCounts.end(); ++it)
        entry.counts.insert(HWCFileState(it.key().toULongLong()), quint64(it->toInteger()));
    for (const QJsonValue &list : object["mhlUsed"].toArray())
        entry.usedLists.append(listFromJson(list));
    for (const QJsonValue &list : object["mhlSkipped"].toArray())
        entry.skippedLists.append({list["path"].toString(), list["reason"].toString()});
    if (object.contains("mhlWritten"))
        entry.writtenList = listFromJson(object["mhlWritten"]);
    if (object.contains("mhlError"))
        entry.writeError = text("mhlError");
    entry.sealedGenerations = strings("historyRecorded");
    entry.sealedNew = strings("historyRecordedNew");
    if (object.contains("historyNotRecorded"))
        entry.notSealed = text("historyNotRecorded");
    entry.tools = strings("tools");
    entry.host = text("host");
    entry.user = text("user");
    entry.toolVersion = text("toolVersion");
    entry.allRecords = object["allRecords"].toBool(true);
    entry.unlisted = strings("unlisted");
    entry.unreadableFolders = strings("unreadableFolders");
    return entry;
}
