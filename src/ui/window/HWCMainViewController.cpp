#include "ui/window/HWCMainViewController.h"

#include "engine/operations/HWCOperationController.h"
#include "engine/operations/HWCSource.h"
#include "engine/session/HWCLog.h"
#include "engine/session/HWCNotificationCenter.h"
#include "engine/session/HWCSession.h"
#include "ui/drawing/HWCRibbonView.h"
#include "ui/drawing/HWCStyleKit.h"
#include "ui/operations/HWCOperationViewController.h"
#include "ui/sources/HWCSourceCollectionViewController.h"
#include "ui/window/HWCScreenFactory.h"

#include <QPainter>

HWCMainViewController::HWCMainViewController(QWidget *parent)
    : HWCViewController(parent), m_ribbonView(new HWCRibbonView(this)),
      m_preRelease(HWCSession::sharedSession().isPreRelease())
{
    setAccessibleName(tr("Main view"));
    QWidget *sources = makeSourceCollection();
    addChildViewController(sources);
    addConstraintsToChildViewController(sources);
    m_ribbonView->setVisible(m_preRelease);
    placeRibbon();
    connect(&HWCNotificationCenter::defaultCenter(), &HWCNotificationCenter::posted, this,
            [this](const QString &name, const QVariantMap &userInfo) {
                if (name == QLatin1String(kHWCAppOpenedWithMHLNotification))
                    appOpenedWithMHL(userInfo);
            });
}

void HWCMainViewController::appOpenedWithMHL(const QVariantMap &userInfo)
{
    // The source collection takes it while it is shown.
    if (!sourceCollection())
        addSourceWithPath(userInfo.value(QLatin1String(kHWCFilenameKey)).toString());
}

void HWCMainViewController::addSourceWithPath(const QString &path)
{
    std::shared_ptr<HWCSource> source = HWCSource::initWithPath(path);
    if (!source) {
        HWCLogWarning(
            QStringLiteral("Can't verify or list %1: it is neither a folder nor an MHL").arg(path));
        return;
    }
    m_arrivingSources.append(source);
    connect(source.get(), &HWCSource::actionTypeChanged, this,
            [this, arriving = std::weak_ptr<HWCSource>(source)] {
                const std::shared_ptr<HWCSource> scanned = arriving.lock();
                if (scanned && m_arrivingSources.removeOne(scanned))
                    handleNewSource(scanned);
            });
}

void HWCMainViewController::browse()
{
    if (HWCSourceCollectionViewController *sources = sourceCollection())
        sources->browsePressed();
    else if (auto *list = qobject_cast<HWCOperationViewController *>(
                 childViewControllers().value(childViewControllers().size() - 1)))
        list->browse();
}

void HWCMainViewController::setOperationController(HWCOperationController *controller)
{
    m_operationController = controller;
}

HWCSourceCollectionViewController *HWCMainViewController::sourceCollection() const
{
    const QList<QWidget *> children = childViewControllers();
    return children.isEmpty() ? nullptr
                              : qobject_cast<HWCSourceCollectionViewController *>(children.last());
}

HWCSourceCollectionViewController *HWCMainViewController::makeSourceCollection()
{
    auto *sources = static_cast<HWCSourceCollectionViewController *>(
        HWCScreenFactory::instantiateControllerWithIdentifier(
            QStringLiteral("SourceCollectionViewController")));
    sources->setActionReceivedBlock(
        [this](const std::shared_ptr<HWCSource> &source) { handleNewSource(source); });
    return sources;
}

QWidget *HWCMainViewController::makeOperationList()
{
    auto *list = static_cast<HWCOperationViewController *>(
        HWCScreenFactory::instantiateControllerWithIdentifier(
            QStringLiteral("OperationViewController"), {m_operationController, nullptr}));
    connect(list, &HWCOperationViewController::sourceArrived, this,
            &HWCMainViewController::addSourceWithPath);
    return list;
}

void HWCMainViewController::handleNewSource(const std::shared_ptr<HWCSource> &source)
{
    if (!m_operationController) {
        HWCLogError(QStringLiteral("No operation controller for the new source"));
        return;
    }
    m_operationController->addDisk(source);
    QWidget *old = childViewControllers().value(childViewControllers().size() - 1);
    // The list already coming in shows every operation of the controller, this one too.
    if (qobject_cast<HWCOperationViewController *>(old))
        return;
    QWidget *list = makeOperationList();
    addChildViewController(list);
    m_ribbonView->raise();
    if (!old) {
        addConstraintsToChildViewController(list);
        return;
    }
    transitionFromViewController(
        old, list, HWCViewTransitionCrossfade | HWCViewTransitionSlideLeft,
        [this, old = QPointer<QWidget>(old), list = QPointer<QWidget>(list)] {
            // The list may have left during the slide (its operations all removed): then
            // the collection stays.
            if (!childViewControllers().contains(list)) {
                if (old)
                    addConstraintsToChildViewController(old);
                return;
            }
            if (old)
                removeChildViewController(old);
            addConstraintsToChildViewController(list);
            // The keyboard follows the screen that came in.
            focusFirstControl(list);
        });
}

void HWCMainViewController::removeChildViewController(QWidget *child)
{
    if (childViewControllers().size() >= 2 || !childViewControllers().contains(child)) {
        HWCViewController::removeChildViewController(child);
        return;
    }
    HWCSourceCollectionViewController *sources = makeSourceCollection();
    addChildViewController(sources);
    m_ribbonView->raise();
    transitionFromViewController(
        child, sources, HWCViewTransitionCrossfade | HWCViewTransitionSlideRight,
        [this, child = QPointer<QWidget>(child), sources = QPointer<QWidget>(sources)] {
            if (child)
                HWCViewController::removeChildViewController(child);
            if (sources) {
                addConstraintsToChildViewController(sources);
                focusFirstControl(sources);
            }
        });
}

void HWCMainViewController::paintEvent(QPaintEvent *)
{
    // Screens fade over the same grey as their own, never over the dark frame behind.
    QPainter painter(this);
    HWCStyleKit::drawBackgroundViewWithFrame(painter, rect());
}

void HWCMainViewController::resizeEvent(QResizeEvent *event)
{
    HWCViewController::resizeEvent(event);
    placeRibbon();
}

void HWCMainViewController::placeRibbon()
{
    // Pinned to the bottom-right corner at its own size, above every screen.
    m_ribbonView->setGeometry(width() - kRibbonSide, height() - kRibbonSide, kRibbonSide,
                              kRibbonSide);
    m_ribbonView->raise();
}
