#pragma once

#include "engine/records/HWCTypes.h"

#include <QByteArray>
#include <QString>
#include <array>
#include <memory>
#include <optional>
#include <vector>

class HWCChecksumEntry;

// The outcome for one file of a verification or creation. Immutable once made; copies share
// what they hold, so that a million records of one list stay small: a record of a listed
// file names its entry instead of copying its path and digests, and the source and root
// paths belong to the list. Any thread may read a record.
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
    // Detail in UTF-8, each part null where Detail's is.
    struct DetailUtf8 {
        QByteArray digestKind;
        QByteArray expected;
        QByteArray actual;
        std::optional<quint64> expectedSize;
        QByteArray reason;
    };

    // What the records of one list share. entries, when set, is the list's: its records
    // keep it alive, so that they stay right after the list is gone.
    struct Origin {
        QString sourcePath;
        QString rootPath;
        std::shared_ptr<const std::vector<HWCChecksumEntry>> entries;
    };

    // What checking a listed file found besides its state. digestKind is the static name of
    // the kind it was checked with (HWCChecksumKinds), null when it was not checked.
    struct Finding {
        const char *digestKind; // null in Finding{}
        QString actual;
        QString reason;
    };

    // A record that holds its own paths and detail.
    HWCVerifiedFile(const QString &sourcePath, const QString &rootPath, const QString &relativePath,
                    HWCFileState state, quint64 bytes, quint64 time, Detail detail = {});
    // The record of the entry at index entry of origin's entries: its path, expected digest
    // and listed size are read from the entry.
    HWCVerifiedFile(std::shared_ptr<const Origin> origin, quint32 entry, HWCFileState state,
                    quint64 bytes, quint64 time, Finding finding = {});

    QString sourcePath() const { return m_origin->sourcePath; }
    QString rootPath() const { return m_origin->rootPath; }
    QString relativePath() const;
    HWCFileState verifiedFileState() const { return m_state; }
    quint64 bytes() const { return m_bytes; }
    quint64 time() const { return m_time; } // nanoseconds
    Detail detail() const;
    // relativePath() and detail() as their toUtf8() gives them, for writing a great many
    // records: what the list entry holds is not copied but referred to
    // (QByteArray::fromRawData), so the bytes are valid while this record lives.
    QByteArray relativePathUtf8() const;
    DetailUtf8 detailUtf8() const;

    QString path() const;     // rootPath joined with relativePath
    QString fullPath() const; // source, root and relative path; null when nothing is there
    QString speed() const;    // "<size>/sec"; null when bytes or time is 0
    QString size() const;
    QString state() const;
    QString description() const;

private:
    // What a record holds beyond its list entry: all of it for a record of no entry, else
    // only a reason or a computed digest that is not short hexadecimal.
    struct Own {
        QString relativePath;
        Detail detail;
    };
    const HWCChecksumEntry *entry() const;
    // Keeps actual as bytes when it is lowercase hexadecimal that fits, else in own.
    void keepActual(const QString &actual, Detail &own);

    std::shared_ptr<const Origin> m_origin;
    std::shared_ptr<const Own> m_own; // null when the entry and the fields below tell all
    quint64 m_bytes;
    quint64 m_time;
    const char *m_digestKind = nullptr;
    quint32 m_entry = 0;
    HWCFileState m_state;
    quint8 m_actualLength = 0;         // bytes of m_actual in use
    std::array<quint8, 20> m_actual{}; // the computed digest, when hexadecimal (SHA-1 at most)
};
