#pragma once

#include "engine/history/HWCHistoryEntry.h"

#include <QAbstractTableModel>
#include <QList>

// The runs of the history as the History screen lists them, newest first: when it ended,
// outcome (coloured by how it went), card, source, files and size. Main thread.
class HWCHistoryTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { Ended, Outcome, Card, Source, Files, Size, ColumnCount };

    explicit HWCHistoryTableModel(QObject *parent = nullptr);

    void setEntries(QList<HWCHistoryEntry> entries);
    const HWCHistoryEntry &entry(int row) const { return m_entries.at(row); }

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    QList<HWCHistoryEntry> m_entries;
};
