#pragma once

#include "engine/records/HWCVerifiedFile.h"

#include <QAbstractTableModel>
#include <memory>

class HWCSourceOperation;

// The records of a finished operation whose file state is not "read successfully", in the
// operation's order, with one column per display property: path, state, size, speed. The
// list is asked of the operation afresh on every call. Main thread.
class HWCCompletedWarningsTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { PathColumn, StateColumn, SizeColumn, SpeedColumn, ColumnCount };

    explicit HWCCompletedWarningsTableModel(std::shared_ptr<HWCSourceOperation> operation,
                                            QObject *parent = nullptr);

    QList<HWCVerifiedFile> warnings() const;

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    std::shared_ptr<HWCSourceOperation> m_operation;
};
