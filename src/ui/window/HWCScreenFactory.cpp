#include "ui/window/HWCScreenFactory.h"

#include "engine/session/HWCLog.h"
#include "ui/operations/HWCCompletedViewController.h"
#include "ui/operations/HWCCompletedWarningsViewController.h"
#include "ui/operations/HWCOperationViewController.h"
#include "ui/sources/HWCSourceCollectionViewController.h"

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
