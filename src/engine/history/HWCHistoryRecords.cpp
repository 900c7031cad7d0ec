#include "engine/history/HWCHistoryRecords.h"

#include "engine/reports/HWCOutcome.h"

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

HWCFileState HWCHistoryRecords::stateAt(qsizetype index) const
{
    return index >= operationCount() ? m_stored[index - operationCount()].state
                                     : operationFile(index).verifiedFileState();
}
