#include "engine/reports/HWCReportVerdict.h"

#include "engine/files/HWCFileNameAdditions.h"

namespace HWCReportVerdict {

namespace {

QString files(quint64 amount)
{
    return QStringLiteral("%1 %2").arg(number(amount), amount == 1 ? QStringLiteral("file")
                                                                   : QStringLiteral("files"));
}

// The sentence of a run that did not verify.
QString otherSentence(const HWCHistoryEntry &entry)
{
    const QString card = hwc_displayedName(entry.cardName());
    switch (entry.outcome()) {
    case HWCRunOutcome::Warnings:
        if (entry.failures() == 0)
            return QStringLiteral("%1 finished with warnings: an MHL on it could not be used.")
                .arg(card);
        return QStringLiteral("%1 did not verify: %2 of %3 failed; they are listed below.")
            .arg(card, number(entry.failures()), files(entry.files));
    case HWCRunOutcome::Cancelled:
        return QStringLiteral("%1 was cancelled before it ended: %2 of %3 checked.")
            .arg(card,
                 number(entry.counts.value(HWCFileState::ReadSuccessfully) + entry.failures()),
                 files(entry.filesTotal));
    case HWCRunOutcome::NothingVerified:
        if (entry.state == HWCOperationState::NoMHL)
            return QStringLiteral("%1 was not verified: no MHL was found on it.").arg(card);
        if (entry.state == HWCOperationState::NoFilesFound)
            return QStringLiteral("%1 was not hashed: no files were found on it.").arg(card);
        return QStringLiteral("%1 was not verified: its MHLs list no file that could be checked.")
            .arg(card);
    case HWCRunOutcome::Created:
        return QStringLiteral("%1 was hashed: a new MHL lists its %2, %3.")
            .arg(card, files(entry.files), size(entry.bytes));
    case HWCRunOutcome::NotWritten:
        return QStringLiteral("%1 was hashed, but its MHL could not be written, so nothing "
                              "proves its files yet.")
            .arg(card);
    case HWCRunOutcome::Verified:
        break;
    }
    return {};
}

} // namespace

QStringList sentences(const QList<HWCHistoryEntry> &entries)
{
    quint64 verified = 0, fileCount = 0, bytes = 0;
    QStringList others;
    for (const HWCHistoryEntry &entry : entries) {
        if (entry.outcome() != HWCRunOutcome::Verified) {
            others.append(otherSentence(entry));
            continue;
        }
        ++verified;
        fileCount += entry.files;
        bytes += entry.bytes;
    }
    if (verified == 0)
        return others;
    const QString what =
        QStringLiteral("%1, %2, every file matched its MHL.").arg(files(fileCount), size(bytes));
    QString first;
    if (verified == 1 && entries.size() == 1)
        first = QStringLiteral("The card verified: %1").arg(what);
    else if (verified == quint64(entries.size()))
        first = QStringLiteral("All %1 cards verified: %2").arg(verified).arg(what);
    else
        first = QStringLiteral("%1 of %2 cards verified: %3")
                    .arg(verified)
                    .arg(entries.size())
                    .arg(what);
    return QStringList{first} + others;
}

bool allVerified(const QList<HWCHistoryEntry> &entries)
{
    return !entries.isEmpty() &&
           std::all_of(entries.cbegin(), entries.cend(), [](const HWCHistoryEntry &entry) {
               return entry.outcome() == HWCRunOutcome::Verified;
           });
}

QString number(quint64 amount)
{
    return QLocale(QLocale::English).toString(amount);
}

QString size(quint64 bytes)
{
    return QLocale(QLocale::English).formattedDataSize(qint64(bytes), 2, QLocale::DataSizeSIFormat);
}

} // namespace HWCReportVerdict
