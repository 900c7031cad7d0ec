#include "engine/history/HWCHistoryRecords.h"

#include "engine/reports/HWCOutcome.h"

namespace {

// HWCOutcome::relativePath() in UTF-8. The list's own text when joining it to the root
// leaves it as it is, as it does for a list at the top of its source.
QByteArray historyPath(const HWCVerifiedFile &file)
{
    const QByteArray relative = file.relativePathUtf8();
    const bool plain = !relative.isEmpty() && !relative.startsWith('/') &&
                       !relative.endsWith('/') && !relative.contains("//");
    const QString root = file.rootPath();
    if (plain && (root.isEmpty() || root == QLatin1String("/")))
        return relative;
    return HWCOutcome::relativePath(file).toUtf8();
}

} // namespace

HWCHistoryRecords::HWCHistoryRecords(const QList<HWCVerifiedFile> &files, bool failuresOnly)
    : m_files(files), m_filtered(failuresOnly)
{
    if (!failuresOnly)
        return;
    for (qsizetype index = 0; index < files.size(); ++index) {
        if (files[index].verifiedFileState() != HWCFileState::ReadSuccessfully)
            m_chosen.append(quint32(index));
    }
}

HWCHistoryFile HWCHistoryRecords::operator[](qsizetype index) const
{
    if (index >= operationCount())
        return m_stored[index - operationCount()];
    const HWCVerifiedFile &file = operationFile(index);
    return {HWCOutcome::relativePath(file), file.verifiedFileState(), file.bytes(),
            file.detail()};
}

HWCHistoryFileUtf8 HWCHistoryRecords::utf8At(qsizetype index) const
{
    if (index >= operationCount()) {
        const HWCHistoryFile &file = m_stored[index - operationCount()];
        const HWCVerifiedFile::Detail &detail = file.detail;
        return {file.path.toUtf8(),
                file.state,
                file.bytes,
                {detail.digestKind.toUtf8(), detail.expected.toUtf8(), detail.actual.toUtf8(),
                 detail.expectedSize, detail.reason.toUtf8()}};
    }
    const HWCVerifiedFile &file = operationFile(index);
    return {historyPath(file), file.verifiedFileState(), file.bytes(), file.detailUtf8()};
}

HWCFileState HWCHistoryRecords::stateAt(qsizetype index) const
{
    return index >= operationCount() ? m_stored[index - operationCount()].state
                                     : operationFile(index).verifiedFileState();
}
