// Verifies one source to the end through the real operation screen (offscreen is fine),
// the way the window does it, while a probe timer measures how long the event loop is kept
// from running. Prints the outcome, the wall time and the stalls.

#include "engine/operations/HWCOperationController.h"
#include "engine/operations/HWCSource.h"
#include "engine/operations/HWCSourceOperation.h"
#include "engine/records/HWCOperationInfo.h"
#include "ui/operations/HWCOperationViewController.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace {

constexpr int kProbeIntervalMs = 2;

// Records how late each probe tick comes: the time beyond the interval is a stall.
class Probe {
public:
    Probe()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.setInterval(kProbeIntervalMs);
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            const qint64 now = m_clock.nsecsElapsed();
            m_stalls.push_back(std::max<double>(0, (now - m_last) / 1e6 - kProbeIntervalMs));
            m_last = now;
        });
    }
    void start()
    {
        m_clock.start();
        m_last = 0;
        m_timer.start();
    }
    void stop() { m_timer.stop(); }
    double max() const
    {
        return m_stalls.empty() ? 0 : *std::max_element(m_stalls.begin(), m_stalls.end());
    }
    double percentile(double p) const
    {
        if (m_stalls.empty())
            return 0;
        std::vector<double> sorted = m_stalls;
        std::sort(sorted.begin(), sorted.end());
        return sorted[std::min(sorted.size() - 1, size_t(p * double(sorted.size())))];
    }
    size_t count() const { return m_stalls.size(); }

private:
    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_last = 0;
    std::vector<double> m_stalls;
};

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: window_verify SOURCE\n");
        return 2;
    }
    const auto start = std::chrono::steady_clock::now();
    HWCOperationController controller;
    HWCViewController window;
    window.resize(800, 600);
    auto *screen = new HWCOperationViewController(&controller);
    window.addChildViewController(screen);
    window.addConstraintsToChildViewController(screen);
    window.show();

    Probe probe;
    const std::shared_ptr<HWCSource> source =
        HWCSource::initWithPath(QString::fromLocal8Bit(argv[1]));
    if (!source)
        return 2;
    std::shared_ptr<HWCSourceOperation> operation;
    QObject::connect(source.get(), &HWCSource::usedSpaceChanged, [&] {
        probe.start();
        operation = controller.addDisk(source);
    });
    QObject::connect(&controller, &HWCOperationController::completedOperation, [&] {
        probe.stop();
        // Let the posted panel arrive and be painted before the clock stops.
        QMetaObject::invokeMethod(
            &app, [] { QCoreApplication::quit(); }, Qt::QueuedConnection);
    });
    app.exec();
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
    std::printf("state=%s wall_s=%.3f probes=%zu max_stall_ms=%.2f p99_stall_ms=%.2f\n",
                qPrintable(HWCOperationStateName(operation->state())), wall.count(), probe.count(),
                probe.max(), probe.percentile(0.99));
    return operation->state() == HWCOperationState::VerifiedOK ? 0 : 1;
}
