#include "Classes/HWCOrderedReads.h"

#include "Classes/HWCUncachedReader.h"

HWCOrderedReads::HWCOrderedReads(int jobs) : m_window(4 * std::size_t(jobs > 1 ? jobs : 1))
{
    if (jobs <= 1) {
        m_ownReader = std::make_unique<HWCUncachedReader>();
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

void HWCOrderedReads::submit(Work work, Finish finish)
{
    if (m_ownReader) {
        work(*m_ownReader);
        finish();
        return;
    }
    auto job = std::make_shared<Job>();
    job->work = std::move(work);
    job->finish = std::move(finish);
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
    finishDue(0);
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
    for (;;) {
        m_workQueued.wait(lock, [this] { return m_stopping || !m_waiting.empty(); });
        if (m_stopping)
            return;
        const std::shared_ptr<Job> job = m_waiting.front();
        m_waiting.pop_front();
        lock.unlock();
        try {
            job->work(reader);
        } catch (...) {
            job->error = std::current_exception();
        }
        lock.lock();
        job->done = true;
        m_workDone.notify_all();
    }
}
