#include "ui/operations/HWCCompletedViewController.h"

#include "engine/operations/HWCSourceOperation.h"
#include "engine/records/HWCOperationInfo.h"
#include "engine/records/HWIDiskSpaceToStringValueTransformer.h"
#include "ui/controls/HWCHoverButtonCell.h"
#include "ui/controls/HWIProgressIndicator.h"
#include "ui/drawing/HWCStyleKit.h"
#include "ui/operations/HWCResultOutcome.h"

#include <QBoxLayout>
#include <QCoreApplication>
#include <QFileInfo>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("Hashwarden", text);
}

QString sizeText(quint64 bytes)
{
    return HWIDiskSpaceToStringValueTransformer::transformedValue(qint64(bytes));
}

constexpr double kShortestTold = 0.05;

QString durationText(double seconds)
{
    if (seconds < 10)
        return tr("%1 s").arg(seconds, 0, 'f', 1);
    const qint64 whole = qint64(seconds + 0.5);
    if (whole < 60)
        return tr("%1 s").arg(whole);
    if (whole < 3600)
        return tr("%1 min %2 s").arg(whole / 60).arg(whole % 60);
    return tr("%1 h %2 min").arg(whole / 3600).arg(whole / 60 % 60);
}

bool mhlNotWritten(const HWCSourceOperation &operation)
{
    return operation.actionType() == HWCActionType::Create &&
           operation.state() != HWCOperationState::Cancelled &&
           operation.writtenList().path.isEmpty();
}

QString unlistedPhrase(qsizetype count)
{
    return count == 1 ? tr("1 file is") : tr("%1 files are").arg(count);
}

QString unusableListsText(const HWCSourceOperation &operation)
{
    QStringList lists;
    for (const HWCSourceOperation::UnusableList &list : operation.unusableLists())
        lists << QStringLiteral("%1 %2").arg(QFileInfo(list.path).fileName(), list.reason);
    return lists.join(QStringLiteral("; "));
}

// The outcome's colour with a sign in it.
class OutcomeMark : public QWidget {
public:
    explicit OutcomeMark(QWidget *parent) : QWidget(parent) { setFixedSize(28, 28); }

    void setOutcome(HWCResultOutcome::Outcome outcome)
    {
        m_theme = HWCResultOutcome::theme(outcome);
        // A sign as well as a colour, for those who cannot tell the colours apart.
        m_sign = QString::fromUtf8(HWCResultOutcome::sign(outcome));
        update();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QPainterPath circle;
        circle.addEllipse(QRectF(rect()));
        HWIProgressIndicator::gradientForTheme(m_theme).drawInPath(painter, circle, -90);
        QFont font = painter.font();
        font.setPixelSize(17);
        font.setBold(true);
        painter.setFont(font);
        // Dark on the light amber and grey, white on the others: 4.5:1 on every mark.
        const bool light = m_theme == HWCTheme::Warning || m_theme == HWCTheme::Cancelled;
        painter.setPen(light ? HWCStyleKit::selectedTextColor() : QColor(Qt::white));
        painter.drawText(rect(), Qt::AlignCenter, m_sign);
    }

private:
    HWCTheme m_theme = HWCTheme::Default;
    QString m_sign;
};

QLabel *textLabel(int pixelSize, bool bold, const QColor &color, QWidget *parent)
{
    auto *label = new QLabel(parent);
    QFont font = label->font();
    font.setPixelSize(pixelSize);
    font.setBold(bold);
    label->setFont(font);
    label->setStyleSheet(QStringLiteral("color:%1").arg(color.name()));
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

} // namespace

HWCCompletedViewController::HWCCompletedViewController(
    std::shared_ptr<HWCSourceOperation> operation, QWidget *parent)
    : QWidget(parent), m_representedObject(std::move(operation)),
      m_headline(textLabel(16, true, Qt::white, this)),
      m_explanation(textLabel(13, false, Qt::white, this)),
      m_figures(textLabel(12, false, HWCStyleKit::secondaryTextColor(), this)),
      m_notRecorded(textLabel(11, false, HWCStyleKit::secondaryTextColor(), this)),
      m_exportReport(new HWCHoverButtonCell(tr("Export Report…"), this)),
      m_mark(new OutcomeMark(this))
{
    auto *text = new QVBoxLayout;
    text->setSpacing(4);
    text->addWidget(m_headline);
    text->addWidget(m_explanation);
    text->addWidget(m_figures);
    m_notRecorded->hide();
    text->addWidget(m_notRecorded);
    m_exportReport->setAccessibleName(m_exportReport->text());
    connect(m_exportReport, &QAbstractButton::clicked, this,
            &HWCCompletedViewController::exportReportRequested);
    text->addWidget(m_exportReport, 0, Qt::AlignLeft);
    text->addStretch(1);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(12);
    row->addWidget(m_mark, 0, Qt::AlignTop);
    row->addLayout(text, 1);

    // The panel may come before the operation has run (it waited in the queue); it follows
    // the operation to its end.
    const HWCOperationInfo *info = m_representedObject->info();
    connect(info, &HWCOperationInfo::stateStringChanged, this, &HWCCompletedViewController::refresh,
            Qt::QueuedConnection);
    connect(m_representedObject.get(), &HWCOperation::finishedChanged, this,
            &HWCCompletedViewController::refresh, Qt::QueuedConnection);
    refresh();
}

void HWCCompletedViewController::refresh()
{
    const HWCSourceOperation &operation = *m_representedObject;
    static_cast<OutcomeMark *>(m_mark)->setOutcome(HWCResultOutcome::of(operation));
    m_headline->setText(headline(operation));
    m_explanation->setText(explanation(operation) + historyText(operation));
    m_figures->setText(figures(operation));
    m_exportReport->setVisible(operation.isFinished());
    setAccessibleName(m_headline->text());
}

void HWCCompletedViewController::setNotRecorded(const QString &reason)
{
    m_notRecorded->setText(tr("This run could not be recorded in the history: %1").arg(reason));
    m_notRecorded->show();
}

HWCCompletedViewController *HWCCompletedViewController::of(QWidget *panel)
{
    if (auto *summary = qobject_cast<HWCCompletedViewController *>(panel))
        return summary;
    return panel ? panel->findChild<HWCCompletedViewController *>() : nullptr;
}

QString HWCCompletedViewController::headline(const HWCSourceOperation &operation)
{
    if (mhlNotWritten(operation))
        return tr("The MHL file could not be written.");
    if (operation.verifiedNothing())
        return tr("Nothing was verified.");
    switch (HWCResultOutcome::of(operation)) {
    case HWCResultOutcome::Cancelled:
        return tr("Cancelled.");
    case HWCResultOutcome::Failed:
        return operation.actionType() == HWCActionType::Create
                   ? tr("Created, but not every file could be read.")
                   : tr("Verification failed.");
    case HWCResultOutcome::Warnings:
        if (!operation.writtenList().writeError.isNull())
            return tr("Verified, but the history could not be recorded.");
        return operation.unusableLists().isEmpty() ? tr("Verified, with warnings.")
                                                   : tr("Verified, but an MHL could not be used.");
    default:
        return HWCResultOutcome::stateText(operation);
    }
}

QString HWCCompletedViewController::explanation(const HWCSourceOperation &operation)
{
    const quint64 amount = operation.fileAmount();
    const qsizetype problems =
        operation.filesWithState(HWCFileState::ReadSuccessfully, true).size();
    if (operation.actionType() == HWCActionType::Create) {
        const HWCSourceOperation::WrittenList written = operation.writtenList();
        if (mhlNotWritten(operation)) {
            const QString reason = written.writeError;
            return reason.isEmpty()
                       ? tr("The files were read, but no MHL was saved.")
                       : tr("The files were read, but no MHL was saved: %1").arg(reason);
        }
        if (operation.state() == HWCOperationState::Cancelled)
            return tr("Stopped before the end; no MHL was written.");
        return tr("%1 of %2 files are listed in the new MHL %3")
            .arg(amount - quint64(problems))
            .arg(amount)
            .arg(written.path);
    }
    switch (operation.state()) {
    case HWCOperationState::VerifiedOK:
        if (!operation.unusableLists().isEmpty()) {
            const QString lists = unusableListsText(operation);
            return operation.verifiedNothing()
                       ? tr("No MHL of the source could be used: %1.").arg(lists)
                       : tr("The %1 files listed in the other MHL files match, but these could "
                            "not be used: %2.")
                             .arg(amount)
                             .arg(lists);
        }
        if (operation.verifiedNothing())
            return tr("The MHL lists no file, so none was checked.");
        if (const qsizetype unlisted = operation.unlistedFiles().size(); unlisted > 0)
            return tr("All %1 listed files match their MHL, but %2 not listed in any MHL (shown "
                      "below).")
                .arg(amount)
                .arg(unlistedPhrase(unlisted));
        return tr("All %1 files were read and match their MHL.").arg(amount);
    case HWCOperationState::FinishedWithWarnings:
        if (const qsizetype unlisted = operation.unlistedFiles().size(); unlisted > 0)
            return tr("%1 of %2 files did not verify, and %3 not listed in any MHL; they are "
                      "listed below.")
                .arg(problems)
                .arg(amount)
                .arg(unlistedPhrase(unlisted));
        return tr("%1 of %2 files did not verify; they are listed below.")
            .arg(problems)
            .arg(amount);
    case HWCOperationState::Cancelled:
        if (problems > 0)
            return tr("Stopped before the end, after %1 of %2 files; %3 of them did not verify.")
                .arg(amount)
                .arg(operation.info()->filesTotal())
                .arg(problems);
        return tr("Stopped before the end, after %1 of %2 files; those read so far matched.")
            .arg(amount)
            .arg(operation.info()->filesTotal());
    case HWCOperationState::NoMHL:
        return tr("The source holds no MHL file, so there was nothing to verify it against.");
    default:
        return {};
    }
}

QString HWCCompletedViewController::historyText(const HWCSourceOperation &operation)
{
    if (operation.actionType() != HWCActionType::Verify)
        return {};
    const HWCSourceOperation::WrittenList sealed = operation.writtenList();
    QString text;
    // The generation's name says which one; the card's folder is shown above.
    QStringList generations;
    for (const QString &path : sealed.recorded)
        generations.append(QFileInfo(path).fileName());
    if (!generations.isEmpty())
        text +=
            QLatin1Char(' ') +
            tr("Recorded in the card's history: %1.").arg(generations.join(QStringLiteral(", ")));
    if (!sealed.notRecorded.isNull())
        text += QLatin1Char(' ') + tr("This verification could not be recorded in the card's "
                                      "history: %1.")
                                       .arg(sealed.notRecorded);
    if (const qsizetype added = sealed.recordedNew.size(); added > 0)
        text += QLatin1Char(' ') + tr("New since the last generation, recorded: %1.")
                                       .arg(added == 1 ? tr("1 file") : tr("%1 files").arg(added));
    if (!sealed.writeError.isNull())
        text += QLatin1Char(' ') + tr("History could not be recorded: %1.").arg(sealed.writeError);
    return text;
}

QString HWCCompletedViewController::figures(const HWCSourceOperation &operation)
{
    const quint64 bytes = operation.info()->bytesVerified();
    const double seconds = std::chrono::duration<double>(operation.runningTime()).count();
    QStringList parts{tr("%1 files").arg(operation.fileAmount()),
                      tr("%1 checked").arg(sizeText(bytes))};
    // A run too short to measure has no duration or speed worth telling.
    if (seconds < kShortestTold)
        return parts.join(QStringLiteral("  ·  "));
    parts << tr("took %1").arg(durationText(seconds));
    if (bytes > 0)
        parts << tr("%1/s on average").arg(sizeText(quint64(double(bytes) / seconds)));
    return parts.join(QStringLiteral("  ·  "));
}
