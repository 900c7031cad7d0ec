#include "CLI/HWCCommandLine.h"

#include "CLI/HWCActionRunner.h"
#include "CLI/HWCExitCode.h"
#include "CLI/HWCListInfo.h"
#include "Classes/HWCAnalytics.h"
#include "Classes/HWCChecksumKinds.h"
#include "Classes/HWCSession.h"
#include "HWCBuildInfo.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <cstdio>
#include <unistd.h>

namespace HWCCommandLine {

namespace {

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
  [PATH]            Without a command, open the window; with PATH (an MHL file, a folder
                    or a disk) as its source. A running window takes the PATH instead.

Exit codes:
  0   Verified OK / Created OK
  1   Finished with warnings, an MHL that could not be used (named on stderr), or the
      log could not be written; with --strict also files that no MHL lists
  2   No MHL / No files found / no file checked at all
  3   Cancelled (Ctrl-C ends the command within a second; twice stops it at once)
  64  Usage error: unknown command or option, missing argument
  66  A source that cannot be used: an ordinary file, a path that does not exist
  73  An MHL could not be written (the reason is on stderr; nothing partial is left)
With several sources the most serious outcome decides: 73, then 3, then 1, then 2.
)";

// What is checked beyond the listed digests, and what create writes.
void addCheckOptions(QCommandLineParser &parser)
{
    parser.addOption({QStringLiteral("strict"),
                      QStringLiteral("verify: exit with 1 when a source holds files that no MHL "
                                     "lists.")});
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
}

// Fills in the check options; returns why they cannot be used, or "" when they can.
QString readCheckOptions(const QCommandLineParser &parser, HWCActionRunner::Options &options)
{
    const bool create = options.action == HWCActionTypeCreate;
    for (const char *option : {"strict", "root"}) {
        if (create && parser.isSet(QLatin1String(option)))
            return QStringLiteral("--%1 applies to verify only").arg(QLatin1String(option));
    }
    if (!create && parser.isSet(QStringLiteral("digest")))
        return QStringLiteral("--digest applies to create only");
    options.strict = parser.isSet(QStringLiteral("strict"));
    options.rootFolder = parser.value(QStringLiteral("root"));
    if (parser.isSet(QStringLiteral("exclude")))
        options.excludes = parser.values(QStringLiteral("exclude"));
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
    return {};
}

void setUpParser(QCommandLineParser &parser)
{
    QCoreApplication::setApplicationName(QStringLiteral("hashwarden"));
    QCoreApplication::setApplicationVersion(QString::fromUtf8(HWCBuildInfo::kShortVersion));
    parser.setApplicationDescription(QStringLiteral("Proves that copied media is intact."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOption({QStringLiteral("log"),
                      QStringLiteral("Write the verification log of every file to FILE."),
                      QStringLiteral("FILE")});
    parser.addOption({QStringLiteral("json"), QStringLiteral("Print the result as JSON.")});
    parser.addOption({QStringLiteral("jobs"),
                      QStringLiteral("Read up to N files of each source at once (default 1), "
                                     "so that a slow digest uses more cores."),
                      QStringLiteral("N"), QStringLiteral("1")});
    addCheckOptions(parser);
    parser.addPositionalArgument(QStringLiteral("command"),
                                 QStringLiteral("verify, create or info."),
                                 QStringLiteral("verify|create|info"));
    parser.addPositionalArgument(QStringLiteral("arguments"),
                                 QStringLiteral("The sources, or the MHL file for info."),
                                 QStringLiteral("PATH..."));
}

QString helpText(const QCommandLineParser &parser)
{
    return parser.helpText() + QString::fromUtf8(kExitCodes);
}

int usageError(const QCommandLineParser &parser, const QString &message)
{
    std::fputs(qPrintable(QStringLiteral("hashwarden: %1\n\n").arg(message)), stderr);
    std::fputs(qPrintable(helpText(parser)), stderr);
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

int runAction(const QCommandLineParser &parser, HWCActionType action, const QStringList &sources)
{
    if (sources.isEmpty())
        return usageError(parser, QStringLiteral("%1 needs at least one SOURCE")
                                      .arg(parser.positionalArguments().first()));
    bool valid = false;
    const int jobs = parser.value(QStringLiteral("jobs")).toInt(&valid);
    if (!valid || jobs < 1 || jobs > kMaxJobs)
        return usageError(parser, QStringLiteral("--jobs needs a whole number from 1 to %1")
                                      .arg(kMaxJobs));
    setUpAnalytics();
    HWCActionRunner::Options options;
    options.jobs = jobs;
    options.action = action;
    options.sources = sources;
    options.logPath = parser.value(QStringLiteral("log"));
    options.json = parser.isSet(QStringLiteral("json"));
    options.progress = !options.json && isatty(STDOUT_FILENO);
    if (const QString problem = readCheckOptions(parser, options); !problem.isEmpty())
        return usageError(parser, problem);
    HWCActionRunner runner(std::move(options));
    return runner.exec();
}

} // namespace

bool isCommandLine(int argc, char **argv)
{
    if (argc < 2)
        return false;
    const QByteArray first(argv[1]);
    return first.startsWith('-') || first == "verify" || first == "create" || first == "info";
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
    QCoreApplication app(argc, argv);
    return execute(QCoreApplication::arguments());
}

int execute(const QStringList &commandLine)
{
    QCommandLineParser parser;
    setUpParser(parser);
    if (!parser.parse(commandLine))
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
        return runAction(parser, HWCActionTypeVerify, arguments);
    if (command == QLatin1String("create"))
        return runAction(parser, HWCActionTypeCreate, arguments);
    if (command == QLatin1String("info")) {
        if (arguments.size() != 1)
            return usageError(parser, QStringLiteral("info needs exactly one MHL file"));
        return HWCListInfo::run(arguments.first(), parser.isSet(QStringLiteral("json")));
    }
    return usageError(parser, QStringLiteral("unknown command \"%1\"").arg(command));
}

} // namespace HWCCommandLine
