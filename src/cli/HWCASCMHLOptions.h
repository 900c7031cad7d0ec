#pragma once

#include "cli/HWCActionRunner.h"

#include <QCommandLineParser>
#include <QString>

// The options of the ASC MHL history a creation writes: --format, its --digest names, the
// author and place, ignore patterns, directory hashes. Main thread.
namespace HWCASCMHLOptions {

void add(QCommandLineParser &parser);

// Whether the command line asks for a history (create --format ascmhl).
bool wantsHistory(const QCommandLineParser &parser);

// Fills in options' format, digest kinds and history settings; returns why they cannot be
// used, or "" when they can.
QString read(const QCommandLineParser &parser, HWCActionRunner::Options &options);

} // namespace HWCASCMHLOptions
