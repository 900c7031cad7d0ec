#pragma once

#include "engine/records/HWCStateNames.h"
#include "engine/records/HWCTypes.h"

#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <atomic>
#include <optional>

class HWCSource;

// The observable progress of one operation. Lives on the main thread: every setter is
// called there (operations post to it), except fileVerified(), which only touches two
// counters that nothing observes.
class HWCOperationInfo : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString stateString READ stateString NOTIFY stateStringChanged)
    Q_PROPERTY(HWCTheme theme READ theme NOTIFY themeChanged)
    Q_PROPERTY(double progress READ progressValue NOTIFY progressChanged)
    Q_PROPERTY(QString currentRelativeFilePath READ currentRelativeFilePath NOTIFY
                   currentRelativeFilePathChanged)

public:
    explicit HWCOperationInfo(const HWCSource &source, QObject *parent = nullptr);

    QString path() const { return m_path; } // the source's folder
    QStringList mhlURLs() const { return m_mhlURLs; }

    void setState(HWCOperationState state);
    HWCOperationState state() const { return m_state; }
    QString stateString() const;
    HWCTheme theme() const;

    std::optional<double> progress() const { return m_progress; } // nullopt until set
    double progressValue() const { return m_progress.value_or(0.0); }
    void setProgress(double progress);

    QString currentRelativeFilePath() const { return m_currentRelativeFilePath; }
    void setCurrentRelativeFilePath(const QString &path);

    void setFileTotal(quint64 files, quint64 bytes);
    void addBytes(quint64 count);
    void addTool(const QString &name);
    QStringList mhlTools() const;
    void fileVerified(bool passed); // worker thread
    // Counts a file whose outcome is known: every record of a verification, every file a
    // creation took. Worker thread; read on any thread, for progress only.
    void fileDone() { m_filesDone.fetch_add(1); }
    quint64 filesDone() const { return m_filesDone.load(); }

    quint64 filesTotal() const { return m_filesTotal; }
    quint64 bytesTotal() const { return m_bytesTotal; }
    quint64 bytesVerified() const { return m_bytesVerified; }
    quint64 filesVerified() const { return m_filesVerified.load(); }
    quint64 filesFailed() const { return m_filesFailed.load(); }

    QString description() const;

Q_SIGNALS:
    void stateStringChanged();
    void themeChanged();
    void progressChanged(double progress);
    void currentRelativeFilePathChanged();

private:
    QString m_path;
    QStringList m_mhlURLs;
    QSet<QString> m_tools;
    HWCOperationState m_state = HWCOperationState::Preparing;
    std::optional<double> m_progress;
    QString m_currentRelativeFilePath;
    quint64 m_filesTotal = 0;
    quint64 m_bytesTotal = 0;
    quint64 m_bytesVerified = 0;
    std::atomic<quint64> m_filesVerified{0};
    std::atomic<quint64> m_filesFailed{0};
    std::atomic<quint64> m_filesDone{0};
};
