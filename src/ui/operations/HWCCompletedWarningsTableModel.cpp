#include "ui/operations/HWCCompletedWarningsTableModel.h"

#include "engine/files/HWCPathAdditions.h"
#include "engine/operations/HWCSourceOperation.h"
#include "engine/records/HWCOperationInfo.h"
#include "ui/operations/HWCFileDetail.h"

#include <QCoreApplication>
#include <QFileInfo>

HWCCompletedWarningsTableModel::HWCCompletedWarningsTableModel(
    std::shared_ptr<HWCSourceOperation> operation, QObject *parent)
    : QAbstractItemModel(parent), m_operation(std::move(operation)),
      m_failures(m_operation->filesWithState(HWCFileState::ReadSuccessfully, true)),
      m_unlisted(m_operation->unlistedFiles())
{
}

const HWCVerifiedFile *HWCCompletedWarningsTableModel::file(int row) const
{
    return row >= 0 && row < m_failures.size() ? &m_failures[row] : nullptr;
}

QString HWCCompletedWarningsTableModel::fullPath(int row) const
{
    if (const HWCVerifiedFile *failure = file(row))
        return failure->fullPath();
    const QString path = hwc_appendingPathComponent(m_operation->info()->path(),
                                                    m_unlisted.value(row - int(m_failures.size())));
    return QFileInfo::exists(path) ? path : QString();
}

// A detail row's internal id is its failure's row plus one; a file's row has 0.
QModelIndex HWCCompletedWarningsTableModel::index(int row, int column,
                                                  const QModelIndex &parent) const
{
    if (row < 0 || column < 0 || row >= rowCount(parent) || column >= ColumnCount)
        return {};
    return createIndex(row, column, parent.isValid() ? quintptr(parent.row()) + 1 : 0);
}

QModelIndex HWCCompletedWarningsTableModel::parent(const QModelIndex &child) const
{
    if (!child.isValid() || child.internalId() == 0)
        return {};
    return createIndex(int(child.internalId() - 1), PathColumn, quintptr(0));
}

Qt::ItemFlags HWCCompletedWarningsTableModel::flags(const QModelIndex &index) const
{
    if (index.parent().isValid())
        return Qt::NoItemFlags;
    return QAbstractItemModel::flags(index);
}

int HWCCompletedWarningsTableModel::rowCount(const QModelIndex &parent) const
{
    if (!parent.isValid())
        return int(m_failures.size() + m_unlisted.size());
    const bool failure =
        parent.internalId() == 0 && parent.column() == PathColumn && file(parent.row()) != nullptr;
    return failure ? 1 : 0;
}

int HWCCompletedWarningsTableModel::columnCount(const QModelIndex &) const
{
    return ColumnCount;
}

QVariant HWCCompletedWarningsTableModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    if (index.internalId() != 0)
        return detailData(*file(int(index.internalId() - 1)), index.column(), role);
    if (role == FilterRole)
        return data(index.siblingAtColumn(PathColumn), Qt::DisplayRole);
    if (const HWCVerifiedFile *failure = file(index.row()))
        return failureData(*failure, index.column(), role);
    return unlistedData(m_unlisted[index.row() - m_failures.size()], index.column(), role);
}

QVariant HWCCompletedWarningsTableModel::failureData(const HWCVerifiedFile &file, int column,
                                                     int role) const
{
    if (role == Qt::ToolTipRole)
        return HWCFileDetail::text(file, HWCFileDetail::listedIn(*m_operation, file));
    const bool sorting = role == SortRole;
    if (!sorting && role != Qt::DisplayRole && role != Qt::AccessibleTextRole)
        return {};
    switch (column) {
    case PathColumn:
        return file.path();
    case StateColumn:
        return file.state();
    case SizeColumn:
        return sorting ? QVariant(file.bytes()) : QVariant(HWCFileDetail::sizeText(file));
    case SpeedColumn:
        return sorting ? QVariant(file.time() ? double(file.bytes()) / double(file.time()) : 0.0)
                       : QVariant(file.speed());
    default:
        return {};
    }
}

QVariant HWCCompletedWarningsTableModel::detailData(const HWCVerifiedFile &file, int column,
                                                    int role) const
{
    if (role == FilterRole)
        return file.path();
    const bool shown = role == Qt::DisplayRole || role == Qt::AccessibleTextRole;
    if (!shown || column != PathColumn)
        return {};
    return HWCFileDetail::text(file, HWCFileDetail::listedIn(*m_operation, file));
}

QVariant HWCCompletedWarningsTableModel::unlistedData(const QString &path, int column,
                                                      int role) const
{
    const QString state = QCoreApplication::translate("Hashwarden", "Not listed in any MHL");
    const QString shown = hwc_appendingPathComponent(QStringLiteral("/"), path);
    if (role == Qt::ToolTipRole)
        return QStringLiteral("%1: %2").arg(state, shown);
    if (role != Qt::DisplayRole && role != Qt::AccessibleTextRole && role != SortRole)
        return {};
    if (column == PathColumn)
        return shown;
    if (column == StateColumn)
        return state;
    if (role != SortRole)
        return QString();
    return column == SizeColumn ? QVariant(quint64(0)) : QVariant(0.0);
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
