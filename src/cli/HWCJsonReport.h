#pragma once

#include "engine/reports/HWCSourceRun.h"

#include <QJsonArray>
#include <QJsonObject>

// The command line's JSON, one object on stdout for every exit. docs/json.md documents every
// field; schemaVersion changes when a field changes meaning or goes away. Main thread.
namespace HWCJsonReport {

inline constexpr int kSchemaVersion = 1;

// The top level: schemaVersion, tool, version, command, exitCode, sources (from source()),
// refused, and error when the command stopped before any source ran.
QJsonObject document(const QString &command, int exitCode, const QJsonArray &sources,
                     const QJsonArray &refused, const QString &error = {});

// One source's object. A run whose operation has not finished reports what its progress
// record shows, with no records.
QJsonObject source(const HWCSourceRun &run);

// A source refused before any operation ran, and why.
QJsonObject refused(const QString &source, const QString &reason);

// Writes the document, indented, to stdout.
void print(const QJsonObject &document);

} // namespace HWCJsonReport
