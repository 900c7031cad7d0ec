#include "engine/operations/HWCOrderedReads.h"

#include "engine/files/HWCUncachedReader.h"

#include <algorithm>
#include <utility>

HWCOrderedReads::HWCOrderedReads(int jobs, int depth)
    : m_depth(std::size_t(std::max(depth, 1))), m_window(4 * std::size_t(jobs > 1 ? jobs : 1))
{
    if (jobs <= 1) {
        m_ownReader = std::make_unique<HWCUncachedReader>(depth);
        return;
    }
    for (int i = 0; i < jobs; ++i)
        m_readers.emplace_back([this] { readerLoop(); });
}

HWCOrderedReads::~HWCOrderedReads()
{
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
        m_waiting.clear();
    }
    m_workQueued.notify_all();
    for (std::thread &reader : m_readers)
        reader.join();
}

void HWCOrderedReads::submit(Work work, Finish finish, QByteArray path)
{
    auto job = std::make_shared<Job>();
    job->work = std::move(work);
    job->finish = std::move(finish);
    job->path = std::move(path);
    if (m_ownReader) {
        if (!job->path.isEmpty())
            m_ownReader->expectFile(job->path);
        m_pending.push_back(std::move(job));
        while (m_pending.size() > m_depth)
            runPending();
        return;
    }
    {
        std::lock_guard lock(m_mutex);
        m_submitted.push_back(job);
        m_waiting.push_back(job);
    }
    m_workQueued.notify_one();
    finishDue(m_window);
}

void HWCOrderedReads::finishAll()
{
    while (!m_pending.empty())
        runPending();
    finishDue(0);
}

void HWCOrderedReads::runPending()
{
    const std::shared_ptr<Job> job = std::move(m_pending.front());
    m_pending.pop_front();
    job->work(*m_ownReader);
    job->finish();
}

void HWCOrderedReads::finishDue(std::size_t keep)
{
    std::unique_lock lock(m_mutex);
    while (!m_submitted.empty()) {
        const std::shared_ptr<Job> oldest = m_submitted.front();
        if (!oldest->done && m_submitted.size() <= keep)
            return;
        m_workDone.wait(lock, [&oldest] { return oldest->done; });
        m_submitted.pop_front();
        lock.unlock();
        if (oldest->error)
            std::rethrow_exception(oldest->error);
        oldest->finish();
        lock.lock();
    }
}

void HWCOrderedReads::readerLoop()
{
    // Each reader owns its buffer and its ring, made and used on this thread only.
    HWCUncachedReader reader;
    std::unique_lock lock(m_mutex);
    std::shared_ptr<Job> job;
    for (;;) {
        if (!job) {
            m_workQueued.wait(lock, [this] { return m_stopping || !m_waiting.empty(); });
            if (m_stopping)
                return;
            job = m_waiting.front();
            m_waiting.pop_front();
        }
        // The job after it is taken now, so that this reader knows which file it reads next;
        // but not the last ones, which the other readers may be free for sooner.
        std::shared_ptr<Job> next;
        if (m_waiting.size() >= m_readers.size()) {
            next = m_waiting.front();
            m_waiting.pop_front();
        }
        lock.unlock();
        if (next && !next->path.isEmpty())
            reader.expectFile(next->path);
        try {
            job->work(reader);
        } catch (...) {
            job->error = std::current_exception();
        }
        lock.lock();
        job->done = true;
        m_workDone.notify_all();
        if (m_stopping)
            return;
        job = std::move(next);
    }
}
