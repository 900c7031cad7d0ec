#include "ui/operations/HWCCompletedWarningsTableModel.h"

#include "engine/operations/HWCSourceOperation.h"

#include <QCoreApplication>

HWCCompletedWarningsTableModel::HWCCompletedWarningsTableModel(
    std::shared_ptr<HWCSourceOperation> operation, QObject *parent)
    : QAbstractTableModel(parent), m_operation(std::move(operation))
{
}

QList<HWCVerifiedFile> HWCCompletedWarningsTableModel::warnings() const
{
    return m_operation->filesWithState(HWCFileState::ReadSuccessfully, true);
}

int HWCCompletedWarningsTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(warnings().size());
}

int HWCCompletedWarningsTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant HWCCompletedWarningsTableModel::data(const QModelIndex &index, int role) const
{
    if (role != Qt::DisplayRole && role != Qt::AccessibleTextRole)
        return {};
    const QList<HWCVerifiedFile> records = warnings();
    if (!index.isValid() || index.row() >= records.size())
        return {};
    const HWCVerifiedFile &record = records[index.row()];
    switch (index.column()) {
    case PathColumn:
        return record.path();
    case StateColumn:
        return record.state();
    case SizeColumn:
        return record.size();
    case SpeedColumn:
        return record.speed();
    default:
        return {};
    }
}

QVariant HWCCompletedWarningsTableModel::headerData(int section, Qt::Orientation orientation,
                                                    int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    static const char *const titles[ColumnCount] = {"File", "State", "Size", "Speed"};
    if (section < 0 || section >= ColumnCount)
        return {};
    return QCoreApplication::translate("Hashwarden", titles[section]);
}
