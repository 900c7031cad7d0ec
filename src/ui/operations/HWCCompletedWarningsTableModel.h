#pragma once

#include "engine/records/HWCVerifiedFile.h"

#include <QAbstractItemModel>
#include <QStringList>
#include <memory>

class HWCSourceOperation;

// The files of a finished operation that did not verify, in the operation's order, then
// the files that no MHL lists ("Not listed in any MHL"), with one column per display
// property: path, state, size, speed. Each failure holds one child row, its detail
// (HWCFileDetail) in the first column, which a view opens in place. Taken once when the
// model is made (a finished operation no longer changes), so data() never copies the
// records. ToolTipRole gives a failure's detail, SortRole a value that sorts sizes and speeds
// by number, FilterRole the path, for a detail its file's. Main thread.
class HWCCompletedWarningsTableModel : public QAbstractItemModel {
    Q_OBJECT

public:
    enum Column { PathColumn, StateColumn, SizeColumn, SpeedColumn, ColumnCount };
    static constexpr int SortRole = Qt::UserRole;
    static constexpr int FilterRole = Qt::UserRole + 1;

    explicit HWCCompletedWarningsTableModel(std::shared_ptr<HWCSourceOperation> operation,
                                            QObject *parent = nullptr);

    // The failed record of the row; null for a row of an unlisted file.
    const HWCVerifiedFile *file(int row) const;
    // The row's file on disk, or null when nothing is there.
    QString fullPath(int row) const;

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &child) const override;
    // A detail row can be neither selected nor current: it belongs to the row above it.
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    QVariant failureData(const HWCVerifiedFile &file, int column, int role) const;
    QVariant detailData(const HWCVerifiedFile &file, int column, int role) const;
    QVariant unlistedData(const QString &path, int column, int role) const;

    std::shared_ptr<HWCSourceOperation> m_operation;
    QList<HWCVerifiedFile> m_failures;
    QStringList m_unlisted;
};
