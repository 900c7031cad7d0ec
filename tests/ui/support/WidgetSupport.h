#pragma once

#include <QImage>
#include <QWidget>

// The widget and its children painted on a transparent image of the widget's size.
inline QImage rendered(QWidget &widget)
{
    QImage image(widget.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    widget.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}
