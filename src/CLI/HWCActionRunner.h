#pragma once

#include "Classes/HWCExcludedNames.h"
#include "Classes/HWCTypes.h"

#include <QEventLoop>
#include <QJsonArray>
#include <QObject>
#include <QStringList>
#include <memory>

class HWCOperationController;
class HWCProgressPrinter;
class HWCSource;
class HWCVerificationOperation;

// Runs one action (verify or create) over the sources named on the command line: scans
// them, refuses those that do not fit the action, queues the rest on an operation
// controller, shows progress, and prints the results when every operation has ended.
// Main thread only; exec() processes events until the end. After Ctrl-C, work that has not
// stopped within a moment is left behind and the process ends with exit code 3.
class HWCActionRunner : public QObject {
    Q_OBJECT

public:
    struct Options {
        HWCActionType action = HWCActionTypeVerify;
        QStringList sources;
        QString logPath; // empty: no log
        bool json = false;
        bool progress = false; // live progress lines on stdout
        int jobs = 1;          // files of one source read at once
        bool strict = false;   // files no list names make the exit code 1
        QString rootFolder;    // empty: the listed files are beside their list
        QStringList excludes = HWCExcludedNames::defaultPatterns();
        QStringList digestKinds; // what a creation writes; empty: its default
    };

    explicit HWCActionRunner(Options options, QObject *parent = nullptr);
    ~HWCActionRunner() override;

    // Returns the process exit code.
    int exec();

private:
    bool makeSources();
    // Gives a new operation the settings of the command line. Main thread, before it runs.
    void setUp(HWCVerificationOperation &operation) const;
    void sourceScanned();
    void startOperations();
    void operationCompleted();
    void interrupt();
    // Ends the command at once with what is known, leaving running work behind.
    void abandon();
    void finish();
    void report(const HWCVerificationOperation &operation, QJsonArray &operations);
    bool writeLog() const;
    void refuse(const QString &source, const QString &reason);

    Options m_options;
    QEventLoop m_loop;
    std::unique_ptr<HWCOperationController> m_controller;
    HWCProgressPrinter *m_progress = nullptr;
    QList<std::shared_ptr<HWCSource>> m_sources;
    QList<std::shared_ptr<HWCVerificationOperation>> m_operations;
    QJsonArray m_refused;
    int m_pendingScans = 0;
    int m_pendingOperations = 0;
    bool m_interrupted = false;
    bool m_finished = false;
    int m_exitCode = 0;
};
