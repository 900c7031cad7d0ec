// Verifies one source (a folder or an MHL file) to the end, the way the interface does: the
// operation on a worker thread, its progress posts handled by the main thread's event loop.
// Prints the outcome, the wall time and the peak resident memory of the process.

#include "engine/operations/HWCSource.h"
#include "engine/operations/HWCVerificationOperation.h"
#include "engine/records/HWCOperationInfo.h"

#include <QCoreApplication>
#include <QFile>
#include <QThreadPool>
#include <chrono>
#include <cstdio>
#include <sys/resource.h>

namespace {

// Kilobytes of anonymous memory backed by transparent huge pages: the read buffer's, when
// the kernel gave it one.
long hugePagesKiB()
{
    QFile rollup(QStringLiteral("/proc/self/smaps_rollup"));
    if (!rollup.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : rollup.readAll().split('\n')) {
        if (line.startsWith("AnonHugePages:"))
            return line.mid(14).trimmed().split(' ').value(0).toLong();
    }
    return -1;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: verify_run SOURCE\n");
        return 2;
    }
    const auto start = std::chrono::steady_clock::now();
    const std::shared_ptr<HWCSource> source =
        HWCSource::initWithPath(QString::fromLocal8Bit(argv[1]));
    if (!source) {
        std::fprintf(stderr, "not a source: %s\n", argv[1]);
        return 2;
    }
    std::shared_ptr<HWCSourceOperation> operation;
    QThreadPool pool;
    QObject::connect(source.get(), &HWCSource::usedSpaceChanged, [&] {
        operation = std::make_shared<HWCVerificationOperation>(HWCOperationParameters{source});
        operation->setCompletionHandler([] {
            // Let the main thread drain the posts the run made, then stop.
            QMetaObject::invokeMethod(
                qApp, [] { QCoreApplication::quit(); }, Qt::QueuedConnection);
        });
        pool.start([operation] { operation->start(); });
    });
    app.exec();
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;

    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const quint64 failed =
        quint64(operation->filesWithState(HWCFileState::ReadSuccessfully, true).size());
    std::printf("state=%s records=%llu not_ok=%llu bytes=%llu wall_s=%.3f peak_rss_mb=%.1f "
                "huge_pages_kib=%ld\n",
                qPrintable(HWCOperationStateName(operation->state())),
                static_cast<unsigned long long>(operation->fileAmount()),
                static_cast<unsigned long long>(failed),
                static_cast<unsigned long long>(operation->info()->bytesVerified()), wall.count(),
                double(usage.ru_maxrss) / 1024.0, hugePagesKiB());
    return operation->state() == HWCOperationState::VerifiedOK ? 0 : 1;
}
