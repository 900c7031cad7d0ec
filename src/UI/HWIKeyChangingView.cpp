#include "UI/HWIKeyChangingView.h"

#include <QGuiApplication>
#include <QWindow>

HWIKeyChangingView::HWIKeyChangingView(QWidget *parent) : QWidget(parent)
{
    // The connection ends with this widget.
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, qOverload<>(&QWidget::update));
}
