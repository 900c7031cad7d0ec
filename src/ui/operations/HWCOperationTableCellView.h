#pragma once

#include <QIcon>
#include <QList>
#include <QTimer>
#include <QWidget>
#include <memory>

class HWCSourceOperation;
class HWIProgressIndicator;
class QAbstractButton;
class QFrame;
class QLabel;
class QToolButton;

// One row of the operation list: the source's icon and name, and while the operation runs
// the themed bar, the state text (the file being read), the counts with speed and time
// left, and a cancel button. Once the operation has stopped, the list places a result
// panel in completedView(). Progress, theme and finished notices are re-posted to the main
// thread and dropped when the row shows another operation by the time they arrive; the
// texts are refreshed a few times a second, so a fast run never floods the painting.
// Escape anywhere in a running row asks whether to cancel its operation. Main thread.
class HWCOperationTableCellView : public QWidget {
    Q_OBJECT

public:
    explicit HWCOperationTableCellView(QWidget *parent = nullptr);
    ~HWCOperationTableCellView() override;

    const std::shared_ptr<HWCSourceOperation> &objectValue() const { return m_objectValue; }
    // Stops observing the former operation, empties the result panel when the operation
    // changes, and observes the new one (its current values are shown at once).
    void setObjectValue(std::shared_ptr<HWCSourceOperation> operation);
    void setImage(const QIcon &image);

    // Both are safe to call twice.
    void startObserving();
    void stopObserving();
    bool isObserving() const { return m_observing; }

    QWidget *completedView() const { return m_completedView; }
    QAbstractButton *cancelButton() const;
    QLabel *progressLabel() const { return m_progressLabel; }
    QLabel *countsLabel() const { return m_countsLabel; }
    HWIProgressIndicator *progressIndicator() const { return m_progressIndicator; }

    // "1.2 GB of 3.4 GB" and, for a verification, the files; then the speed and the time
    // left once they can be measured.
    static QString countsText(const HWCSourceOperation &operation);

    // Asks whether to cancel the running operation (Escape).
    void askToCancel();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void buildRunningControls();
    void observeValue(const HWCSourceOperation *sender, const char *keyPath);
    void refreshTexts();
    void refreshCancelImages();

    std::shared_ptr<HWCSourceOperation> m_objectValue;
    bool m_observing = false;
    QList<QMetaObject::Connection> m_observations;
    QTimer m_textTimer;

    QLabel *m_imageView;
    QLabel *m_nameLabel;
    QLabel *m_pathLabel;
    QWidget *m_verifyingView;
    HWIProgressIndicator *m_progressIndicator;
    QToolButton *m_cancelButton;
    QLabel *m_progressLabel;
    QLabel *m_countsLabel;
    QWidget *m_completedView;
    QFrame *m_dividingLine;
};
