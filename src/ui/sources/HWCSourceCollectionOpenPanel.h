#pragma once

#include <QFileDialog>

// The open panel of the source collection: one dialog that chooses a folder or an MHL file
// alike, starting where the desktop mounts volumes when one is mounted (startFolder()),
// hidden files not shown, folders can be made. Double-clicking a folder enters it; Open with a
// folder selected chooses it. Opened window-modal with open(). Main thread.
class HWCSourceCollectionOpenPanel : public QFileDialog {
    Q_OBJECT

public:
    explicit HWCSourceCollectionOpenPanel(QWidget *parent = nullptr);

    // /media/$USER or /run/media/$USER when a volume is mounted there, else the user's
    // Documents folder, else home.
    static QString startFolder();

    // The chosen folder or file once the panel was accepted.
    QString chosenPath() const;

public Q_SLOTS:
    void accept() override;

private:
    QString m_chosenFolder;
};
