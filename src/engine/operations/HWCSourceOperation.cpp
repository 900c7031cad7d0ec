#include "engine/operations/HWCSourceOperation.h"

#include "engine/files/HWCFileSystemAdditions.h"
#include "engine/files/HWCMedium.h"
#include "engine/operations/HWCSource.h"
#include "engine/records/HWCOperationInfo.h"
#include "engine/session/HWCLog.h"

#include <QMutex>
#include <QThread>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <utility>

HWCSourceOperation::HWCSourceOperation(std::shared_ptr<HWCSource> source)
    : m_source(std::move(source)), m_info(new HWCOperationInfo(*m_source)),
      m_currentFile(std::make_shared<CurrentFile>())
{
}

HWCSourceOperation::~HWCSourceOperation()
{
    // The record lives on the main thread, which may be delivering posted updates to it
    // right now; from any other thread its deletion is left to that thread's event loop.
    if (QThread::currentThread() == m_info->thread())
        delete m_info;
    else
        m_info->deleteLater();
}

QList<HWCVerifiedFile> HWCSourceOperation::filesWithState(HWCFileState state, bool invert) const
{
    QList<HWCVerifiedFile> matching;
    for (const HWCVerifiedFile &file : m_files) {
        if ((file.verifiedFileState() == state) != invert)
            matching.append(file);
    }
    return matching;
}

qsizetype HWCSourceOperation::countWithState(HWCFileState state, bool invert) const
{
    return std::count_if(m_files.cbegin(), m_files.cend(), [state, invert](const auto &file) {
        return (file.verifiedFileState() == state) != invert;
    });
}

void HWCSourceOperation::remove()
{
    cancel();
    Q_EMIT removeRequested();
}

void HWCSourceOperation::setWaitingFor(std::shared_ptr<HWCSource> source)
{
    if (source == m_waitingFor)
        return;
    m_waitingFor = std::move(source);
    Q_EMIT waitingForChanged();
}

const QList<HWCSourceOperation::UnusableList> &HWCSourceOperation::unusableLists() const
{
    static const QList<UnusableList> none;
    return none;
}

const QList<HWCSourceOperation::UsedList> &HWCSourceOperation::usedLists() const
{
    static const QList<UsedList> none;
    return none;
}

const QStringList &HWCSourceOperation::unlistedFiles() const
{
    static const QStringList none;
    return none;
}

const QList<HWCUnreadableFolder> &HWCSourceOperation::unreadableFolders() const
{
    static const QList<HWCUnreadableFolder> none;
    return none;
}

HWCSourceOperation::WrittenList HWCSourceOperation::writtenList() const
{
    return {};
}

void HWCSourceOperation::mainFailed()
{
    publishState(HWCOperationState::FinishedWithWarnings);
}

void HWCSourceOperation::publishState(HWCOperationState state)
{
    m_state = state;
    flushCurrentFile();
    postToInfo([state](HWCOperationInfo *info) { info->setState(state); });
}

void HWCSourceOperation::postToInfo(std::function<void(HWCOperationInfo *)> change) const
{
    // The lambda holds the record, never the operation: the operation may be gone by the
    // time the main thread runs it, and a deleted record drops its pending posts.
    QMetaObject::invokeMethod(
        m_info, [info = m_info, change = std::move(change)] { change(info); },
        Qt::QueuedConnection);
}

namespace {

// How often the file being read is shown at most: each post wakes the main thread, which
// costs more than checking a file that is missing.
constexpr auto kCurrentFileInterval = std::chrono::milliseconds(40);

} // namespace

struct HWCSourceOperation::CurrentFile {
    QMutex mutex;
    QString path;
    bool shown = true;   // path has reached the progress record
    bool posted = false; // a post that will show the latest path is on its way
    std::chrono::steady_clock::time_point lastPost;
};

void HWCSourceOperation::postCurrentFile(const QString &relativePath) const
{
    {
        QMutexLocker lock(&m_currentFile->mutex);
        m_currentFile->path = relativePath;
        m_currentFile->shown = false;
        const auto now = std::chrono::steady_clock::now();
        if (m_currentFile->posted || now - m_currentFile->lastPost < kCurrentFileInterval)
            return;
        m_currentFile->posted = true;
        m_currentFile->lastPost = now;
    }
    showCurrentFile();
}

void HWCSourceOperation::flushCurrentFile() const
{
    {
        QMutexLocker lock(&m_currentFile->mutex);
        if (m_currentFile->shown || m_currentFile->posted)
            return;
        m_currentFile->posted = true;
    }
    showCurrentFile();
}

void HWCSourceOperation::showCurrentFile() const
{
    postToInfo([current = m_currentFile](HWCOperationInfo *info) {
        QString path;
        {
            QMutexLocker lock(&current->mutex);
            path = current->path;
            current->posted = false;
            current->shown = true;
        }
        info->setCurrentRelativeFilePath(path);
    });
}

bool HWCSourceOperation::countBlock(quint64 length) const
{
    if (isCancelled())
        return false;
    // A file whose path waited for the interval is being read now.
    flushCurrentFile();
    postToInfo([length](HWCOperationInfo *info) { info->addBytes(length); });
    return true;
}

HWCFileState HWCSourceOperation::fileStateForOpenError(int error)
{
    switch (error) {
    case ENOENT:
        return HWCFileState::MissingFile;
    case EACCES:
        return HWCFileState::AccessDenied;
    default:
        return HWCFileState::CantOpenFile;
    }
}

int HWCSourceOperation::readDepthFor(const QString &folder)
{
    const HWCMedium medium = HWCMedium::of(folder);
    HWCLogDebug(QStringLiteral("Reading %1 files at once from %2 (%3)")
                    .arg(medium.queueDepth())
                    .arg(medium.device(), medium.seeks() ? QStringLiteral("seeks")
                                                         : QStringLiteral("does not seek")));
    return medium.queueDepth();
}
