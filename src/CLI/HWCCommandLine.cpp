#include "CLI/HWCCommandLine.h"

#include "HWCBuildInfo.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>

namespace HWCCommandLine {

int run(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QString::fromUtf8(HWCBuildInfo::kExecutableName));
    QCoreApplication::setApplicationVersion(QString::fromUtf8(HWCBuildInfo::kShortVersion));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Proves that copied media is intact."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("command"),
                                 QStringLiteral("verify SOURCE..., create SOURCE... or info MHL"));
    parser.process(app);
    std::fputs(qPrintable(parser.helpText()), stdout);
    return 0;
}

} // namespace HWCCommandLine
