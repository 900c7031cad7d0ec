#pragma once

#include "engine/records/HWCTypes.h"

#include <QString>
#include <optional>

// The outcome for one file of a verification or creation. Immutable once made.
class HWCVerifiedFile {
public:
    // What the record of a listed file knows of the digest it was checked with and of the
    // size the list states; each part is empty when not known.
    struct Detail {
        QString digestKind; // the digest's element name in the list
        QString expected;   // the digest the list holds
        QString actual;     // the digest computed; empty when the file was not read through
        std::optional<quint64> expectedSize;
        QString reason; // why the file could not be opened or read, in words; empty if unknown
    };

    HWCVerifiedFile(const QString &sourcePath, const QString &rootPath, const QString &relativePath,
                    HWCFileState state, quint64 bytes, quint64 time, Detail detail = {});

    QString sourcePath() const { return m_sourcePath; }
    QString rootPath() const { return m_rootPath; }
    QString relativePath() const { return m_relativePath; }
    HWCFileState verifiedFileState() const { return m_state; }
    quint64 bytes() const { return m_bytes; }
    quint64 time() const { return m_time; } // nanoseconds
    const Detail &detail() const { return m_detail; }

    QString path() const;     // rootPath joined with relativePath
    QString fullPath() const; // source, root and relative path; null when nothing is there
    QString speed() const;    // "<size>/sec"; null when bytes or time is 0
    QString size() const;
    QString state() const;
    QString description() const;

private:
    QString m_sourcePath;
    QString m_rootPath;
    QString m_relativePath;
    HWCFileState m_state;
    quint64 m_bytes;
    quint64 m_time;
    Detail m_detail;
};
