#pragma once

#include <QByteArray>
#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

class HWCUncachedReader;

// Reads up to N files at once, each on its own thread with its own reader and buffer, and
// hands their outcomes back in the order they were asked for: a file finished early waits
// for those before it. With one job there are no threads: each piece of work runs on the
// caller's thread once the next `depth` ones are known (or at finishAll()), and its finisher
// right after it; its reader, of that depth, reads those files ahead (HWCUncachedReader).
// With several jobs each reader is told the file of the work it will run next, so that it
// can start reading it while the current one ends.
// Made, used and destroyed on one thread, the caller's.
class HWCOrderedReads {
public:
    // Runs on a reader thread (the caller's with one job); must not touch what the
    // finishers touch.
    using Work = std::function<void(HWCUncachedReader &reader)>;
    // Runs on the caller's thread, in the order of submit(), after its work.
    using Finish = std::function<void()>;

    // depth: how many files one job reads ahead (see HWCMedium::queueDepth()); several jobs
    // read one ahead each.
    HWCOrderedReads(int jobs, int depth);
    // Waits for work already running; the rest is dropped without its finishers.
    ~HWCOrderedReads();
    HWCOrderedReads(const HWCOrderedReads &) = delete;
    HWCOrderedReads &operator=(const HWCOrderedReads &) = delete;

    // Queues work, then runs the finishers that are due; waits while too much is queued.
    // path names the file that work opens through its reader, if any.
    // An exception of a work is thrown here, from the place of its finisher.
    void submit(Work work, Finish finish, QByteArray path = {});
    // Waits for every queued work and runs the remaining finishers.
    void finishAll();

private:
    struct Job {
        Work work;
        Finish finish;
        QByteArray path;
        bool done = false;
        std::exception_ptr error;
    };

    void readerLoop();
    // Runs the one job's oldest pending work, then its finisher.
    void runPending();
    // Runs finishers in order while the oldest job is done, or while more than `keep` are
    // queued.
    void finishDue(std::size_t keep);

    std::unique_ptr<HWCUncachedReader> m_ownReader; // one job: the caller's own
    std::deque<std::shared_ptr<Job>> m_pending;     // one job: submitted, not yet run
    const std::size_t m_depth;
    std::vector<std::thread> m_readers;
    std::mutex m_mutex;
    std::condition_variable m_workQueued;
    std::condition_variable m_workDone;
    std::deque<std::shared_ptr<Job>> m_submitted; // in order, until finished
    std::deque<std::shared_ptr<Job>> m_waiting;   // not yet taken by a reader
    std::size_t m_window;
    bool m_stopping = false;
};
