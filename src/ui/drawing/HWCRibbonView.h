#pragma once

#include <QWidget>

// The corner ribbon of a pre-release build: "Alpha" or "Beta" by the session's release
// type, nothing for a release. Lets clicks through to what lies under it. Main thread.
class HWCRibbonView : public QWidget {
    Q_OBJECT

public:
    explicit HWCRibbonView(QWidget *parent = nullptr);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
};
