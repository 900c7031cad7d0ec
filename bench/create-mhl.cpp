// Creates an MHL for a folder the way the application does (the source's scan, then the
// creation operation on a worker thread) and prints the outcome and the operation's time:
//   create-mhl [--cold] FOLDER
// --cold empties the page cache between the scan and the operation (root only), as if the
// folder had been dropped on the window a while before Create was pressed.

#include "engine/operations/HWCMHLCreateOperation.h"
#include "engine/operations/HWCSource.h"
#include "engine/records/HWCOperationInfo.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const bool cold = argc == 3 && std::strcmp(argv[1], "--cold") == 0;
    if (argc != 2 && !cold) {
        std::fprintf(stderr, "usage: %s [--cold] FOLDER\n", argv[0]);
        return 2;
    }
    std::shared_ptr<HWCSource> source =
        HWCSource::initWithPath(QString::fromLocal8Bit(argv[argc - 1]));
    QEventLoop scan;
    QObject::connect(source.get(), &HWCSource::actionTypeChanged, &scan, &QEventLoop::quit);
    scan.exec();

    if (cold && std::system("sync; echo 3 > /proc/sys/vm/drop_caches") != 0)
        return 3;

    const auto start = std::chrono::steady_clock::now();
    HWCMHLCreateOperation operation({.source = source});
    operation.setCompletionHandler([&application] {
        QMetaObject::invokeMethod(&application, &QCoreApplication::quit, Qt::QueuedConnection);
    });
    std::thread worker([&operation] { operation.start(); });
    application.exec();
    worker.join();
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;

    std::printf("operation %.3f s, state %llu, %llu files, %s\n", elapsed.count(),
                (unsigned long long)operation.state(), (unsigned long long)operation.fileAmount(),
                qPrintable(operation.writtenList().path));
    return operation.state() == HWCOperationState::CreatedOK ? 0 : 1;
}
