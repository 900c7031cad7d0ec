// Scans DIR as a source does in the application and prints files, bytes and the wall time
// from making the source to its usedSpace notice. Usage: source_scan DIR
#include "engine/operations/HWCSource.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <cstdio>

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (argc != 2) {
        fprintf(stderr, "usage: %s DIR\n", argv[0]);
        return 2;
    }
    QElapsedTimer timer;
    timer.start();
    const auto source = HWCSource::initWithPath(QString::fromLocal8Bit(argv[1]));
    if (!source)
        return 1;
    QObject::connect(source.get(), &HWCSource::usedSpaceChanged, &application, [&] {
        printf("%lld files %lld bytes %.3f s\n", static_cast<long long>(source->fileTotal()),
               static_cast<long long>(source->usedSpace()), timer.nsecsElapsed() / 1e9);
        QCoreApplication::quit();
    });
    return application.exec();
}
