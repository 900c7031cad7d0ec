#include "engine/mhl/HWCMediaHashList.h"

#include "engine/files/HWCPathAdditions.h"
#include "engine/mhl/HWCMHLReader.h"
#include "engine/records/HWCStringAdditions.h"

#include <QFile>
#include <QFileInfo>
#include <sys/stat.h>

std::unique_ptr<HWCMediaHashList> HWCMediaHashList::initWithContentsOfURL(const QString &path)
{
    if (hwc_lastPathComponent(path) == QLatin1String(HWCASCMHLHistory::kFolderName) &&
        QFileInfo(path).isDir()) {
        std::unique_ptr<HWCMediaHashList> list(new HWCMediaHashList);
        list->m_history = std::make_unique<HWCASCMHLHistory>(path);
        list->m_root = list->m_history->root();
        // A history that cannot be used lists nothing, like a list that does not parse.
        list->m_loadProblem = list->m_history->problem();
        list->m_read = list->m_loadProblem.isEmpty();
        if (list->m_read)
            list->m_hashes = list->m_history->takeRecords();
        return list;
    }
    if (!hwc_isMediaHashListPath(path))
        return nullptr;
    std::unique_ptr<HWCMediaHashList> list(new HWCMediaHashList);
    list->m_path = path;
    list->m_identity = identityOf(path);
    // A document that does not parse gives an empty list; the reason is kept for those who
    // report it.
    HWCMHLReader::Contents contents = HWCMHLReader::read(path);
    list->m_loadProblem = contents.problem;
    list->m_read = contents.problem.isEmpty();
    if (!list->m_read)
        return list;
    list->m_packingList = contents.laterFormat;
    list->m_tool = std::move(contents.tool);
    list->m_hashes = std::move(contents.records);
    list->m_root = hwc_deletingLastPathComponent(path);
    return list;
}

HWCMediaHashList::~HWCMediaHashList() = default;

QString HWCMediaHashList::problem() const
{
    if (!m_loadProblem.isEmpty())
        return m_loadProblem;
    if (m_hashes.empty())
        return QStringLiteral("lists no files");
    return {};
}

QString HWCMediaHashList::extension()
{
    return QStringLiteral("mhl");
}

qint64 HWCMediaHashList::fileSize() const
{
    // Summed unsigned so that absurd sizes wrap instead of overflowing a signed integer.
    quint64 total = 0;
    for (const HWCChecksumEntry &record : m_hashes)
        total += record.listedSize().value_or(0);
    return qint64(total);
}

std::optional<QString> HWCMediaHashList::tool() const
{
    if (m_history && !m_history->tools().isEmpty())
        return m_history->tools().last();
    return m_tool;
}

QStringList HWCMediaHashList::tools() const
{
    if (m_history)
        return m_history->tools();
    return m_tool ? QStringList{*m_tool} : QStringList();
}

std::span<const HWCChecksumKinds::Kind> HWCMediaHashList::verificationOrder() const
{
    return m_history || m_packingList ? HWCChecksumKinds::historyOrder()
                                      : HWCChecksumKinds::listOrder();
}

QStringList HWCMediaHashList::digestKinds() const
{
    QStringList kinds;
    for (const HWCChecksumKinds::Kind &kind : verificationOrder()) {
        for (const HWCChecksumEntry &entry : m_hashes) {
            if (entry.contains(kind.name)) {
                kinds.append(QString::fromLatin1(kind.name));
                break;
            }
        }
    }
    return kinds;
}

std::optional<HWCMediaHashList::FileIdentity> HWCMediaHashList::identityOf(const QString &path)
{
    struct stat status {};
    if (stat(QFile::encodeName(path).constData(), &status) != 0)
        return std::nullopt;
    const auto nanoseconds = [](const timespec &time) {
        return qint64(time.tv_sec) * 1000000000 + time.tv_nsec;
    };
    return FileIdentity{quint64(status.st_dev), quint64(status.st_ino), qint64(status.st_size),
                        nanoseconds(status.st_mtim), nanoseconds(status.st_ctim)};
}

bool HWCMediaHashList::isUnchangedSinceRead() const
{
    return m_identity && identityOf(m_path) == m_identity;
}
