#include "engine/operations/HWCSource.h"

#include "engine/ascmhl/HWCASCMHLHistory.h"
#include "engine/files/HWCFileManagerAdditions.h"
#include "engine/mhl/HWCMediaHashList.h"
#include "engine/records/HWCStringAdditions.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QMutexLocker>
#include <QThreadPool>
#include <cstring>
#include <string_view>
#include <utility>

namespace {

// Only a path whose first ".mhl" is its very end counts, so "a.mhl/list.mhl" and
// "clip.mhlx/list.mhl" do not, nor does an upper-case "LIST.MHL".
bool endsWithFirstMHLExtension(const char *path)
{
    static constexpr char kExtension[] = ".mhl";
    const char *first = strstr(path, kExtension);
    return first && strcmp(first, kExtension) == 0;
}

// The `ascmhl` folder a file lies directly in, when the file is one of its generations or
// its chain file; empty otherwise.
QByteArray historyFolderOf(const char *path)
{
    const char *slash = strrchr(path, '/');
    if (!slash)
        return {};
    const std::string_view name(slash + 1);
    const bool historyFile = name == HWCASCMHLHistory::kChainFileName ||
                             (name.size() > 4 && name.substr(name.size() - 4) == ".mhl");
    const QByteArray folder(path, slash - path);
    const QByteArray folderName = '/' + QByteArray(HWCASCMHLHistory::kFolderName);
    return historyFile && folder.endsWith(folderName) ? folder : QByteArray();
}

} // namespace

std::shared_ptr<HWCSource> HWCSource::initWithPath(const QString &path)
{
    const QFileInfo info(path);
    if (info.exists() && !info.isDir() && !hwc_isMediaHashListPath(path) &&
        HWCASCMHLHistory::folderForSource(path).isEmpty())
        return nullptr;
    std::shared_ptr<HWCSource> source(new HWCSource(path));
    source->initialise();
    return source;
}

HWCSource::HWCSource(const QString &path) : m_path(path)
{
}

HWCSource::~HWCSource() = default;

QString HWCSource::path() const
{
    QMutexLocker lock(&m_mutex);
    return m_path;
}

void HWCSource::setPath(const QString &path)
{
    QMutexLocker lock(&m_mutex);
    m_path = path;
}

QStringList HWCSource::mhlURLs() const
{
    QMutexLocker lock(&m_mutex);
    return m_mhlURLs;
}

QList<HWCUnreadableFolder> HWCSource::unreadableFolders() const
{
    QMutexLocker lock(&m_mutex);
    return m_unreadableFolders;
}

HWCActionType HWCSource::actionType() const
{
    QMutexLocker lock(&m_mutex);
    return m_mhlURLs.isEmpty() ? HWCActionType::Create : HWCActionType::Verify;
}

std::shared_ptr<const HWCMediaHashList> HWCSource::takeScannedList(const QString &path)
{
    std::shared_ptr<const HWCMediaHashList> list;
    {
        QMutexLocker lock(&m_mutex);
        if (m_mhlURLs != QStringList{path})
            return nullptr;
        list = std::exchange(m_scannedList, nullptr);
    }
    return list && list->isUnchangedSinceRead() ? list : nullptr;
}

void HWCSource::initialise()
{
    // The task keeps the source alive and hands its reference to the main thread, where
    // the source was made and where its last release must happen.
    QThreadPool::globalInstance()->start([self = shared_from_this()]() mutable {
        self->scan();
        QCoreApplication *application = QCoreApplication::instance();
        if (!application)
            return;
        QMetaObject::invokeMethod(
            application,
            [source = std::move(self)] {
                source->m_scanFinished = true;
                Q_EMIT source->usedSpaceChanged();
                Q_EMIT source->actionTypeChanged();
            },
            Qt::QueuedConnection);
    });
}

void HWCSource::scan()
{
    const QString root = path();
    m_usedSpace.store(0, std::memory_order_relaxed);
    {
        QMutexLocker lock(&m_mutex);
        m_mhlURLs.clear();
        m_unreadableFolders.clear();
        m_scannedList.reset();
    }
    const QString history = HWCASCMHLHistory::folderForSource(root);
    if (!history.isEmpty() || hwc_isMediaHashListPath(root)) {
        // A history's folder, chain or generation stands for the whole history.
        const QString list = history.isEmpty() ? root : history;
        std::shared_ptr<const HWCMediaHashList> document =
            HWCMediaHashList::initWithContentsOfURL(list);
        if (document)
            m_usedSpace.store(document->fileSize(), std::memory_order_relaxed);
        QMutexLocker lock(&m_mutex);
        if (history.isEmpty())
            m_scannedList = std::move(document);
        m_mhlURLs.append(list);
        return;
    }
    findFilesAtPath(
        root,
        [this](const char *filePath, const struct stat *status) {
            m_usedSpace.fetch_add(status->st_size, std::memory_order_relaxed);
            if (const QByteArray history = historyFolderOf(filePath); !history.isEmpty()) {
                // A history's generations are read through the history, once.
                QMutexLocker lock(&m_mutex);
                const QString folder = QFile::decodeName(history);
                if (!m_mhlURLs.contains(folder))
                    m_mhlURLs.append(folder);
            } else if (endsWithFirstMHLExtension(filePath)) {
                QMutexLocker lock(&m_mutex);
                m_mhlURLs.append(QFile::decodeName(filePath));
            }
            m_fileTotal.fetch_add(1, std::memory_order_relaxed);
        },
        [this](const char *folder, int error) {
            QMutexLocker lock(&m_mutex);
            m_unreadableFolders.append({QFile::decodeName(folder), error});
        });
}
