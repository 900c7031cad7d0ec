#pragma once

#include <QPoint>
#include <QPointer>
#include <QWidget>
#include <memory>

class HWCSource;
class HWCSourceCollectionView;
class HWCSourceCollectionViewController;
class QAbstractButton;
class QLabel;

// The card of one source: its icon at 90 by 90, its name, its size ("Calculating..." until
// the scan ends) and the action button, which stays hidden until the scan has ended and is
// then titled by the action. A drag may start from the card; it is handed to the collection
// view that holds it. Only the source it represents now can change what it shows. Main thread.
class HWCDiskCollectionViewItem : public QWidget {
    Q_OBJECT

public:
    static constexpr int kIconSide = 90;

    explicit HWCDiskCollectionViewItem(QWidget *parent = nullptr);

    HWCSourceCollectionViewController *controller() const;
    void setController(HWCSourceCollectionViewController *controller);
    // The view that starts drags and forwards the button's action.
    void setCollectionView(HWCSourceCollectionView *view);

    const std::shared_ptr<HWCSource> &representedObject() const { return m_source; }
    void setRepresentedObject(std::shared_ptr<HWCSource> source);

    QAbstractButton *button() const { return m_button; }
    QLabel *imageView() const { return m_imageView; }
    QLabel *textField() const { return m_textField; }
    QLabel *subTextField() const { return m_subTextField; }

    // Drawn inverted on purpose: a highlighted card loses its border.
    void setHighlighted(bool highlighted);
    int borderWidth() const { return m_highlighted ? 0 : 5; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void showUsedSpace();
    void showActionType();
    void updateAccessibleText();

    QPointer<HWCSourceCollectionViewController> m_controller;
    QPointer<HWCSourceCollectionView> m_collectionView;
    std::shared_ptr<HWCSource> m_source;
    QLabel *m_imageView;
    QLabel *m_textField;
    QLabel *m_subTextField;
    QAbstractButton *m_button;
    QString m_name;
    QPoint m_pressPosition;
    bool m_pressed = false;
    bool m_highlighted = false;
};
