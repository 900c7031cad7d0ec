#include "cli/HWCCommandLine.h"

#include "HWCBuildInfo.h"
#include "cli/HWCASCMHLCommands.h"
#include "cli/HWCASCMHLOptions.h"
#include "cli/HWCActionRunner.h"
#include "cli/HWCExitCode.h"
#include "cli/HWCHistoryCommand.h"
#include "cli/HWCJsonReport.h"
#include "cli/HWCListInfo.h"
#include "engine/digests/HWCChecksumKinds.h"
#include "engine/files/HWCFileNameAdditions.h"
#include "engine/session/HWCAnalytics.h"
#include "engine/session/HWCLog.h"
#include "engine/session/HWCSession.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QRegularExpression>
#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace HWCCommandLine {

namespace {

const QStringList kCommands = {QStringLiteral("verify"), QStringLiteral("create"),
                               QStringLiteral("info"),   QStringLiteral("flatten"),
                               QStringLiteral("diff"),   QStringLiteral("history")};

// Each job holds a 2 MiB buffer and a thread; more than this only queues at the medium.
constexpr int kMaxJobs = 64;

const char *const kExitCodes = R"(
Commands:
  verify SOURCE...  Re-read every file listed by the MHL files in each SOURCE (a folder,
                    a disk or an MHL file) and check its digest.
  create SOURCE...  Hash every file of each SOURCE folder (XXH64, or the kinds --digest
                    names) and write a new MHL into it.
  info MHL          Show the creator tool, file count, total size and digest kinds of an
                    MHL file, or of an ASC MHL history (its folder or its ascmhl folder).
  flatten SOURCE OUT.mhl
                    Write one stand-alone ASC MHL manifest (a packing list) of the history
                    of SOURCE and those nested in it; verify --root DIR OUT.mhl checks it.
  diff SOURCE       Name the files missing from and new to the history of SOURCE, by name
                    alone, without reading any content (exit 1 when there are any).
  history [PATH]    List the runs the history kept, newest first (those of PATH: a
                    source folder, one beneath it, or a volume label or UUID).
  history show ID   Show one run's result as it was printed.
  history report ID... --report FILE
                    Write the report of several runs (a shooting day) to FILE.
  [PATH]            Without a command, open the window; with PATH (an MHL file, a folder
                    or a disk) as its source. A running window takes the PATH instead.
                    Any further argument makes it a command line.

Exit codes:
  0   Verified OK / Created OK
  1   Finished with warnings, an MHL that could not be used (named on stderr), or the
      log could not be written at the end; with --strict also files that no MHL lists
      and folders that could not be read (named on stderr)
  2   No MHL / No files found / no file checked at all
  3   Cancelled (Ctrl-C or SIGTERM ends the command within a second; twice stops it
      at once)
  64  Usage error: unknown command or option, missing argument
  66  A source that cannot be used: an ordinary file, a path that does not exist
  73  An MHL or a sealed history's generation could not be written (the reason is on
      stderr; nothing partial is left), the --log or --report FILE cannot be written
      (checked before any file is read), or with --append what it holds cannot be read
      whole (it is then left as it was)
With several sources the most serious outcome decides: 73, then 3, then 1, then 2.
)";

// What is checked beyond the listed digests, and what create writes.
void addCheckOptions(QCommandLineParser &parser)
{
    parser.addOption({QStringLiteral("strict"),
                      QStringLiteral("verify: exit with 1 when a source holds files that no MHL "
                                     "lists, or folders that could not be read.")});
    parser.addOption({QStringLiteral("exclude"),
                      QStringLiteral("Leave files whose name matches PATTERN (a shell pattern; "
                                     "repeatable) out of create and of the files not listed. "
                                     "Default: .DS_Store, ._*, Thumbs.db."),
                      QStringLiteral("PATTERN")});
    parser.addOption({QStringLiteral("root"),
                      QStringLiteral("verify: look for the listed files under DIR, for an MHL "
                                     "kept apart from the media."),
                      QStringLiteral("DIR")});
    parser.addOption({QStringLiteral("digest"),
                      QStringLiteral("create: the digest kinds of every entry, all from one "
                                     "read: a comma list of xxhash64, md5, sha1, xxhash."),
                      QStringLiteral("LIST"), QStringLiteral("xxhash64")});
    parser.addOption({QStringLiteral("report"),
                      QStringLiteral("Write a report a production can file to FILE (.pdf or "
                                     ".html): a verdict, then every source in detail."),
                      QStringLiteral("FILE")});
    parser.addOption({QStringLiteral("on-complete"),
                      QStringLiteral("When the run has ended, run CMD through /bin/sh with the "
                                     "JSON result on its stdin; its failure changes no outcome."),
                      QStringLiteral("CMD")});
    parser.addOption({QStringLiteral("since"),
                      QStringLiteral("history: only the runs that ended on or after DATE "
                                     "(YYYY-MM-DD, or with a time)."),
                      QStringLiteral("DATE")});
}

// Fills in the check options; returns why they cannot be used, or "" when they can.
QString readCheckOptions(const QCommandLineParser &parser, HWCActionRunner::Options &options)
{
    const bool create = options.action == HWCActionType::Create;
    for (const char *option : {"strict", "root"}) {
        if (create && parser.isSet(QLatin1String(option)))
            return QStringLiteral("--%1 applies to verify only").arg(QLatin1String(option));
    }
    if (!create && parser.isSet(QStringLiteral("digest")))
        return QStringLiteral("--digest applies to create only");
    options.strict = parser.isSet(QStringLiteral("strict"));
    options.rootFolder = parser.value(QStringLiteral("root"));
    options.reportPath = parser.value(QStringLiteral("report"));
    options.onComplete = parser.value(QStringLiteral("on-complete"));
    if (parser.isSet(QStringLiteral("since")))
        return QStringLiteral("--since applies to history only");
    if (parser.isSet(QStringLiteral("exclude")))
        options.excludes = parser.values(QStringLiteral("exclude"));
    if (HWCASCMHLOptions::wantsHistory(parser))
        return HWCASCMHLOptions::read(parser, options);
    const QStringList known = HWCChecksum::types();
    options.digestKinds.clear();
    for (const QString &kind : parser.value(QStringLiteral("digest")).split(QLatin1Char(','))) {
        if (!known.contains(kind))
            return QStringLiteral("--digest takes a comma list of %1").arg(known.join(", "));
        if (!HWCChecksumKinds::make(kind.toStdString())->isAvailable())
            return QStringLiteral("--digest: %1 cannot be computed here").arg(kind);
        if (!options.digestKinds.contains(kind))
            options.digestKinds.append(kind);
    }
    return HWCASCMHLOptions::read(parser, options);
}

QCommandLineOption option(const QStringList &names, const char *description,
                          const char *value = nullptr)
{
    return value
               ? QCommandLineOption(names, QString::fromUtf8(description), QString::fromUtf8(value))
               : QCommandLineOption(names, QString::fromUtf8(description));
}

void setUpParser(QCommandLineParser &parser)
{
    QCoreApplication::setApplicationName(QStringLiteral("hashwarden"));
    QCoreApplication::setApplicationVersion(QString::fromUtf8(HWCBuildInfo::kShortVersion));
    parser.setApplicationDescription(QStringLiteral("Proves that copied media is intact."));
    parser.addHelpOption();
    parser.addOptions({
        option({"V", "version"}, "Print the version and exit."),
        option({"q", "quiet"}, "Print nothing when every file is fine; otherwise only the "
                               "sources and files with problems."),
        option({"v", "verbose"}, "Print one line per checked file, \"PATH: OK\" or "
                                 "\"PATH: <file state>\", before the summary."),
        option({"json"},
               "Print the result as one JSON document on stdout, for every exit (its fields: "
               "share/doc/hashwarden/json.md)."),
        option({"log"},
               "Write a report of every source and file to FILE (checked before "
               "reading starts).",
               "FILE"),
        option({"append"}, "Add the report to the end of the --log FILE instead of replacing it."),
        option({"jobs"},
               "Hash up to N files of each source at once on separate threads "
               "(default 1), so that a slow digest uses more cores.",
               "N"),
        option({"debug"}, "Also show the program's internal log lines on stderr."),
    });
    addCheckOptions(parser);
    HWCASCMHLOptions::add(parser);
    parser.addPositionalArgument(QStringLiteral("command"),
                                 QStringLiteral("verify, create, info, flatten, diff or history."),
                                 QStringLiteral("verify|create|info|flatten|diff|history"));
    parser.addPositionalArgument(QStringLiteral("arguments"),
                                 QStringLiteral("The sources, or the MHL file for info."),
                                 QStringLiteral("PATH..."));
}

QString helpText(const QCommandLineParser &parser)
{
    // Qt names the program by the path it was started with; the usage names the command.
    QString text = parser.helpText();
    text.replace(QRegularExpression(QStringLiteral("^Usage: .*? \\[options\\]")),
                 QStringLiteral("Usage: hashwarden [options]"));
    return text + QString::fromUtf8(kExitCodes);
}

int usageError(const QCommandLineParser &parser, const QString &message)
{
    std::fprintf(stderr, "hashwarden: %s\nTry 'hashwarden --help'.\n",
                 qPrintable(hwc_displayedName(message)));
    // Even an unparsable command line may have asked for JSON; a script then still gets it.
    if (parser.isSet(QStringLiteral("json"))) {
        QString command = parser.positionalArguments().value(0);
        if (!kCommands.contains(command))
            command.clear();
        HWCJsonReport::print(
            HWCJsonReport::document(command, HWCExitCode::kUsage, {}, {}, message));
    }
    return HWCExitCode::kUsage;
}

// The session's super properties go with the "Action Completed" events the operations send.
void setUpAnalytics()
{
    const HWCSession &session = HWCSession::sharedSession();
    HWCAnalytics::addEventSuperProperties(
        {{QStringLiteral("Session Start Date"), session.startDate()},
         {QStringLiteral("Release Type"), session.releaseType()},
         {QStringLiteral("Build Type"), session.buildType()}});
}

HWCActionRunner::Verbosity verbosity(const QCommandLineParser &parser)
{
    if (parser.isSet(QStringLiteral("quiet")))
        return HWCActionRunner::Verbosity::Quiet;
    if (parser.isSet(QStringLiteral("verbose")))
        return HWCActionRunner::Verbosity::Verbose;
    return HWCActionRunner::Verbosity::Normal;
}

// A usage problem of the options verify and create share; empty when there is none.
QString optionProblem(const QCommandLineParser &parser, int &jobs)
{
    bool valid = true;
    jobs = parser.isSet(QStringLiteral("jobs")) ? parser.value(QStringLiteral("jobs")).toInt(&valid)
                                                : 1;
    if (!valid || jobs < 1 || jobs > kMaxJobs)
        return QStringLiteral("--jobs needs a whole number from 1 to %1").arg(kMaxJobs);
    if (parser.isSet(QStringLiteral("quiet")) && parser.isSet(QStringLiteral("verbose")))
        return QStringLiteral("--quiet and --verbose exclude each other");
    if (parser.isSet(QStringLiteral("append")) && !parser.isSet(QStringLiteral("log")))
        return QStringLiteral("--append needs --log FILE");
    if (parser.isSet(QStringLiteral("log")) && parser.value(QStringLiteral("log")).isEmpty())
        return QStringLiteral("--log needs a FILE name");
    return {};
}

int runAction(const QCommandLineParser &parser, HWCActionType action, const QStringList &sources)
{
    if (sources.isEmpty())
        return usageError(parser, QStringLiteral("%1 needs at least one SOURCE")
                                      .arg(parser.positionalArguments().first()));
    int jobs = 1;
    if (const QString problem = optionProblem(parser, jobs); !problem.isEmpty())
        return usageError(parser, problem);
    setUpAnalytics();
    HWCActionRunner::Options options;
    options.jobs = jobs;
    options.action = action;
    options.sources = sources;
    options.logPath = parser.value(QStringLiteral("log"));
    options.appendLog = parser.isSet(QStringLiteral("append"));
    options.json = parser.isSet(QStringLiteral("json"));
    options.verbosity = verbosity(parser);
    options.progress =
        isatty(STDERR_FILENO) && qEnvironmentVariable("TERM") != QLatin1String("dumb");
    if (const QString problem = readCheckOptions(parser, options); !problem.isEmpty())
        return usageError(parser, problem);
    HWCActionRunner runner(std::move(options));
    return runner.exec();
}

int runHistory(const QCommandLineParser &parser, const QStringList &arguments)
{
    HWCHistoryCommand::Options options;
    options.json = parser.isSet(QStringLiteral("json"));
    options.reportPath = parser.value(QStringLiteral("report"));
    if (parser.isSet(QStringLiteral("since"))) {
        options.since = HWCHistoryCommand::parseSince(parser.value(QStringLiteral("since")));
        if (!options.since.isValid())
            return usageError(parser, QStringLiteral("--since needs a date, YYYY-MM-DD"));
    }
    return HWCHistoryCommand::run(arguments, options);
}

} // namespace

bool isCommandLine(int argc, char **argv)
{
    // The window takes one PATH at most and no option: anything more is meant for the
    // command line, where a mistyped command is then a usage error.
    if (argc != 2)
        return argc > 2;
    const QString first = QString::fromLocal8Bit(argv[1]);
    return first.startsWith(QLatin1Char('-')) || kCommands.contains(first);
}

int needsDisplay(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    setUpParser(parser);
    std::fputs("hashwarden: the window needs a graphical display (neither DISPLAY nor "
               "WAYLAND_DISPLAY is set); without one, use the commands below.\n\n",
               stderr);
    std::fputs(qPrintable(helpText(parser)), stderr);
    return HWCExitCode::kUsage;
}

int run(int argc, char **argv)
{
    // A reader that goes away (| head) ends the printing, not the command: the log is still
    // written and the exit code still tells the outcome.
    std::signal(SIGPIPE, SIG_IGN);
    QCoreApplication app(argc, argv);
    return execute(QCoreApplication::arguments());
}

int execute(const QStringList &commandLine)
{
    QCommandLineParser parser;
    setUpParser(parser);
    const bool parsed = parser.parse(commandLine);
    HWCLog::setConsoleEnabled(parser.isSet(QStringLiteral("debug")));
    if (!parsed)
        return usageError(parser, parser.errorText());
    if (parser.isSet(QStringLiteral("help"))) {
        std::fputs(qPrintable(helpText(parser)), stdout);
        return HWCExitCode::kOK;
    }
    if (parser.isSet(QStringLiteral("version"))) {
        std::fprintf(stdout, "hashwarden %s\n", HWCBuildInfo::kShortVersion);
        return HWCExitCode::kOK;
    }
    QStringList arguments = parser.positionalArguments();
    if (arguments.isEmpty())
        return usageError(parser, QStringLiteral("a command is needed"));
    const QString command = arguments.takeFirst();
    if (command == QLatin1String("verify"))
        return runAction(parser, HWCActionType::Verify, arguments);
    if (command == QLatin1String("create"))
        return runAction(parser, HWCActionType::Create, arguments);
    if (command == QLatin1String("info")) {
        if (arguments.size() != 1)
            return usageError(parser, QStringLiteral("info needs exactly one MHL file"));
        return HWCListInfo::run(arguments.first(), parser.isSet(QStringLiteral("json")));
    }
    if (command == QLatin1String("flatten") && arguments.size() == 2)
        return HWCASCMHLCommands::flatten(arguments[0], arguments[1], {});
    if (command == QLatin1String("diff") && arguments.size() == 1)
        return HWCASCMHLCommands::diff(arguments.first());
    if (command == QLatin1String("flatten") || command == QLatin1String("diff"))
        return usageError(parser, QStringLiteral("%1 needs %2")
                                      .arg(command, command == QLatin1String("diff")
                                                        ? QStringLiteral("one SOURCE")
                                                        : QStringLiteral("SOURCE and OUT.mhl")));
    if (command == QLatin1String("history"))
        return runHistory(parser, arguments);
    return usageError(parser, QStringLiteral("unknown command \"%1\"").arg(command));
}

} // namespace HWCCommandLine
