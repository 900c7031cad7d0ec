#pragma once

class QAccessibleInterface;
class QString;
class QObject;

// The accessible roles of the drawn controls, which Qt cannot tell from their base class:
// the progress bar (HWIProgressIndicator) is a progress bar with its value from 0 to 100,
// the frameless main window (HWCMainWindow) a frame. Main thread.
namespace HWCAccessibleFactory {

// Installs the factory once; later calls do nothing.
void install();

QAccessibleInterface *interfaceFor(const QString &className, QObject *object);

} // namespace HWCAccessibleFactory
