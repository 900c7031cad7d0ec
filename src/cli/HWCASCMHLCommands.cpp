#include "cli/HWCASCMHLCommands.h"

#include "cli/HWCExitCode.h"
#include "engine/ascmhl/HWCASCMHLDiff.h"
#include "engine/ascmhl/HWCASCMHLFlattener.h"
#include "engine/files/HWCFileNameAdditions.h"
#include "engine/files/HWCFileSystemAdditions.h"

#include <QFileInfo>
#include <cstdio>

namespace HWCASCMHLCommands {

namespace {

int fail(int exitCode, const QString &message)
{
    std::fprintf(stderr, "hashwarden: %s\n", qPrintable(hwc_displayedName(message)));
    return exitCode;
}

} // namespace

int flatten(const QString &source, const QString &out, const HWCASCMHLSettings &settings)
{
    HWCASCMHLFlattener flattener(QFileInfo(source).absoluteFilePath(), settings);
    if (!flattener.read())
        return fail(HWCExitCode::kUnusableSource, flattener.error());
    QString why;
    if (!hwc_writeFileAtomically(out, flattener.bytes(), &why))
        return fail(HWCExitCode::kCantCreate, QStringLiteral("%1: %2").arg(out, why));
    std::printf("Flatten %s: %lld files written to %s\n", qPrintable(hwc_displayedName(source)),
                static_cast<long long>(flattener.fileCount()), qPrintable(hwc_displayedName(out)));
    return HWCExitCode::kOK;
}

int diff(const QString &source)
{
    HWCASCMHLDiff difference(QFileInfo(source).absoluteFilePath());
    if (!difference.compare())
        return fail(HWCExitCode::kUnusableSource, difference.error());
    QString text = QStringLiteral("Diff %1: %2 missing, %3 new\n")
                       .arg(hwc_displayedName(source))
                       .arg(difference.missing().size())
                       .arg(difference.added().size());
    for (const QString &file : difference.missing())
        text += QStringLiteral("  Missing: /%1\n").arg(hwc_displayedName(file));
    for (const QString &file : difference.added())
        text += QStringLiteral("  New:     /%1\n").arg(hwc_displayedName(file));
    std::fputs(text.toUtf8().constData(), stdout);
    return difference.missing().isEmpty() && difference.added().isEmpty() ? HWCExitCode::kOK
                                                                          : HWCExitCode::kWarnings;
}

} // namespace HWCASCMHLCommands
