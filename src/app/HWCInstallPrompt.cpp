#include "app/HWCInstallPrompt.h"

#include "app/HWCInstaller.h"

#include <QCheckBox>
#include <QDir>
#include <QGuiApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>

namespace HWCInstallPrompt {

bool isInteractive()
{
    const QString platform = QGuiApplication::platformName();
    return platform != QLatin1String("offscreen") && platform != QLatin1String("minimal");
}

QString reasonNotToOffer(const QSettings &settings, const QString &executable, bool interactive)
{
    if (!interactive)
        return QStringLiteral("nobody to ask on the %1 platform")
            .arg(QGuiApplication::platformName());
    if (settings.value(QLatin1String(kSuppressKey), false).toBool())
        return QStringLiteral("the user asked not to be asked again");
    if (HWCInstaller::isInstalled(executable))
        return QStringLiteral("installed already");
    return {};
}

std::unique_ptr<QMessageBox> makeMessageBox()
{
    auto box = std::make_unique<QMessageBox>();
    box->setIcon(QMessageBox::Question);
    box->setWindowTitle(QCoreApplication::translate("Hashwarden", "Hashwarden"));
    box->setText(QCoreApplication::translate("Hashwarden", "Install Hashwarden for this user?"));
    box->setInformativeText(
        QCoreApplication::translate(
            "Hashwarden",
            "Hashwarden will be copied to %1, appear among your applications and open "
            "MHL files from the file manager. This copy stays where it is.")
            .arg(QDir::toNativeSeparators(HWCInstaller::installedExecutablePath())
                     .replace(QDir::homePath(), QStringLiteral("~"))));
    QPushButton *install = box->addButton(QCoreApplication::translate("Hashwarden", "Install"),
                                          QMessageBox::AcceptRole);
    box->addButton(QCoreApplication::translate("Hashwarden", "Not Now"), QMessageBox::RejectRole);
    box->setDefaultButton(install);
    box->setCheckBox(new QCheckBox(QCoreApplication::translate("Hashwarden", "Don't ask again")));
    return box;
}

bool ask(QSettings &settings)
{
    const std::unique_ptr<QMessageBox> box = makeMessageBox();
    box->exec();
    if (box->checkBox()->isChecked())
        settings.setValue(QLatin1String(kSuppressKey), true);
    return box->buttonRole(box->clickedButton()) == QMessageBox::AcceptRole;
}

} // namespace HWCInstallPrompt
