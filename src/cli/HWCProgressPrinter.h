#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QTimer>
#include <atomic>
#include <cstdio>
#include <memory>
#include <optional>

class HWCSourceOperation;

namespace spdlog::sinks {
class sink;
}

// Draws one live line per running operation on a terminal, at most ten times a second:
// the action and the source's name, percentage, files and bytes done of total, speed, time
// left and the current file, its path shortened in the middle to fit the terminal's width.
// The block is erased and drawn again in place; when log lines have appeared on the
// terminal since the last drawing, the new block goes below them instead, so that they stay
// readable. Main thread only.
class HWCProgressPrinter : public QObject {
    Q_OBJECT

public:
    explicit HWCProgressPrinter(std::FILE *stream, QObject *parent = nullptr);
    ~HWCProgressPrinter() override;

    void watch(const std::shared_ptr<HWCSourceOperation> &operation);
    // Stops drawing and erases the block, leaving the cursor where it began.
    void finish();
    // Erases the block so that a message can be written in its place; the next drawing
    // goes below the message.
    void erase();

    // One progress line of at most width characters; rate is in bytes per second, absent
    // until it can be measured.
    static QString line(const HWCSourceOperation &operation, std::optional<double> rate, int width);

private:
    struct Watched {
        std::shared_ptr<HWCSourceOperation> operation;
        QElapsedTimer running; // started when the operation was first seen executing
        quint64 bytesAtStart = 0;
    };

    void redraw();
    int terminalWidth() const;

    std::FILE *m_stream;
    QTimer m_timer;
    QList<Watched> m_watched;
    int m_drawnLines = 0;
    quint64 m_logLinesSeen = 0;
    std::shared_ptr<std::atomic<quint64>> m_logLines;
    std::shared_ptr<spdlog::sinks::sink> m_logSink;
};
