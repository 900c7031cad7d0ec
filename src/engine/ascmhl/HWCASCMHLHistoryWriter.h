#pragma once

#include "engine/files/HWCFileDescriptor.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <memory>
#include <pugixml.hpp>

// Appends generations to one ASC MHL history, the `ascmhl` folder of a root, and makes that
// folder when there is none. From open() to its end it holds an exclusive lock on the
// folder, so that two runs cannot give two generations one number. A generation is written
// whole (temporary file, synced, renamed; never over a file already there) before the chain
// names it, and a chain that cannot be written takes its generation back: the chain never
// names a manifest that is not complete on disk. One thread at a time.
class HWCASCMHLHistoryWriter {
public:
    explicit HWCASCMHLHistoryWriter(const QString &root);
    // Removes the `ascmhl` folder it made if no generation went into it.
    ~HWCASCMHLHistoryWriter();

    // Takes the lock and reads the chain. False, with error() saying why, when the history
    // cannot take a generation: the folder cannot be made or locked, another run holds it,
    // or the history is damaged (HWCASCMHLHistory::problem() or a manifest that fails its
    // check).
    bool open();

    // Whether the root held a history before open() (not one it made).
    bool existed() const { return m_existed; }

    // Writes manifest as the next generation, named for its root and created (UTC). False,
    // with error() saying why, when it or the chain cannot be written; nothing is left then.
    bool append(const QByteArray &manifest, const QDateTime &created);

    // The generation written last; null before.
    QString path() const { return m_path; }
    // "<path>: <reason>" of the last failure; null when there was none.
    QString error() const { return m_error; }
    // The generation is complete, but its folder could not be synced: why.
    QString syncError() const { return m_syncError; }

private:
    bool fail(const QString &path, const QString &reason);
    bool readChain();
    bool checkHistory();

    QString m_root;
    QString m_folder;
    QString m_chainPath;
    std::unique_ptr<HWCFileDescriptor> m_lock; // held from open() on
    bool m_existed = false;
    bool m_madeFolder = false;
    int m_sequence = 1;
    std::unique_ptr<pugi::xml_document> m_chain;
    QString m_path;
    QString m_error;
    QString m_syncError;
};
