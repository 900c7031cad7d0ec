#pragma once

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
// for those before it. With one job there are no threads: each piece of work runs at once
// on the caller's thread, and its finisher right after it.
// Made, used and destroyed on one thread, the caller's.
class HWCOrderedReads {
public:
    // Runs on a reader thread (the caller's with one job); must not touch what the
    // finishers touch.
    using Work = std::function<void(HWCUncachedReader &reader)>;
    // Runs on the caller's thread, in the order of submit(), after its work.
    using Finish = std::function<void()>;

    explicit HWCOrderedReads(int jobs);
    // Waits for work already running; the rest is dropped without its finishers.
    ~HWCOrderedReads();
    HWCOrderedReads(const HWCOrderedReads &) = delete;
    HWCOrderedReads &operator=(const HWCOrderedReads &) = delete;

    // Queues work, then runs the finishers that are due; waits while too much is queued.
    // An exception of a work is thrown here, from the place of its finisher.
    void submit(Work work, Finish finish);
    // Waits for every queued work and runs the remaining finishers.
    void finishAll();

private:
    struct Job {
        Work work;
        Finish finish;
        bool done = false;
        std::exception_ptr error;
    };

    void readerLoop();
    // Runs finishers in order while the oldest job is done, or while more than `keep` are
    // queued.
    void finishDue(std::size_t keep);

    std::unique_ptr<HWCUncachedReader> m_ownReader; // one job: the caller's own
    std::vector<std::thread> m_readers;
    std::mutex m_mutex;
    std::condition_variable m_workQueued;
    std::condition_variable m_workDone;
    std::deque<std::shared_ptr<Job>> m_submitted; // in order, until finished
    std::deque<std::shared_ptr<Job>> m_waiting;   // not yet taken by a reader
    std::size_t m_window;
    bool m_stopping = false;
};
