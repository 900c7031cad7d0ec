#pragma once

#include "engine/operations/HWCOperationController.h"
#include "ui/window/HWCViewController.h"

#include <QPointer>
#include <QVariantMap>
#include <memory>

class HWCRibbonView;
class HWCSource;
class HWCSourceCollectionViewController;

// The main window's content: one screen at a time, two only while one slides in over the
// other. It starts with an empty source collection; a source's action button hands the
// source to the operation controller and slides the operation list in from the right; when
// the list removes itself, a new, empty source collection slides back in from the left. A
// 38-by-38 ribbon in the bottom-right corner marks a pre-release build. A source that
// arrives while the operation list is shown (dropped on it, chosen with Ctrl+O, or opened
// from outside: "AppOpenedWithMHL") joins the list as a new operation once its scan has
// decided what to do with it. Main thread.
class HWCMainViewController : public HWCViewController {
    Q_OBJECT

public:
    static constexpr int kRibbonSide = 38;

    explicit HWCMainViewController(QWidget *parent = nullptr);

    // The application's one operation controller; not owned. Set again each time the
    // application becomes active.
    void setOperationController(HWCOperationController *controller);

    // The band in the corner of a pre-release build.
    HWCRibbonView *ribbonView() const { return m_ribbonView; }

    // The source collection while it is the screen shown or coming in, else null.
    HWCSourceCollectionViewController *sourceCollection() const;

    // Starts the source's action and shows the operation list.
    void handleNewSource(const std::shared_ptr<HWCSource> &source);
    // Makes a source of path and starts it when its scan has ended; an ordinary file that
    // is no list is refused (and logged).
    void addSourceWithPath(const QString &path);
    // The open panel of the screen shown.
    void browse();

    // A screen that removes itself while it is the only one is first replaced by a new
    // source collection, so the window never shows an empty content area.
    void removeChildViewController(QWidget *child) override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    HWCSourceCollectionViewController *makeSourceCollection();
    QWidget *makeOperationList();
    void appOpenedWithMHL(const QVariantMap &userInfo);
    void placeRibbon();

    QPointer<HWCOperationController> m_operationController;
    // Sources whose scan still runs; each leaves when it starts.
    QList<std::shared_ptr<HWCSource>> m_arrivingSources;
    HWCRibbonView *m_ribbonView;
    bool m_preRelease;
};
