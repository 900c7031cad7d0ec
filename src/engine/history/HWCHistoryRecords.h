#pragma once

#include "engine/records/HWCTypes.h"
#include "engine/records/HWCVerifiedFile.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <initializer_list>
#include <iterator>

// One record of a run: a file with its state, bytes read and what its list said.
struct HWCHistoryFile {
    QString path; // relative to the source, without a leading "/"
    HWCFileState state = HWCFileState::ReadSuccessfully;
    quint64 bytes = 0;
    HWCVerifiedFile::Detail detail;
};

// A record as the history stores it: HWCHistoryFile with its texts in UTF-8.
struct HWCHistoryFileUtf8 {
    QByteArray path;
    HWCFileState state = HWCFileState::ReadSuccessfully;
    quint64 bytes = 0;
    HWCVerifiedFile::DetailUtf8 detail;
};

// The records a history entry keeps: those read back from the history, or a finished
// operation's, which it shares instead of copying and makes into HWCHistoryFile one at a
// time as they are read, so that a run of a million files is not held twice. Operation
// records come first, then those appended. A value; any thread.
class HWCHistoryRecords {
public:
    class const_iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = HWCHistoryFile;
        using difference_type = qsizetype;
        using pointer = void;
        using reference = HWCHistoryFile;

        const_iterator() = default;
        const_iterator(const HWCHistoryRecords *records, qsizetype index)
            : m_records(records), m_index(index)
        {
        }
        HWCHistoryFile operator*() const { return (*m_records)[m_index]; }
        const_iterator &operator++()
        {
            ++m_index;
            return *this;
        }
        const_iterator operator++(int)
        {
            const const_iterator before = *this;
            ++m_index;
            return before;
        }
        bool operator==(const const_iterator &other) const = default;

    private:
        const HWCHistoryRecords *m_records = nullptr;
        qsizetype m_index = 0;
    };

    HWCHistoryRecords() = default;
    HWCHistoryRecords(std::initializer_list<HWCHistoryFile> files) : m_stored(files) {}
    // files' records, or only those not read successfully when failuresOnly.
    HWCHistoryRecords(const QList<HWCVerifiedFile> &files, bool failuresOnly);

    void append(const HWCHistoryFile &file) { m_stored.append(file); }

    qsizetype size() const { return operationCount() + m_stored.size(); }
    bool isEmpty() const { return size() == 0; }
    HWCHistoryFile operator[](qsizetype index) const;
    // The record at index in UTF-8, for storing: what an operation's list holds is referred
    // to rather than copied, so it is valid while these records live.
    HWCHistoryFileUtf8 utf8At(qsizetype index) const;
    HWCHistoryFile first() const { return (*this)[0]; }
    // The state of the record at index, without making the record.
    HWCFileState stateAt(qsizetype index) const;

    const_iterator begin() const { return {this, 0}; }
    const_iterator end() const { return {this, size()}; }

private:
    qsizetype operationCount() const { return m_filtered ? m_chosen.size() : m_files.size(); }
    const HWCVerifiedFile &operationFile(qsizetype index) const
    {
        return m_files[m_filtered ? qsizetype(m_chosen[index]) : index];
    }

    QList<HWCVerifiedFile> m_files; // shared with the operation
    bool m_filtered = false;
    QList<quint32> m_chosen; // when filtered: the indexes in m_files of the records kept
    QList<HWCHistoryFile> m_stored;
};
