#include "cli/HWCCompletionHook.h"

#include <QProcess>
#include <unistd.h>

namespace HWCCompletionHook {

QString run(const QString &command, const QByteArray &input)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.setChildProcessModifier([] { dup2(STDERR_FILENO, STDOUT_FILENO); });
    process.start(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), command});
    if (!process.waitForStarted(-1))
        return process.errorString();
    process.write(input);
    process.closeWriteChannel();
    // The command takes as long as it takes: posting to a tracker may wait on the network.
    process.waitForFinished(-1);
    if (process.exitStatus() != QProcess::NormalExit)
        return QStringLiteral("it was killed (%1)").arg(process.errorString());
    if (process.exitCode() != 0)
        return QStringLiteral("it exited with status %1").arg(process.exitCode());
    return {};
}

} // namespace HWCCompletionHook
