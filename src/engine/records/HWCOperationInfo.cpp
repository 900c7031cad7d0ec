#include "engine/records/HWCOperationInfo.h"

#include "engine/ascmhl/HWCASCMHLHistory.h"
#include "engine/files/HWCPathAdditions.h"
#include "engine/operations/HWCSource.h"
#include "engine/records/HWCStringAdditions.h"

#include <QCoreApplication>

namespace {

QString translated(const char *text)
{
    return QCoreApplication::translate("Hashwarden", text);
}

} // namespace

HWCOperationInfo::HWCOperationInfo(const HWCSource &source, QObject *parent)
    : QObject(parent), m_path(source.path()), m_mhlURLs(source.mhlURLs()),
      m_filesTotal(quint64(source.fileTotal())), m_bytesTotal(quint64(source.usedSpace()))
{
    // A history's folder, chain or generation stands for the card it describes.
    if (const QString history = HWCASCMHLHistory::folderForSource(m_path); !history.isEmpty())
        m_path = hwc_deletingLastPathComponent(history);
    else if (hwc_isMediaHashListPath(m_path))
        m_path = hwc_deletingLastPathComponent(m_path);
}

void HWCOperationInfo::setState(HWCOperationState state)
{
    m_state = state;
    Q_EMIT stateStringChanged();
    Q_EMIT themeChanged();
    // Verified OK and Created OK keep the percentage the byte count reached.
    if (state == HWCOperationState::FinishedWithWarnings || state == HWCOperationState::NoMHL ||
        state == HWCOperationState::NoFilesFound)
        setProgress(100.0);
}

QString HWCOperationInfo::stateString() const
{
    switch (m_state) {
    case HWCOperationState::Preparing:
        return translated("Preparing.");
    case HWCOperationState::Verifying:
    case HWCOperationState::Creating:
        return hwc_lastPathComponent(m_currentRelativeFilePath);
    case HWCOperationState::VerifiedOK:
        return translated("Verification successful.");
    case HWCOperationState::FinishedWithWarnings:
        return translated("Completed with issues.");
    case HWCOperationState::Cancelled:
        return translated("Canceled.");
    case HWCOperationState::NoMHL:
        return translated("No MHL file.");
    case HWCOperationState::CreatedOK:
        return translated("Created a MHL successfully.");
    case HWCOperationState::NoFilesFound:
        return translated("No files found.");
    default:
        return QString();
    }
}

HWCTheme HWCOperationInfo::theme() const
{
    switch (m_state) {
    case HWCOperationState::Preparing:
    case HWCOperationState::Verifying:
    case HWCOperationState::Creating:
        return HWCTheme::Default;
    case HWCOperationState::VerifiedOK:
    case HWCOperationState::CreatedOK:
        return HWCTheme::Success;
    case HWCOperationState::FinishedWithWarnings:
    case HWCOperationState::Cancelled:
    case HWCOperationState::NoMHL:
    case HWCOperationState::NoFilesFound:
        return HWCTheme::Warning;
    }
    return HWCTheme::Default;
}

void HWCOperationInfo::setProgress(double progress)
{
    m_progress = progress;
    Q_EMIT progressChanged(progress);
}

void HWCOperationInfo::setCurrentRelativeFilePath(const QString &path)
{
    m_currentRelativeFilePath = path;
    Q_EMIT currentRelativeFilePathChanged();
    Q_EMIT stateStringChanged();
}

void HWCOperationInfo::setFileTotal(quint64 files, quint64 bytes)
{
    m_filesTotal = files;
    m_bytesTotal = bytes;
}

void HWCOperationInfo::addBytes(quint64 count)
{
    m_bytesVerified += count;
    // With a total of 0 the quotient is infinite (or NaN for 0/0); it is published as is.
    setProgress(double(m_bytesVerified) * 100.0 / double(m_bytesTotal));
}

void HWCOperationInfo::addTool(const QString &name)
{
    if (!name.isEmpty())
        m_tools.insert(name);
}

QStringList HWCOperationInfo::mhlTools() const
{
    return QStringList(m_tools.cbegin(), m_tools.cend());
}

void HWCOperationInfo::fileVerified(bool passed)
{
    if (passed)
        m_filesVerified.fetch_add(1);
    else
        m_filesFailed.fetch_add(1);
}

QString HWCOperationInfo::description() const
{
    return QStringLiteral("Info for %1 %2/%3 bytes %4/%5 files (%6 failed) state:%7")
        .arg(hwc_lastPathComponent(m_path), QString::number(m_bytesVerified),
             QString::number(m_bytesTotal), QString::number(filesVerified()),
             QString::number(m_filesTotal), QString::number(filesFailed()), stateString());
}
