#pragma once

#include <QString>
#include <QWidget>
#include <memory>

class HWCOperationController;
class HWCSourceOperation;

// What a screen may be made with: the operation list takes the controller, the result
// panels take their operation; the source collection takes nothing.
struct HWCScreenArguments {
    HWCOperationController *operationController = nullptr;
    std::shared_ptr<HWCSourceOperation> operation;
};

// Makes the screens by their identifiers: "SourceCollectionViewController",
// "OperationViewController", "CompletedViewController" and
// "CompletedWarningsViewController". Main thread.
namespace HWCScreenFactory {

// A new, unparented screen; null for an unknown identifier or when the arguments it needs
// are missing (logged as an error).
QWidget *instantiateControllerWithIdentifier(const QString &identifier,
                                             const HWCScreenArguments &arguments = {});

} // namespace HWCScreenFactory
