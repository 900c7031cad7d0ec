#pragma once

#include <QString>
#include <QStringList>

// What a person sets for the generations a run writes to an ASC MHL history; fixed for the
// run. Any thread.
struct HWCASCMHLSettings {
    // The author and place named in each generation's `creatorinfo`; empty ones are left out.
    QString authorName;
    QString authorEmail;
    QString authorPhone;
    QString authorRole;
    QString location;
    QString comment;

    // Ignore patterns (gitignore lines) added to the standard's defaults and to those the
    // history already records.
    QStringList ignorePatterns;

    // Whether a new generation records the content and structure hash of each folder.
    bool directoryHashes = true;
};
