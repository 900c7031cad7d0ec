#pragma once

#include "engine/records/HWCVerifiedFile.h"

#include <QAbstractTableModel>
#include <QStringList>
#include <memory>

class HWCSourceOperation;

// The files of a finished operation that did not verify, in the operation's order, then
// the files that no MHL lists ("Not listed in any MHL"), with one column per display
// property: path, state, size, speed. Taken once when the model is made (a finished
// operation no longer changes), so data() never copies the records. ToolTipRole gives a
// failure's detail (HWCFileDetail), SortRole a value that sorts sizes and speeds by number.
// Main thread.
class HWCCompletedWarningsTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { PathColumn, StateColumn, SizeColumn, SpeedColumn, ColumnCount };
    static constexpr int SortRole = Qt::UserRole;

    explicit HWCCompletedWarningsTableModel(std::shared_ptr<HWCSourceOperation> operation,
                                            QObject *parent = nullptr);

    // The failed record of the row; null for a row of an unlisted file.
    const HWCVerifiedFile *file(int row) const;
    // The row's file on disk, or null when nothing is there.
    QString fullPath(int row) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    QVariant failureData(const HWCVerifiedFile &file, int column, int role) const;
    QVariant unlistedData(const QString &path, int column, int role) const;

    std::shared_ptr<HWCSourceOperation> m_operation;
    QList<HWCVerifiedFile> m_failures;
    QStringList m_unlisted;
};
