#include "cli/HWCASCMHLOptions.h"

#include "engine/ascmhl/HWCASCMHLDigests.h"
#include "engine/digests/HWCChecksumKinds.h"

#include <QFile>

namespace HWCASCMHLOptions {

namespace {

struct Text {
    const char *name;
    QString HWCASCMHLSettings::*field;
    const char *description;
};

const Text kTexts[] = {
    {"author-name", &HWCASCMHLSettings::authorName,
     "ASC MHL generations written: the author's NAME."},
    {"author-email", &HWCASCMHLSettings::authorEmail,
     "ASC MHL generations written: the author's "
     "e-mail ADDRESS."},
    {"author-phone", &HWCASCMHLSettings::authorPhone,
     "ASC MHL generations written: the author's "
     "PHONE number."},
    {"author-role", &HWCASCMHLSettings::authorRole,
     "ASC MHL generations written: the author's ROLE."},
    {"location", &HWCASCMHLSettings::location,
     "ASC MHL generations written: where they were made."},
    {"comment", &HWCASCMHLSettings::comment, "ASC MHL generations written: a COMMENT."},
};

const char *const kHistoryOnly[] = {"ignore", "ignore-file", "no-directory-hashes",
                                    "detect-renames"};

// The lines of a gitignore file that are patterns: not blank, not comments.
bool readIgnoreFile(const QString &path, QStringList &patterns)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return false;
    for (const QString &line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'))) {
        if (!line.trimmed().isEmpty() && !line.startsWith(QLatin1Char('#')))
            patterns.append(line);
    }
    return true;
}

QString readDigests(const QCommandLineParser &parser, QStringList &kinds)
{
    const QStringList elements =
        parser.isSet(QStringLiteral("digest"))
            ? parser.value(QStringLiteral("digest")).split(QLatin1Char(','))
            : QStringList{QStringLiteral("xxh128")};
    kinds.clear();
    for (const QString &element : elements) {
        const QString kind = HWCASCMHLDigests::kindForElement(element);
        if (kind.isEmpty())
            return QStringLiteral("--digest with --format ascmhl takes a comma list of %1")
                .arg(HWCASCMHLDigests::elements().join(QStringLiteral(", ")));
        if (!HWCChecksumKinds::make(kind.toStdString())->isAvailable())
            return QStringLiteral("--digest: %1 cannot be computed here").arg(element);
        if (!kinds.contains(kind))
            kinds.append(kind);
    }
    return {};
}

} // namespace

void add(QCommandLineParser &parser)
{
    // The generations written are those of create --format ascmhl and of verify --seal.
    parser.addOption({QStringLiteral("format"),
                      QStringLiteral("create: mhl (an MHL 1.1 list, the default) or ascmhl (an "
                                     "ASC MHL 2.0 history; --digest then takes xxh128, the "
                                     "default, xxh3, xxh64, md5, sha1, c4)."),
                      QStringLiteral("FORMAT"), QStringLiteral("mhl")});
    for (const Text &text : kTexts)
        parser.addOption({QString::fromLatin1(text.name), QString::fromLatin1(text.description),
                          QStringLiteral("TEXT")});
    parser.addOption({QStringLiteral("ignore"),
                      QStringLiteral("ASC MHL generations written: also leave out what PATTERN (a "
                                     "gitignore line; repeatable) matches."),
                      QStringLiteral("PATTERN")});
    parser.addOption({QStringLiteral("ignore-file"),
                      QStringLiteral("ASC MHL generations written: also the patterns of FILE, one "
                                     "gitignore line each."),
                      QStringLiteral("FILE")});
    parser.addOption({QStringLiteral("no-directory-hashes"),
                      QStringLiteral("ASC MHL generations written: no folder hashes.")});
    parser.addOption({QStringLiteral("seal"),
                      QStringLiteral("verify: record the check as a new generation of each ASC "
                                     "MHL history read (create --format ascmhl does so on a "
                                     "folder that has one).")});
    parser.addOption({QStringLiteral("detect-renames"),
                      QStringLiteral("verify --seal: record a new file with the content of a "
                                     "missing one as that file renamed.")});
}

bool wantsHistory(const QCommandLineParser &parser)
{
    return parser.value(QStringLiteral("format")) == QLatin1String("ascmhl");
}

QString read(const QCommandLineParser &parser, HWCActionRunner::Options &options)
{
    const QString format = parser.value(QStringLiteral("format"));
    if (format != QLatin1String("mhl") && format != QLatin1String("ascmhl"))
        return QStringLiteral("--format takes mhl or ascmhl");
    const bool seal = parser.isSet(QStringLiteral("seal"));
    if (seal && options.action != HWCActionType::Verify)
        return QStringLiteral("--seal applies to verify only");
    if (seal && parser.isSet(QStringLiteral("root")))
        return QStringLiteral("--seal records in the history beside the files; not with --root");
    const bool history = (options.action == HWCActionType::Create && wantsHistory(parser)) || seal;
    if (parser.isSet(QStringLiteral("format")) && options.action != HWCActionType::Create)
        return QStringLiteral("--format applies to create only");
    for (const Text &text : kTexts) {
        const QString name = QString::fromLatin1(text.name);
        if (parser.isSet(name) && !history)
            return QStringLiteral("--%1 applies to create --format ascmhl and verify --seal only")
                .arg(name);
        options.ascmhl.*text.field = parser.value(name);
    }
    for (const char *option : kHistoryOnly) {
        if (parser.isSet(QLatin1String(option)) && !history)
            return QStringLiteral("--%1 applies to create --format ascmhl and verify --seal only")
                .arg(QLatin1String(option));
    }
    if (!history)
        return {};
    options.seal = seal;
    options.detectRenames = parser.isSet(QStringLiteral("detect-renames"));
    if (!seal)
        options.listFormat = HWCListFormat::ASCMHL;
    options.ascmhl.directoryHashes = !parser.isSet(QStringLiteral("no-directory-hashes"));
    options.ascmhl.ignorePatterns = parser.values(QStringLiteral("ignore"));
    for (const QString &file : parser.values(QStringLiteral("ignore-file"))) {
        if (!readIgnoreFile(file, options.ascmhl.ignorePatterns))
            return QStringLiteral("--ignore-file %1 cannot be read").arg(file);
    }
    return seal ? QString() : readDigests(parser, options.digestKinds);
}

} // namespace HWCASCMHLOptions
