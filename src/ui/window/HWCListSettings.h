#pragma once

#include "engine/operations/HWCOperationParameters.h"

#include <QObject>
#include <memory>

class QAction;
class QActionGroup;
class QMenu;

// The settings of what the window writes, kept between starts (QSettings): the format of a
// new list (MHL 1.1 or ASC MHL 2.0, with the digest kinds of a history) and whether a
// verification of a history is recorded in it ("Record this verification in the card's
// history"). Its menu changes them. Main thread.
class HWCListSettings : public QObject {
    Q_OBJECT

public:
    explicit HWCListSettings(QObject *parent = nullptr);
    ~HWCListSettings() override;

    // The submenu that shows and changes the settings.
    QMenu *menu() const { return m_menu.get(); }

    // base with the settings applied.
    HWCOperationParameters parameters(HWCOperationParameters base = {}) const;

Q_SIGNALS:
    void changed();

private:
    void addFormatActions();
    void addDigestActions();
    void save();

    std::unique_ptr<QMenu> m_menu;
    QActionGroup *m_format;
    QActionGroup *m_digests;
    QAction *m_seal;
};
