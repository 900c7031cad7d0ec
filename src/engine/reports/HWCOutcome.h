#pragma once

#include <QString>
#include <QStringList>

class HWCSourceOperation;
class HWCVerifiedFile;

// What the text, JSON and log reports share about a finished operation. Any thread once the
// operation has finished and its progress record has received every update.
namespace HWCOutcome {

// The state as the reports name it: the engine's name, except that a run that checked
// nothing is "Nothing verified", a creation whose list was not written is "MHL could not be
// written", a sealed verification whose generation was not written for another reason than a
// volume that cannot be written is "History could not be recorded", and an MHL that could not
// be used is added.
QString stateName(const HWCSourceOperation &operation);

// Bytes read: for a verification the sum over its records, for a creation those hashed.
quint64 bytesRead(const HWCSourceOperation &operation);

// The list a creation wrote, and why it could not write one; null otherwise.
QString createdList(const HWCSourceOperation &operation);
QString writeError(const HWCSourceOperation &operation);
// Why the folder of a creation's complete list could not be synced; null otherwise.
QString syncError(const HWCSourceOperation &operation);

// "<path>: <reason>" for each folder a verification's walks could not look into.
QStringList unreadableFolders(const HWCSourceOperation &operation);
// An errno in the system's words.
QString reason(int error);

// The MHLs the operation checked files against: those of the source it could use.
QStringList usedLists(const HWCSourceOperation &operation);

// A record's path relative to the source, without a leading "/".
QString relativePath(const HWCVerifiedFile &file);

// "1 file", "3 files".
QString count(qint64 amount, const char *singular, const char *plural);

// A size as "1.2 MB".
QString sizeText(quint64 bytes);

} // namespace HWCOutcome
