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

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>

// Presses the button of that text in the question shown (window-modal) and returns the
// question's text; empty when no question is shown.
inline QString answerQuestion(const QString &button)
{
    auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
    if (!box)
        return {};
    const QString text = box->text();
    for (QAbstractButton *candidate : box->buttons()) {
        if (candidate->text() == button)
            candidate->click();
    }
    QApplication::processEvents();
    return text;
}
