#include "ui/history/HWCHistoryTableModel.h"

#include "engine/files/HWCFileNameAdditions.h"
#include "engine/reports/HWCReportVerdict.h"

#include <QColor>

namespace {

QColor outcomeColour(HWCRunOutcome outcome)
{
    switch (outcome) {
    case HWCRunOutcome::Verified:
    case HWCRunOutcome::Created:
        return QColor(0x17, 0x69, 0x2e);
    case HWCRunOutcome::Warnings:
    case HWCRunOutcome::NotWritten:
        return QColor(0xa1, 0x16, 0x1a);
    default:
        return QColor(0x9a, 0x5b, 0x00);
    }
}

} // namespace

HWCHistoryTableModel::HWCHistoryTableModel(QObject *parent) : QAbstractTableModel(parent)
{
}

void HWCHistoryTableModel::setEntries(QList<HWCHistoryEntry> entries)
{
    beginResetModel();
    m_entries = std::move(entries);
    endResetModel();
}

int HWCHistoryTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_entries.size());
}

int HWCHistoryTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant HWCHistoryTableModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_entries.size())
        return {};
    const HWCHistoryEntry &entry = m_entries.at(index.row());
    if (role == Qt::ForegroundRole && index.column() == Outcome)
        return outcomeColour(entry.outcome());
    if (role == Qt::TextAlignmentRole && (index.column() == Files || index.column() == Size))
        return int(Qt::AlignRight | Qt::AlignVCenter);
    if (role != Qt::DisplayRole)
        return {};
    switch (index.column()) {
    case Ended:
        return entry.ended.toString(QStringLiteral("yyyy-MM-dd HH:mm"));
    case Outcome:
        return entry.stateName;
    case Card:
        return hwc_displayedName(entry.cardName());
    case Source:
        return hwc_displayedName(entry.source);
    case Files:
        return HWCReportVerdict::number(entry.files);
    case Size:
        return HWCReportVerdict::size(entry.bytes);
    default:
        return {};
    }
}

QVariant HWCHistoryTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    static const char *const kTitles[ColumnCount] = {QT_TR_NOOP("Ended"), QT_TR_NOOP("Outcome"),
                                                     QT_TR_NOOP("Card"),  QT_TR_NOOP("Source"),
                                                     QT_TR_NOOP("Files"), QT_TR_NOOP("Size")};
    return section >= 0 && section < ColumnCount ? tr(kTitles[section]) : QVariant();
}
