#include "ui/sources/HWCCollectionViewGridLayout.h"

#include <QWidget>

HWCCollectionViewGridLayout::HWCCollectionViewGridLayout(QWidget *parent) : QLayout(parent)
{
    setSpacing(kMinimumInteritemSpacing);
    setContentsMargins(kMinimumInteritemSpacing, kMinimumInteritemSpacing, kMinimumInteritemSpacing,
                       kMinimumInteritemSpacing);
}

HWCCollectionViewGridLayout::~HWCCollectionViewGridLayout()
{
    qDeleteAll(m_items);
}

void HWCCollectionViewGridLayout::addItem(QLayoutItem *item)
{
    m_items.append(item);
}

int HWCCollectionViewGridLayout::count() const
{
    return int(m_items.size());
}

QLayoutItem *HWCCollectionViewGridLayout::itemAt(int index) const
{
    return m_items.value(index);
}

QLayoutItem *HWCCollectionViewGridLayout::takeAt(int index)
{
    if (index < 0 || index >= m_items.size())
        return nullptr;
    return m_items.takeAt(index);
}

QSize HWCCollectionViewGridLayout::sizeHint() const
{
    return minimumSize();
}

QSize HWCCollectionViewGridLayout::minimumSize() const
{
    QSize size;
    for (const QLayoutItem *item : m_items)
        size = size.expandedTo(item->sizeHint());
    const QMargins margins = contentsMargins();
    return size + QSize(margins.left() + margins.right(), margins.top() + margins.bottom());
}

QList<QList<int>> HWCCollectionViewGridLayout::rows(int width) const
{
    QList<QList<int>> result;
    int used = 0;
    for (int index = 0; index < m_items.size(); ++index) {
        const int itemWidth = m_items[index]->sizeHint().width();
        if (result.isEmpty() || used + spacing() + itemWidth > width) {
            result.append(QList<int>());
            used = -spacing();
        }
        result.last().append(index);
        used += spacing() + itemWidth;
    }
    return result;
}

QSize HWCCollectionViewGridLayout::rowSize(const QList<int> &row) const
{
    QSize size(spacing() * (int(row.size()) - 1), 0);
    for (int index : row) {
        const QSize item = m_items[index]->sizeHint();
        size = QSize(size.width() + item.width(), std::max(size.height(), item.height()));
    }
    return size;
}

void HWCCollectionViewGridLayout::setGeometry(const QRect &rect)
{
    QLayout::setGeometry(rect);
    const QRect area = rect.marginsRemoved(contentsMargins());
    const QList<QList<int>> grid = rows(area.width());
    int blockHeight = -spacing();
    for (const QList<int> &row : grid)
        blockHeight += rowSize(row).height() + spacing();
    int y = area.top() + std::max(0, (area.height() - blockHeight) / 2);
    for (const QList<int> &row : grid) {
        const QSize size = rowSize(row);
        int x = area.left() + std::max(0, (area.width() - size.width()) / 2);
        for (int index : row) {
            const QSize item = m_items[index]->sizeHint();
            m_items[index]->setGeometry(QRect(QPoint(x, y), item));
            x += item.width() + spacing();
        }
        y += size.height() + spacing();
    }
}
