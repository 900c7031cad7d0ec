#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// Installs the running executable for this user the way the desktop expects an application:
// the executable in ~/.local/bin with the window's library where it looks for it, the desktop
// entry, the icon at every size, the MHL file
// type and Hashwarden as its default application. The copy it ran from is never removed.
// XDG_DATA_HOME and XDG_CONFIG_HOME are honoured. Main thread.
namespace HWCInstaller {

// The sizes of the PNG icons, besides the scalable SVG.
inline const QList<int> kIconSizes{16, 24, 32, 48, 64, 128, 256, 512};
inline constexpr char kMimeType[] = "application/x-mhl";
inline constexpr char kDesktopFileName[] = "hashwarden.desktop";

QString dataHome();                // $XDG_DATA_HOME, or ~/.local/share
QString configHome();              // $XDG_CONFIG_HOME, or ~/.config
QString installedExecutablePath(); // ~/.local/bin/hashwarden
// The window's library of the installed executable, in the lib folder beside ~/.local/bin.
QString installedWindowLibraryPath();

// True under a system prefix (/usr, /opt), for the user's installed copy, and whenever a
// desktop entry is registered for this user already.
bool isInstalled(const QString &executable);

// Writes every file, the executable and the window's library among them, and returns their
// paths; on the first failure stops and returns an empty list with the reason in *error.
QStringList install(const QString &executable, const QString &windowLibrary, QString *error);

// Refreshes the desktop's MIME, application and icon caches with whichever of the tools is
// present; without them the desktop finds the files on its next scan.
void updateDesktopDatabases();

} // namespace HWCInstaller
