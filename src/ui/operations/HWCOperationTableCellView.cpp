#include "ui/operations/HWCOperationTableCellView.h"

#include "engine/files/HWCPathAdditions.h"
#include "engine/operations/HWCSource.h"
#include "engine/operations/HWCSourceOperation.h"
#include "engine/records/HWCActionTypeToStringValueTransformer.h"
#include "engine/records/HWCOperationInfo.h"
#include "engine/records/HWCStringAdditions.h"
#include "engine/records/HWIDiskSpaceToStringValueTransformer.h"
#include "ui/controls/HWIProgressIndicator.h"
#include "ui/drawing/HWCStyleKit.h"
#include "ui/operations/HWCCompletedViewController.h"
#include "ui/operations/HWCResultOutcome.h"
#include "ui/operations/HWCStopConfirmation.h"

#include <QBoxLayout>
#include <QFrame>
#include <QLabel>
#include <QPainter>
#include <QShortcut>
#include <QToolButton>

namespace {

constexpr int kTextRefreshIntervalMs = 200;
constexpr int kIconSize = 40;
constexpr int kCancelSize = 18;

QString sizeText(quint64 bytes)
{
    return HWIDiskSpaceToStringValueTransformer::transformedValue(qint64(bytes));
}

QLabel *label(int pixelSize, const QColor &color, QWidget *parent)
{
    auto *text = new QLabel(parent);
    QFont font = text->font();
    font.setPixelSize(pixelSize);
    text->setFont(font);
    QPalette palette = text->palette();
    palette.setColor(QPalette::WindowText, color);
    text->setPalette(palette);
    // Ignored width: a new text never asks the row for a new layout.
    text->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    text->setTextInteractionFlags(Qt::NoTextInteraction);
    return text;
}

} // namespace

HWCOperationTableCellView::HWCOperationTableCellView(QWidget *parent)
    : QWidget(parent), m_imageView(new QLabel(this)), m_nameLabel(label(17, Qt::white, this)),
      m_pathLabel(label(12, HWCStyleKit::secondaryTextColor(), this)),
      m_verifyingView(new QWidget(this)), m_progressIndicator(nullptr), m_cancelButton(nullptr),
      m_progressLabel(nullptr), m_countsLabel(nullptr), m_completedView(new QWidget(this)),
      m_dividingLine(new QFrame(this))
{
    m_imageView->setFixedSize(kIconSize, kIconSize);
    buildRunningControls();

    m_dividingLine->setFixedHeight(1);
    m_dividingLine->setAutoFillBackground(true);
    QPalette line = m_dividingLine->palette();
    line.setColor(QPalette::Window, HWCStyleKit::backgroundColorSlightlyLighter());
    m_dividingLine->setPalette(line);

    auto *names = new QVBoxLayout;
    names->setSpacing(2);
    names->addWidget(m_nameLabel);
    names->addWidget(m_pathLabel);
    auto *header = new QHBoxLayout;
    header->setSpacing(12);
    header->addWidget(m_imageView);
    header->addLayout(names, 1);

    m_completedView->setLayout(new QVBoxLayout);
    m_completedView->layout()->setContentsMargins(0, 0, 0, 0);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(24, 14, 24, 0);
    column->setSpacing(10);
    column->addLayout(header);
    column->addWidget(m_verifyingView);
    column->addWidget(m_completedView, 1);
    column->addWidget(m_dividingLine);

    setFocusPolicy(Qt::StrongFocus);
    auto *escape = new QShortcut(Qt::Key_Escape, this);
    escape->setContext(Qt::WidgetWithChildrenShortcut);
    connect(escape, &QShortcut::activated, this, &HWCOperationTableCellView::askToCancel);

    m_textTimer.setInterval(kTextRefreshIntervalMs);
    connect(&m_textTimer, &QTimer::timeout, this, &HWCOperationTableCellView::refreshTexts);
}

HWCOperationTableCellView::~HWCOperationTableCellView()
{
    if (m_observing)
        stopObserving();
}

void HWCOperationTableCellView::buildRunningControls()
{
    m_progressIndicator = new HWIProgressIndicator(m_verifyingView);
    m_progressIndicator->setFixedHeight(12);
    m_cancelButton = new QToolButton(m_verifyingView);
    m_cancelButton->setFixedSize(kCancelSize, kCancelSize);
    m_cancelButton->setAutoRaise(true);
    m_cancelButton->setFocusPolicy(Qt::StrongFocus);
    m_cancelButton->setAccessibleName(tr("Cancel"));
    m_cancelButton->setToolTip(tr("Cancel"));
    m_cancelButton->setStyleSheet(
        QStringLiteral("QToolButton{border:none;background:none}"
                       "QToolButton:focus{border:2px solid %1;border-radius:4px}")
            .arg(HWCStyleKit::focusRingColor().name()));
    connect(m_cancelButton, &QToolButton::pressed, this,
            &HWCOperationTableCellView::refreshCancelImages);
    connect(m_cancelButton, &QToolButton::released, this,
            &HWCOperationTableCellView::refreshCancelImages);
    connect(m_cancelButton, &QToolButton::clicked, this, [this] {
        if (m_objectValue)
            m_objectValue->cancel();
    });
    m_progressLabel = label(13, Qt::white, m_verifyingView);
    m_countsLabel = label(12, HWCStyleKit::secondaryTextColor(), m_verifyingView);

    auto *bar = new QHBoxLayout;
    bar->setSpacing(10);
    bar->addWidget(m_progressIndicator, 1);
    bar->addWidget(m_cancelButton);
    auto *running = new QVBoxLayout(m_verifyingView);
    running->setContentsMargins(0, 0, 0, 0);
    running->setSpacing(6);
    running->addLayout(bar);
    running->addWidget(m_progressLabel);
    running->addWidget(m_countsLabel);
    refreshCancelImages();
}

QAbstractButton *HWCOperationTableCellView::cancelButton() const
{
    return m_cancelButton;
}

void HWCOperationTableCellView::setObjectValue(std::shared_ptr<HWCSourceOperation> operation)
{
    if (m_observing && m_objectValue)
        stopObserving();
    if (operation != m_objectValue)
        qDeleteAll(m_completedView->findChildren<QWidget *>(Qt::FindDirectChildrenOnly));
    m_objectValue = std::move(operation);
    m_cancelButton->setVisible(true);
    m_progressLabel->setVisible(true);
    m_progressIndicator->setSubDoubleValue(0);
    if (m_objectValue)
        startObserving();
}

void HWCOperationTableCellView::setImage(const QIcon &image)
{
    // Without an icon theme there may be no icon; the name then starts at the edge.
    m_imageView->setVisible(!image.isNull());
    m_imageView->setPixmap(image.pixmap(kIconSize, kIconSize));
}

void HWCOperationTableCellView::startObserving()
{
    if (m_observing || !m_objectValue)
        return;
    HWCSourceOperation *operation = m_objectValue.get();
    const HWCOperationInfo *info = operation->info();
    // Queued: the finished flag changes on a worker thread, and every notice is handled on
    // the main thread after the row has had the chance to change its operation.
    const auto post = [this, operation](const char *keyPath) {
        return [this, operation, keyPath] { observeValue(operation, keyPath); };
    };
    m_observations = {
        connect(info, &HWCOperationInfo::progressChanged, this, post("info.progress"),
                Qt::QueuedConnection),
        connect(info, &HWCOperationInfo::themeChanged, this, post("info.theme"),
                Qt::QueuedConnection),
        connect(operation, &HWCOperation::finishedChanged, this, post("isFinished"),
                Qt::QueuedConnection),
    };
    m_observing = true;
    for (const char *keyPath : {"info.progress", "info.theme", "isFinished"})
        observeValue(operation, keyPath);
    m_nameLabel->setText(hwc_lastPathComponent(info->path()));
    m_pathLabel->setText(QStringLiteral("%1 · %2").arg(
        HWCActionTypeToStringValueTransformer::transformedValue(hwc_code(operation->actionType())),
        info->path()));
    setAccessibleName(m_nameLabel->text());
    refreshTexts();
    if (!operation->isFinished())
        m_textTimer.start();
}

void HWCOperationTableCellView::stopObserving()
{
    if (!m_observing)
        return;
    for (const QMetaObject::Connection &observation : std::as_const(m_observations))
        disconnect(observation);
    m_observations.clear();
    m_textTimer.stop();
    m_observing = false;
}

void HWCOperationTableCellView::observeValue(const HWCSourceOperation *sender, const char *keyPath)
{
    if (sender != m_objectValue.get())
        return;
    const QByteArrayView key(keyPath);
    if (key == "info.progress") {
        m_progressIndicator->setSubDoubleValue(sender->info()->progressValue());
    } else if (key == "info.theme" && !sender->isFinished()) {
        m_progressIndicator->setTheme(sender->info()->theme());
    } else if (key == "isFinished" && sender->isFinished()) {
        // The bar tells the outcome: its colour, and full unless the run was cut short.
        const HWCResultOutcome::Outcome outcome = HWCResultOutcome::of(*sender);
        m_progressIndicator->setTheme(HWCResultOutcome::theme(outcome));
        if (outcome != HWCResultOutcome::Cancelled)
            m_progressIndicator->setSubDoubleValue(100.0);
        m_cancelButton->setVisible(false);
        m_progressLabel->setVisible(false);
        m_textTimer.stop();
        refreshTexts();
    }
}

QString HWCOperationTableCellView::countsText(const HWCSourceOperation &operation)
{
    const HWCOperationInfo *info = operation.info();
    const quint64 done = info->bytesVerified();
    const quint64 total = info->bytesTotal();
    QStringList parts;
    // Every file whose outcome is known, missing ones too, so that a run that ended by
    // itself says "6 of 6 files" on its full bar.
    if (operation.actionType() == HWCActionType::Verify)
        parts << tr("%1 of %2 files").arg(info->filesDone()).arg(info->filesTotal());
    if (operation.isFinished())
        parts << tr("%1 read").arg(sizeText(done));
    else
        parts << tr("%1 of %2").arg(sizeText(done), sizeText(total));
    const double seconds = std::chrono::duration<double>(operation.runningTime()).count();
    if (operation.isExecuting() && seconds > 0 && done > 0) {
        const double rate = double(done) / seconds;
        parts << tr("%1/s").arg(sizeText(quint64(rate)));
        if (total > done)
            parts << tr("%1 left").arg(hwc_clockDurationString(double(total - done) / rate));
    }
    return parts.join(QStringLiteral("  ·  "));
}

void HWCOperationTableCellView::refreshTexts()
{
    if (!m_objectValue)
        return;
    // Once finished, the row speaks its outcome as the result panel words it; while it waits
    // for another source on its device, says for which.
    const std::shared_ptr<HWCSource> &waitingFor = m_objectValue->waitingFor();
    const QString state =
        m_objectValue->isFinished() ? HWCCompletedViewController::headline(*m_objectValue)
        : waitingFor ? tr("Waiting for %1").arg(hwc_lastPathComponent(waitingFor->path()))
                     : HWCResultOutcome::stateText(*m_objectValue);
    m_progressLabel->setText(state);
    m_countsLabel->setText(countsText(*m_objectValue));
    setAccessibleDescription(state);
}

void HWCOperationTableCellView::refreshCancelImages()
{
    const QColor &color = m_cancelButton->isDown()
                              ? HWCStyleKit::uIButtonBackgroundColorHighlighted()
                              : HWCStyleKit::uIButtonBackgroundColor();
    m_cancelButton->setIcon(HWCStyleKit::imageOfIconCancelWithSize(m_cancelButton->size(), color));
    m_cancelButton->setIconSize(m_cancelButton->size());
}

void HWCOperationTableCellView::askToCancel()
{
    if (!m_objectValue || m_objectValue->isFinished())
        return;
    HWCStopConfirmation::confirm(this, {m_objectValue},
                                 [operation = m_objectValue] { operation->cancel(); });
}

void HWCOperationTableCellView::paintEvent(QPaintEvent *event)
{
    QWidget::paintEvent(event);
    if (!hasFocus())
        return;
    QPainter painter(this);
    painter.setPen(QPen(HWCStyleKit::focusRingColor(), 2));
    painter.drawRect(rect().adjusted(1, 1, -1, -1));
}

void HWCOperationTableCellView::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    refreshCancelImages();
}
