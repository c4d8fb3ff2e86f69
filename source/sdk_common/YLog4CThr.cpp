#include "sdk_common/YLog4CThr.h"

#include <utility>

#include "sdk_common/RunFlag.h"

namespace {

constexpr size_t MAX_WAITING = 1048576;  // bytes of text

}  // namespace

bool YLog4CThr::WriteLog(LOG_RECORD&& record) { return Queue(record) || (StartThread() && Queue(record)); }

/// False, with the record as it was, when no thread runs.
bool YLog4CThr::Queue(LOG_RECORD& record) {
    {
        std::lock_guard guard(m_lock);
        if (m_thread == 0) return false;
        if (m_bStopping || m_bytes + record.text.size() > MAX_WAITING) {
            ++m_lost;
            return true;
        }
        const size_t length = record.text.size();
        m_records.push_back(std::move(record));
        m_bytes += length;
        if (m_records.size() == 1) ++m_queued;
    }
    m_workEvent.SetEvent();
    return true;
}

bool YLog4CThr::StartThread() {
    std::lock_guard lifeGuard(m_lifeLock);
    {
        std::lock_guard guard(m_lock);
        if (m_thread != 0) return true;
    }
    m_workEvent.CreateWaitEvent();
    m_doneEvent.CreateWaitEvent();
    const PUB_thread_t thread = PUB_CreateThread(WriteThread, this, &m_bRun);
    std::lock_guard guard(m_lock);
    m_thread = thread;
    return m_thread != 0;
}

bool YLog4CThr::IsThrough(tuint64 batch) {
    std::lock_guard guard(m_lock);
    return m_written >= batch;
}

void YLog4CThr::FlushLog() {
    tuint64 wanted = 0;
    {
        std::lock_guard guard(m_lock);
        if (m_thread == 0) return;
        wanted = m_queued;
    }
    // The end of an earlier batch wakes as well.
    while (!IsThrough(wanted)) m_doneEvent.WaitForCond(CWaitEvent::WAIT_FOREVER, [&] { return IsThrough(wanted); });
}

void YLog4CThr::Stop() {
    std::lock_guard lifeGuard(m_lifeLock);
    PUB_thread_t thread = 0;
    {
        std::lock_guard guard(m_lock);
        thread = m_thread;
        if (thread == 0) return;
        m_bStopping = true;
    }
    SetRunFlag(m_bRun, false);
    m_workEvent.Close();
    PUB_ExitThread(&thread, &m_bRun);
    m_doneEvent.Close();
    std::lock_guard guard(m_lock);
    m_thread = 0;
    m_bStopping = false;
}

void* YLog4CThr::WriteThread(void* pParam) {
    static_cast<YLog4CThr*>(pParam)->WriteProc();
    return nullptr;
}

bool YLog4CThr::HasWork() {
    std::lock_guard guard(m_lock);
    return !m_records.empty() || m_lost != 0;
}

void YLog4CThr::WriteProc() {
    std::vector<LOG_RECORD> records;
    for (;;) {
        m_workEvent.WaitForCond(CWaitEvent::WAIT_FOREVER, [&] { return HasWork() || !RunFlagSet(m_bRun); });
        size_t lost = 0;
        tuint64 batch = 0;
        {
            std::lock_guard guard(m_lock);
            if (m_records.empty() && m_bStopping) return;  // what was dropped since is told by the next thread
            records.swap(m_records);
            lost = std::exchange(m_lost, 0);
            m_bytes = 0;
            batch = m_queued;
        }
        if (!records.empty() || lost != 0) m_pfnOutput(records, lost);
        records.clear();
        {
            std::lock_guard guard(m_lock);
            m_written = batch;
        }
        m_doneEvent.PulseEvent();
    }
}
