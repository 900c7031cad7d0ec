#pragma once

#include <QLayout>
#include <QList>

// Places items at their preferred sizes in rows, left to right, at least 20 pixels apart;
// the rows as a block are centred in the area, each row centred on its own. Main thread.
class HWCCollectionViewGridLayout : public QLayout {
    Q_OBJECT

public:
    static constexpr int kMinimumInteritemSpacing = 20;

    explicit HWCCollectionViewGridLayout(QWidget *parent = nullptr);
    ~HWCCollectionViewGridLayout() override;

    void addItem(QLayoutItem *item) override;
    int count() const override;
    QLayoutItem *itemAt(int index) const override;
    QLayoutItem *takeAt(int index) override;
    QSize sizeHint() const override;
    QSize minimumSize() const override;
    void setGeometry(const QRect &rect) override;

private:
    // Item indexes of each row for the given width.
    QList<QList<int>> rows(int width) const;
    QSize rowSize(const QList<int> &row) const;

    QList<QLayoutItem *> m_items;
};
