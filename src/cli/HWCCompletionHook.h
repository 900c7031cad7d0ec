#pragma once

#include <QByteArray>
#include <QString>

// --on-complete CMD: a production's own command, told of a run's result once it has ended.
namespace HWCCompletionHook {

// Runs command through /bin/sh -c with input on its standard input and its standard output
// sent to stderr (stdout belongs to the result), and waits for it to end. Returns why it
// failed (it could not start, was killed, or exited with a status other than 0), empty when
// it succeeded. Main thread.
QString run(const QString &command, const QByteArray &input);

} // namespace HWCCompletionHook
