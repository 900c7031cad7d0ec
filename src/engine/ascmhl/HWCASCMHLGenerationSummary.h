#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// What `info` tells of each generation of a history, or of a stand-alone manifest: read from
// their `creatorinfo` and `processinfo` alone. Any thread.
struct HWCASCMHLGenerationSummary {
    QString name;           // the manifest's file name
    QString date;           // creationdate as the manifest holds it
    QString tool;           // tool name and version
    QString process;        // in-place, transfer or flatten
    QStringList references; // nested histories' generations, paths from the manifest's root

    // The manifest at path; a summary with only the name when it cannot be read.
    static HWCASCMHLGenerationSummary read(const QString &path);

    // The file names of the numbered generations of the `ascmhl` folder, by sequence number.
    static QStringList generationNames(const QString &historyFolder);

    // Every numbered generation of the `ascmhl` folder, by sequence number.
    static QList<HWCASCMHLGenerationSummary> readHistory(const QString &historyFolder);

    // The folders (below the history's root) of the histories its newest generation
    // references.
    static QStringList nestedFolders(const QList<HWCASCMHLGenerationSummary> &generations);
};
