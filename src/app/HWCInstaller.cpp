#include "app/HWCInstaller.h"

#include "HWCBuildInfo.h"
#include "engine/session/HWCLog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSaveFile>
#include <QStandardPaths>

namespace {

QString homeRelative(const char *variable, const QString &fallback)
{
    const QString value = qEnvironmentVariable(variable);
    return QDir::isAbsolutePath(value) ? value : QDir::homePath() + fallback;
}

// Writes contents to path through a temporary file, so that a running copy of the target
// is replaced, never overwritten in place.
bool writeFile(const QString &path, const QByteArray &contents, QFileDevice::Permissions mode,
               QString *error)
{
    QDir().mkpath(QFileInfo(path).path());
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size() &&
        file.setPermissions(mode) && file.commit())
        return true;
    *error = QStringLiteral("%1: %2").arg(path, file.errorString());
    return false;
}

QByteArray readFile(const QString &path, QString *error)
{
    QFile file(path);
    if (file.open(QIODevice::ReadOnly))
        return file.readAll();
    *error = QStringLiteral("%1: %2").arg(path, file.errorString());
    return {};
}

// The packaged entry runs "hashwarden" from the PATH; ~/.local/bin may not be on it.
QByteArray desktopEntry(const QByteArray &packaged, const QString &executable)
{
    QByteArray quoted = QFile::encodeName(executable);
    if (quoted.contains(' '))
        quoted = '"' + quoted + '"';
    QList<QByteArray> lines = packaged.split('\n');
    for (QByteArray &line : lines) {
        if (line.startsWith("Exec=hashwarden"))
            line = "Exec=" + quoted + line.mid(int(qstrlen("Exec=hashwarden")));
        else if (line.startsWith("TryExec="))
            line = "TryExec=" + QFile::encodeName(executable);
    }
    return lines.join('\n');
}

// Sets the default application of the MHL type in mimeapps.list, keeping every other line.
QByteArray withDefaultApplication(const QByteArray &existing)
{
    const QByteArray entry =
        QByteArray(HWCInstaller::kMimeType) + '=' + HWCInstaller::kDesktopFileName;
    const QByteArray section = "[Default Applications]";
    QList<QByteArray> lines = existing.split('\n');
    while (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    qsizetype at = lines.indexOf(section);
    if (at < 0) {
        lines << section;
        at = lines.size() - 1;
    }
    qsizetype end = at + 1;
    while (end < lines.size() && !lines[end].startsWith('['))
        ++end;
    for (qsizetype i = at + 1; i < end; ++i) {
        if (lines[i].startsWith(QByteArray(HWCInstaller::kMimeType) + '=')) {
            lines[i] = entry;
            return lines.join('\n') + '\n';
        }
    }
    lines.insert(end, entry);
    return lines.join('\n') + '\n';
}

struct Copy {
    QString from;
    QString to;
};

QList<Copy> packagedFiles()
{
    const QString data = HWCInstaller::dataHome();
    const QString hicolor = data + QStringLiteral("/icons/hicolor");
    QList<Copy> files{
        {QStringLiteral(":/desktop/hashwarden.svg"),
         hicolor + QStringLiteral("/scalable/apps/hashwarden.svg")},
        {QStringLiteral(":/desktop/hashwarden-mime.xml"),
         data + QStringLiteral("/mime/packages/hashwarden.xml")},
        {QStringLiteral(":/desktop/acknowledgments.html"),
         data + QStringLiteral("/hashwarden/acknowledgments.html")},
    };
    for (const int size : HWCInstaller::kIconSizes)
        files.append({QStringLiteral(":/icons/hashwarden-%1.png").arg(size),
                      QStringLiteral("%1/%2x%2/apps/hashwarden.png").arg(hicolor).arg(size)});
    return files;
}

void runIfPresent(const QString &tool, const QStringList &arguments)
{
    const QString path = QStandardPaths::findExecutable(tool);
    if (path.isEmpty())
        return;
    if (QProcess::execute(path, arguments) != 0)
        HWCLogWarning(QStringLiteral("%1 %2 failed").arg(tool, arguments.join(QLatin1Char(' '))));
}

} // namespace

namespace HWCInstaller {

QString dataHome()
{
    return homeRelative("XDG_DATA_HOME", QStringLiteral("/.local/share"));
}

QString configHome()
{
    return homeRelative("XDG_CONFIG_HOME", QStringLiteral("/.config"));
}

QString installedExecutablePath()
{
    return QDir::homePath() + QStringLiteral("/.local/bin/hashwarden");
}

QString installedWindowLibraryPath()
{
    return QDir::cleanPath(QFileInfo(installedExecutablePath()).path() + QLatin1Char('/') +
                           QLatin1String(HWCBuildInfo::kWindowLibraryFolder) + QLatin1Char('/') +
                           QLatin1String(HWCBuildInfo::kWindowLibraryName));
}

bool isInstalled(const QString &executable)
{
    const QString path = QFileInfo(executable).canonicalFilePath();
    for (const char *prefix : {"/usr/", "/opt/"}) {
        if (QFileInfo(executable).absoluteFilePath().startsWith(QLatin1String(prefix)))
            return true;
    }
    // Canonical paths are empty for files that do not exist: never equal then.
    return (!path.isEmpty() && path == QFileInfo(installedExecutablePath()).canonicalFilePath()) ||
           QFileInfo::exists(dataHome() + QStringLiteral("/applications/") + kDesktopFileName);
}

QStringList install(const QString &executable, const QString &windowLibrary, QString *error)
{
    const QString target = installedExecutablePath();
    const QFileDevice::Permissions readable = QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                              QFileDevice::ReadGroup | QFileDevice::ReadOther;
    const QFileDevice::Permissions runnable =
        readable | QFileDevice::ExeOwner | QFileDevice::ExeGroup | QFileDevice::ExeOther;
    QStringList written;
    const QByteArray program = readFile(executable, error);
    if (program.isEmpty() || !writeFile(target, program, runnable, error))
        return {};
    written << target;
    const QByteArray window = readFile(windowLibrary, error);
    if (window.isEmpty() || !writeFile(installedWindowLibraryPath(), window, readable, error))
        return {};
    written << installedWindowLibraryPath();
    const QString entry = dataHome() + QStringLiteral("/applications/") + kDesktopFileName;
    const QByteArray packagedEntry =
        readFile(QStringLiteral(":/desktop/hashwarden.desktop"), error);
    if (!writeFile(entry, desktopEntry(packagedEntry, target), readable, error))
        return {};
    written << entry;
    for (const Copy &copy : packagedFiles()) {
        const QByteArray contents = readFile(copy.from, error);
        if (contents.isEmpty() || !writeFile(copy.to, contents, readable, error))
            return {};
        written << copy.to;
    }
    const QString defaults = configHome() + QStringLiteral("/mimeapps.list");
    QFile existing(defaults);
    const QByteArray current =
        existing.open(QIODevice::ReadOnly) ? existing.readAll() : QByteArray();
    if (!writeFile(defaults, withDefaultApplication(current), readable, error))
        return {};
    written << defaults;
    return written;
}

void updateDesktopDatabases()
{
    runIfPresent(QStringLiteral("update-mime-database"), {dataHome() + QStringLiteral("/mime")});
    runIfPresent(QStringLiteral("update-desktop-database"),
                 {dataHome() + QStringLiteral("/applications")});
    runIfPresent(QStringLiteral("gtk-update-icon-cache"),
                 {QStringLiteral("-q"), QStringLiteral("-t"), QStringLiteral("-f"),
                  dataHome() + QStringLiteral("/icons/hicolor")});
}

} // namespace HWCInstaller
