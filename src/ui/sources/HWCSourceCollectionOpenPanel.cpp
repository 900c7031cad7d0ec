#include "ui/sources/HWCSourceCollectionOpenPanel.h"

#include "engine/mhl/HWCMediaHashList.h"

#include <QFileInfo>
#include <QStandardPaths>

HWCSourceCollectionOpenPanel::HWCSourceCollectionOpenPanel(QWidget *parent) : QFileDialog(parent)
{
    setWindowModality(Qt::WindowModal);
    // The platform dialogs choose either folders or files; Qt's own can do both at once.
    setOption(QFileDialog::DontUseNativeDialog);
    setFileMode(QFileDialog::ExistingFile);
    setNameFilter(tr("Media Hash Lists (*.%1)").arg(HWCMediaHashList::extension()));
    setSizeGripEnabled(true);
    setFilter(filter() & ~QDir::Hidden);
    setDirectory(startFolder());
    setWindowTitle(tr("Choose a Disk, Folder or MHL File"));
    setLabelText(QFileDialog::Accept, tr("Choose"));
}

QString HWCSourceCollectionOpenPanel::startFolder()
{
    // Cards are mounted here by the desktop; a user who has one wants it first.
    const QString user = qEnvironmentVariable("USER");
    for (const QString &media : {QStringLiteral("/media/"), QStringLiteral("/run/media/")}) {
        const QDir volumes(media + user);
        if (!user.isEmpty() && volumes.exists() &&
            !volumes.entryList(QDir::Dirs | QDir::NoDotAndDotDot).isEmpty())
            return volumes.path();
    }
    // Not every desktop makes a Documents folder; home is the next best start.
    const QStringList documents =
        QStandardPaths::standardLocations(QStandardPaths::DocumentsLocation);
    const bool hasDocuments = !documents.isEmpty() && QFileInfo(documents.last()).isDir();
    return hasDocuments ? documents.last() : QDir::homePath();
}

QString HWCSourceCollectionOpenPanel::chosenPath() const
{
    return m_chosenFolder.isEmpty() ? selectedFiles().value(0) : m_chosenFolder;
}

void HWCSourceCollectionOpenPanel::accept()
{
    const QStringList selected = selectedFiles();
    // The file dialog would enter a selected folder; here the folder is the answer.
    if (selected.size() == 1 && QFileInfo(selected.first()).isDir()) {
        m_chosenFolder = selected.first();
        QDialog::accept();
        return;
    }
    QFileDialog::accept();
}
