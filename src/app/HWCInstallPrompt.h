#pragma once

#include <QString>
#include <memory>

class QMessageBox;
class QSettings;

// At start-up, offers to install a copy that runs from where it was built or unpacked.
// "Don't ask again" is kept under kSuppressKey. Never shown under the offscreen or minimal
// platform (tests, screenshots), and never when the setting says so. Main thread.
namespace HWCInstallPrompt {

inline constexpr char kSuppressKey[] = "moveToApplicationsFolderAlertSuppress";

// Whether the windowing platform has a person in front of it.
bool isInteractive();

// Why not to ask, given the settings, the running executable and isInteractive(); empty
// when the offer is to be made.
QString reasonNotToOffer(const QSettings &settings, const QString &executable, bool interactive);

// The question, built and not shown: "Install" and "Not Now" buttons and a "Don't ask
// again" check box.
std::unique_ptr<QMessageBox> makeMessageBox();

// Asks, storing "Don't ask again" when it is checked. True when the user chose to install.
bool ask(QSettings &settings);

} // namespace HWCInstallPrompt
