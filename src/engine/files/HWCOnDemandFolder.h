#pragma once

#include <QByteArray>
#include <memory>
#include <mutex>

class HWCConfinedFolder;

// The confined folder that an operation's reads stay beneath, opened when a read asks for
// it and no one holds it, so that it is open only while files are read (an open folder
// keeps its medium from being unmounted). Any thread.
class HWCOnDemandFolder {
public:
    // path: file-system bytes, as HWCConfinedFolder takes them.
    explicit HWCOnDemandFolder(QByteArray path) : m_path(std::move(path)) {}

    const QByteArray &path() const { return m_path; }

    // The folder, opened now unless a holder keeps it open.
    std::shared_ptr<const HWCConfinedFolder> get() const;

private:
    QByteArray m_path;
    mutable std::mutex m_mutex;
    mutable std::weak_ptr<const HWCConfinedFolder> m_folder;
};
