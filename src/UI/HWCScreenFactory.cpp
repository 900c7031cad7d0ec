#include "UI/HWCScreenFactory.h"

#include "Classes/HWCLog.h"
#include "UI/HWCCompletedViewController.h"
#include "UI/HWCCompletedWarningsViewController.h"
#include "UI/HWCOperationViewController.h"
#include "UI/HWCSourceCollectionViewController.h"

#include <functional>
#include <map>

namespace {

using Maker = std::function<QWidget *(const HWCScreenArguments &)>;

const std::map<QString, Maker> &makers()
{
    static const std::map<QString, Maker> makers{
        {QStringLiteral("SourceCollectionViewController"),
         [](const HWCScreenArguments &) { return new HWCSourceCollectionViewController; }},
        {QStringLiteral("OperationViewController"),
         [](const HWCScreenArguments &arguments) -> QWidget * {
             if (!arguments.operationController)
                 return nullptr;
             return new HWCOperationViewController(arguments.operationController);
         }},
        {QStringLiteral("CompletedViewController"),
         [](const HWCScreenArguments &arguments) -> QWidget * {
             if (!arguments.operation)
                 return nullptr;
             return new HWCCompletedViewController(arguments.operation);
         }},
        {QStringLiteral("CompletedWarningsViewController"),
         [](const HWCScreenArguments &arguments) -> QWidget * {
             if (!arguments.operation)
                 return nullptr;
             return new HWCCompletedWarningsViewController(arguments.operation);
         }},
    };
    return makers;
}

} // namespace

QWidget *HWCScreenFactory::instantiateControllerWithIdentifier(const QString &identifier,
                                                               const HWCScreenArguments &arguments)
{
    const auto found = makers().find(identifier);
    QWidget *screen = found == makers().end() ? nullptr : found->second(arguments);
    if (!screen)
        HWCLogError(QStringLiteral("Cannot make the screen %1").arg(identifier));
    return screen;
}
