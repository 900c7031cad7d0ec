#include "ui/controls/HWCAccessibleFactory.h"

#include "ui/controls/HWIProgressIndicator.h"

#include <QAccessibleWidget>

namespace {

class AccessibleProgressIndicator : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit AccessibleProgressIndicator(HWIProgressIndicator *bar)
        : QAccessibleWidget(bar, QAccessible::ProgressBar)
    {
    }

    void *interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ValueInterface ? static_cast<QAccessibleValueInterface *>(this)
                                                   : QAccessibleWidget::interface_cast(type);
    }

    QVariant currentValue() const override { return bar()->shownValue(); }
    void setCurrentValue(const QVariant &) override {}
    QVariant maximumValue() const override { return 100.0; }
    QVariant minimumValue() const override { return 0.0; }
    QVariant minimumStepSize() const override { return 1.0; }

private:
    HWIProgressIndicator *bar() const { return static_cast<HWIProgressIndicator *>(widget()); }
};

QAccessibleInterface *factory(const QString &className, QObject *object)
{
    return HWCAccessibleFactory::interfaceFor(className, object);
}

} // namespace

void HWCAccessibleFactory::install()
{
    static const bool installed = [] {
        QAccessible::installFactory(factory);
        return true;
    }();
    Q_UNUSED(installed);
}

QAccessibleInterface *HWCAccessibleFactory::interfaceFor(const QString &className, QObject *object)
{
    if (className == QLatin1String("HWIProgressIndicator"))
        return new AccessibleProgressIndicator(static_cast<HWIProgressIndicator *>(object));
    if (className == QLatin1String("HWCMainWindow"))
        return new QAccessibleWidget(static_cast<QWidget *>(object), QAccessible::Window);
    return nullptr;
}
