#pragma once

#include "engine/files/HWCFileManagerAdditions.h"
#include "engine/records/HWCTypes.h"

#include <QMutex>
#include <QObject>
#include <QString>
#include <QStringList>
#include <atomic>
#include <memory>

class HWCMediaHashList;

// A disk, folder or single MHL file chosen by the user. Made on the main thread; the
// constructor starts one background scan that finds the MHL files and counts files and
// bytes, then announces usedSpaceChanged and actionTypeChanged on the main thread. The scan
// holds a reference until then, and drops it on the main thread.
class HWCSource : public QObject, public std::enable_shared_from_this<HWCSource> {
    Q_OBJECT
    Q_PROPERTY(qint64 usedSpace READ usedSpace NOTIFY usedSpaceChanged)
    Q_PROPERTY(HWCActionType actionType READ actionType NOTIFY actionTypeChanged)

public:
    // Null for an existing ordinary file that is neither an MHL file nor the chain file of an
    // ASC MHL history. A missing path is accepted: its scan finds nothing.
    static std::shared_ptr<HWCSource> initWithPath(const QString &path);
    ~HWCSource() override;

    QString path() const;
    void setPath(const QString &path);

    // Paths of the MHL files found, in walk order, and of the `ascmhl` folder of each ASC MHL
    // history (its generations are not listed apart). Complete once usedSpaceChanged arrived.
    QStringList mhlURLs() const;
    qint64 usedSpace() const { return m_usedSpace.load(std::memory_order_relaxed); }
    qint64 fileTotal() const { return m_fileTotal.load(std::memory_order_relaxed); }
    // The folders the scan could not look into, in walk order: an MHL there was not found.
    // Complete once usedSpaceChanged arrived. Any thread.
    QList<HWCUnreadableFolder> unreadableFolders() const;
    HWCActionType actionType() const; // Verify when any MHL was found, else Create
    // The list at path as the scan of a single MHL file read it, given away once, so that
    // its verification need not read a long list twice; null when the scan read no such
    // list, or when the file has changed since. Any thread.
    std::shared_ptr<const HWCMediaHashList> takeScannedList(const QString &path);
    // True from the moment the scan's end is announced. Main thread.
    bool isScanFinished() const { return m_scanFinished; }

Q_SIGNALS:
    void usedSpaceChanged();
    void actionTypeChanged();

private:
    explicit HWCSource(const QString &path);
    void initialise();
    void scan(); // on the pool thread

    mutable QMutex m_mutex;
    QString m_path;
    QStringList m_mhlURLs;
    QList<HWCUnreadableFolder> m_unreadableFolders;
    std::shared_ptr<const HWCMediaHashList> m_scannedList;
    std::atomic<qint64> m_usedSpace{0};
    std::atomic<qint64> m_fileTotal{0};
    bool m_scanFinished = false; // main thread only
};
