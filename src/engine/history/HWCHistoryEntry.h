#pragma once

#include "engine/history/HWCHistoryRecords.h"
#include "engine/records/HWCTypes.h"
#include "engine/records/HWCVerifiedFile.h"

#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <chrono>

class HWCSourceOperation;

// A list an operation checked against or wrote, with the SHA-1 of the file as it was then
// (empty for a history folder or a list that could not be read).
struct HWCHistoryList {
    QString path;
    QString sha1;
};

// How a run ended, in the terms its reader cares about.
enum class HWCRunOutcome { Verified, Warnings, Cancelled, NothingVerified, Created, NotWritten };

// Everything the history keeps of one ended operation: made from the operation when it ends,
// stored, and read back to list, show and report it. A value; any thread.
struct HWCHistoryEntry {
    // A run of more files than this keeps only the records of its failures.
    static constexpr qsizetype kAllRecordsLimit = 100000;

    qint64 id = 0; // 0 until stored
    HWCActionType action = HWCActionType::Verify;
    QString source;
    QString volumeLabel; // empty when the medium has none or it is unknown
    QString volumeUUID;
    QDateTime started; // invalid when the run was cancelled before it began
    QDateTime ended;
    double durationSeconds = 0;
    HWCOperationState state = HWCOperationState::Preparing;
    QString stateName; // as the command line names it ("Nothing verified", ...)
    bool verifiedNothing = false;
    quint64 files = 0; // files checked (a creation: hashed or tried)
    quint64 filesTotal = 0;
    quint64 bytes = 0; // bytes read
    quint64 bytesTotal = 0;
    QMap<HWCFileState, quint64> counts; // records per state
    QList<HWCHistoryList> usedLists;
    QList<std::pair<QString, QString>> skippedLists; // path, why it could not be used
    HWCHistoryList writtenList;                      // a creation's new list
    QString writeError;                              // why a creation's list was not written
    QStringList sealedGenerations; // the ASC MHL generations that record this run
    QString notSealed;             // why a generation could not be recorded; null: none tried
    QStringList sealedNew;         // files new since the last generation that one records
    QStringList tools;                               // the tools that wrote the lists used
    QString host;
    QString user;
    QString toolVersion;
    bool allRecords = true; // false: records holds only the failures
    HWCHistoryRecords records;
    QStringList unlisted;          // as the operation names them (HWCSourceOperation)
    QStringList unreadableFolders; // "<path>: <reason>"

    // What a finished operation holds, without the host, user, volume and list digests
    // (withEnvironment()). ended is when it ended; its start is told by how long it ran.
    // Any thread once the operation has finished and its progress record has every update.
    static HWCHistoryEntry fromOperation(const HWCSourceOperation &operation,
                                         const QDateTime &ended);

    // Adds the host, user, tool version, the source's volume and the lists' digests. Reads
    // the lists from the medium. Any thread.
    void addEnvironment();

    HWCRunOutcome outcome() const;
    quint64 failures() const; // records whose state is not "File read successfully"
    // The volume label, else the name of the source's folder.
    QString cardName() const;

    // Every field but id and records, and back; fromJson() of another object gives an
    // entry with what it could read.
    QJsonObject toJson() const;
    static HWCHistoryEntry fromJson(const QJsonObject &object);
};
