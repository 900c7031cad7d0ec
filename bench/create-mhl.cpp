// Creates an MHL for a folder the way the application does (scan, then the creation
// operation on a worker thread) and prints the outcome: create-mhl FOLDER

#include "Classes/HWCMHLCreateOperation.h"
#include "Classes/HWCOperationInfo.h"
#include "Classes/HWCSource.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <cstdio>
#include <thread>

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    std::shared_ptr<HWCSource> source = HWCSource::initWithPath(QString::fromLocal8Bit(argv[1]));
    QEventLoop scan;
    QObject::connect(source.get(), &HWCSource::actionTypeChanged, &scan, &QEventLoop::quit);
    scan.exec();

    HWCMHLCreateOperation operation(source, nullptr);
    operation.setCompletionHandler([&application] {
        QMetaObject::invokeMethod(&application, &QCoreApplication::quit, Qt::QueuedConnection);
    });
    std::thread worker([&operation] { operation.start(); });
    application.exec();
    worker.join();

    std::printf("state %llu, %llu files, %s\n", (unsigned long long)operation.state(),
                (unsigned long long)operation.fileAmount(), qPrintable(operation.mhlFilePath()));
    return operation.state() == HWCOperationStateCreatedOK ? 0 : 1;
}
