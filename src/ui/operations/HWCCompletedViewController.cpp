#include "ui/operations/HWCCompletedViewController.h"

#include "engine/operations/HWCSourceOperation.h"
#include "engine/records/HWCOperationInfo.h"
#include "engine/records/HWIDiskSpaceToStringValueTransformer.h"
#include "ui/controls/HWIProgressIndicator.h"
#include "ui/drawing/HWCStyleKit.h"

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

// A success in the state alone: nothing was checked, or a list of the source was not used.
bool fellShort(const HWCSourceOperation &operation)
{
    return operation.verifiedNothing() || (operation.state() == HWCOperationState::VerifiedOK &&
                                           !operation.unusableLists().isEmpty());
}

QString unusableListsText(const HWCSourceOperation &operation)
{
    QStringList lists;
    for (const HWCSourceOperation::UnusableList &list : operation.unusableLists())
        lists << QStringLiteral("%1 %2").arg(QFileInfo(list.path).fileName(), list.reason);
    return lists.join(QStringLiteral("; "));
}

// The theme's colour with a sign in it.
class OutcomeMark : public QWidget {
public:
    explicit OutcomeMark(QWidget *parent) : QWidget(parent) { setFixedSize(28, 28); }

    void setTheme(quint64 theme)
    {
        m_theme = theme;
        // A sign as well as a colour, for those who cannot tell the colours apart.
        m_sign = theme == 2   ? QStringLiteral("✓")
                 : theme == 0 ? QStringLiteral("…")
                              : QStringLiteral("!");
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
        painter.setPen(Qt::white);
        painter.drawText(rect(), Qt::AlignCenter, m_sign);
    }

private:
    quint64 m_theme = 0;
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
      m_figures(textLabel(12, false, HWCStyleKit::hoverButtonTextColor(), this)),
      m_mark(new OutcomeMark(this))
{
    m_headline->setAccessibleName(tr("Outcome"));
    auto *text = new QVBoxLayout;
    text->setSpacing(4);
    text->addWidget(m_headline);
    text->addWidget(m_explanation);
    text->addWidget(m_figures);
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
    static_cast<OutcomeMark *>(m_mark)->setTheme(
        mhlNotWritten(operation) || fellShort(operation) ? 5 : operation.info()->theme());
    m_headline->setText(headline(operation));
    m_explanation->setText(explanation(operation) + historyText(operation));
    m_figures->setText(figures(operation));
    setAccessibleName(m_headline->text());
}

QString HWCCompletedViewController::headline(const HWCSourceOperation &operation)
{
    if (mhlNotWritten(operation))
        return tr("The MHL file could not be written.");
    if (operation.verifiedNothing())
        return tr("Nothing was verified.");
    if (fellShort(operation))
        return tr("Verified, but an MHL could not be used.");
    return operation.info()->stateString();
}

QString HWCCompletedViewController::explanation(const HWCSourceOperation &operation)
{
    const quint64 amount = operation.fileAmount();
    const qsizetype problems = operation.filesWithState(HWCFileState::ReadSuccessfully, true).size();
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
        return tr("All %1 files were read and match their MHL.").arg(amount);
    case HWCOperationState::FinishedWithWarnings:
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
    if (!sealed.recorded.isEmpty())
        text += QLatin1Char(' ') + tr("Recorded in the card's history: %1.")
                                       .arg(sealed.recorded.join(QStringLiteral(", ")));
    if (!sealed.notRecorded.isNull())
        text += QLatin1Char(' ') + tr("This verification could not be recorded in the card's "
                                      "history: %1.")
                                       .arg(sealed.notRecorded);
    if (!sealed.writeError.isNull())
        text += QLatin1Char(' ') +
                tr("The card's history could not be written: %1.").arg(sealed.writeError);
    return text;
}

QString HWCCompletedViewController::figures(const HWCSourceOperation &operation)
{
    const quint64 bytes = operation.info()->bytesVerified();
    const double seconds = std::chrono::duration<double>(operation.runningTime()).count();
    QStringList parts{tr("%1 files").arg(operation.fileAmount()),
                      tr("%1 checked").arg(sizeText(bytes)),
                      tr("took %1").arg(durationText(seconds))};
    if (seconds > 0 && bytes > 0)
        parts << tr("%1/s on average").arg(sizeText(quint64(double(bytes) / seconds)));
    return parts.join(QStringLiteral("  ·  "));
}
