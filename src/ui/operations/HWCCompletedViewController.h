#pragma once

#include <QWidget>
#include <memory>

class HWCSourceOperation;
class QAbstractButton;
class QLabel;

// The result panel of a stopped operation: a coloured mark with the outcome in words, a
// sentence that explains it, and the files and bytes checked, the duration and the average
// speed; for a creation the path of the new MHL, or plainly that none could be written.
// Follows the operation: a panel made while it still waits in the queue is brought up to
// date as it runs and ends. Once it has ended, "Export Report…" asks for the report of the
// results on screen (exportReportRequested()). Main thread.
class HWCCompletedViewController : public QWidget {
    Q_OBJECT

public:
    explicit HWCCompletedViewController(std::shared_ptr<HWCSourceOperation> operation,
                                        QWidget *parent = nullptr);

    // What the panel says, in reading order: headline, explanation, figures.
    static QString headline(const HWCSourceOperation &operation);
    // What a verification recorded in the histories it read, or why it could not.
    static QString historyText(const HWCSourceOperation &operation);
    static QString explanation(const HWCSourceOperation &operation);
    static QString figures(const HWCSourceOperation &operation);

    QLabel *headlineLabel() const { return m_headline; }
    QLabel *explanationLabel() const { return m_explanation; }
    QAbstractButton *exportReportButton() const { return m_exportReport; }
    QLabel *notRecordedLabel() const { return m_notRecorded; }

    // One quiet line saying why the history could not record the run.
    void setNotRecorded(const QString &reason);

    // The summary of a result panel: the panel itself, or the one the warnings panel holds.
    static HWCCompletedViewController *of(QWidget *panel);

Q_SIGNALS:
    // "Export Report…" was pressed: the screen that lists the operation exports its report.
    void exportReportRequested();

private:
    void refresh();

    std::shared_ptr<HWCSourceOperation> m_representedObject;
    QLabel *m_headline;
    QLabel *m_explanation;
    QLabel *m_figures;
    QLabel *m_notRecorded;
    QAbstractButton *m_exportReport;
    QWidget *m_mark;
};
