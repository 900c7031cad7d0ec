#include "ui/window/HWCListSettings.h"

#include "engine/ascmhl/HWCASCMHLDigests.h"

#include <QActionGroup>
#include <QMenu>
#include <QSettings>

namespace {

const QString kSettingsName = QStringLiteral("Hashwarden");
const QString kFormatKey = QStringLiteral("NewListFormat");
const QString kDigestsKey = QStringLiteral("NewHistoryDigests");
const QString kSealKey = QStringLiteral("RecordVerificationInHistory");
const QString kHistoryFormat = QStringLiteral("ascmhl");

QSettings settings()
{
    return QSettings(kSettingsName, kSettingsName);
}

} // namespace

HWCListSettings::HWCListSettings(QObject *parent)
    : QObject(parent), m_menu(std::make_unique<QMenu>(tr("New lists"))),
      m_format(new QActionGroup(this)), m_digests(new QActionGroup(this))
{
    m_menu->setAccessibleName(tr("New lists"));
    addFormatActions();
    addDigestActions();
    m_menu->addSeparator();
    m_seal = m_menu->addAction(tr("Record this verification in the card's history"));
    m_seal->setCheckable(true);
    m_seal->setChecked(settings().value(kSealKey, false).toBool());
    connect(m_seal, &QAction::toggled, this, &HWCListSettings::save);
}

HWCListSettings::~HWCListSettings() = default;

void HWCListSettings::addFormatActions()
{
    const QString chosen = settings().value(kFormatKey).toString();
    for (const auto &[name, text] : {std::pair{QStringLiteral("mhl"), tr("MHL 1.1")},
                                     std::pair{kHistoryFormat, tr("ASC MHL 2.0")}}) {
        QAction *action = m_menu->addAction(text);
        action->setData(name);
        action->setCheckable(true);
        action->setChecked(name == chosen || (chosen.isEmpty() && name != kHistoryFormat));
        m_format->addAction(action);
    }
    connect(m_format, &QActionGroup::triggered, this, &HWCListSettings::save);
}

void HWCListSettings::addDigestActions()
{
    QMenu *kinds = m_menu->addMenu(tr("ASC MHL digests"));
    m_digests->setExclusionPolicy(QActionGroup::ExclusionPolicy::None);
    const QStringList chosen =
        settings().value(kDigestsKey, QStringList{QStringLiteral("xxh128")}).toStringList();
    for (const QString &element : HWCASCMHLDigests::elements()) {
        QAction *action = kinds->addAction(element);
        action->setData(element);
        action->setCheckable(true);
        action->setChecked(chosen.contains(element));
        m_digests->addAction(action);
    }
    connect(m_digests, &QActionGroup::triggered, this, &HWCListSettings::save);
}

void HWCListSettings::save()
{
    QStringList digests;
    for (const QAction *action : m_digests->actions()) {
        if (action->isChecked())
            digests.append(action->data().toString());
    }
    QSettings stored = settings();
    stored.setValue(kFormatKey, m_format->checkedAction()->data());
    stored.setValue(kDigestsKey, digests);
    stored.setValue(kSealKey, m_seal->isChecked());
    Q_EMIT changed();
}

HWCOperationParameters HWCListSettings::parameters(HWCOperationParameters base) const
{
    if (m_format->checkedAction()->data().toString() == kHistoryFormat) {
        base.listFormat = HWCListFormat::ASCMHL;
        base.digestKinds.clear();
        for (const QAction *action : m_digests->actions()) {
            if (action->isChecked())
                base.digestKinds.append(
                    HWCASCMHLDigests::kindForElement(action->data().toString()));
        }
    }
    base.seal = m_seal->isChecked();
    // New files are recorded only where they are looked for.
    base.searchUnlistedFiles = base.searchUnlistedFiles || base.seal;
    return base;
}
