#pragma once

#include "engine/history/HWCHistoryEntry.h"

#include <QList>
#include <QWidget>

class HWCHistoryTableModel;
class QLabel;
class QLineEdit;
class QSortFilterProxyModel;
class QSpinBox;
class QTableView;

// The History screen (the menu's "History…", Ctrl+H): the runs the history kept, newest
// first, searchable by card or path, each outcome in its colour. Opening a run shows its
// result, with "Export Report…"; the selected runs can be exported as one report or
// removed; "Clear History…" removes every run. How many days runs are kept is a setting.
// Main thread.
class HWCHistoryWindow : public QWidget {
    Q_OBJECT

public:
    explicit HWCHistoryWindow(const QString &databasePath, QWidget *parent = nullptr);

    // Reads the history again, after dropping the runs older than the setting.
    void reload();

    // The selected runs, with their records, newest first.
    QList<HWCHistoryEntry> selectedEntries() const;
    void removeSelected();

private:
    QWidget *makeButtons();
    void openEntry(const QModelIndex &index);
    void clearHistory();
    void setRetentionDays(int days);

    QString m_databasePath;
    HWCHistoryTableModel *m_model;
    QSortFilterProxyModel *m_filter;
    QTableView *m_table;
    QLineEdit *m_search;
    QSpinBox *m_retention;
    QLabel *m_problem;
};
