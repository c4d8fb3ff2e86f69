// The background writer of the log.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "sdk_common/PubThread.h"
#include "sdk_common/WaitEvent.h"

/// One record: a line, or several behind one another for a dump. Ends with a line feed.
struct LOG_RECORD {
    int level;
    std::string text;
};

/// Takes records from any thread and hands them on from one of its own, in their order. A writer that cannot keep up
/// makes records get lost, never a caller wait. The thread starts with the first record.
class YLog4CThr {
public:
    /// Receives the waiting records on the writer's thread, with no lock held. `lost`: records lost before them.
    using OUTPUT = void (*)(const std::vector<LOG_RECORD>& records, size_t lost);

    explicit YLog4CThr(OUTPUT pfnOutput) : m_pfnOutput(pfnOutput) {}
    ~YLog4CThr() { Stop(); }
    YLog4CThr(const YLog4CThr&) = delete;
    YLog4CThr& operator=(const YLog4CThr&) = delete;

    /// Queues a record, or drops and counts it without waiting: when too much waits, and during Stop. False, and
    /// nothing is queued, when there is no thread to be had.
    bool WriteLog(LOG_RECORD&& record);

    /// Waits until what was queued before the call is through. Not on the writer's thread.
    void FlushLog();

    /// Hands on what waits and ends the thread; the next record starts a new one. Not on the writer's thread.
    void Stop();

    /// The queue's lock, a leaf.
    void Lock() { m_lock.Lock(); }
    void Unlock() { m_lock.UnLock(); }

private:
    static void* WriteThread(void* pParam);
    void WriteProc();
    bool Queue(LOG_RECORD& record);
    bool HasWork();
    bool IsThrough(tuint64 batch);
    bool StartThread();

    const OUTPUT m_pfnOutput;
    CPUB_Lock m_lifeLock;  // start and stop; taken before m_lock
    CPUB_Lock m_lock;
    std::vector<LOG_RECORD> m_records;  // m_lock, as the next five
    size_t m_bytes = 0;                 // of m_records
    size_t m_lost = 0;                  // since the last batch
    tuint64 m_queued = 0;               // batches that were begun
    tuint64 m_written = 0;              // batches that are through
    bool m_bStopping = false;           // the thread writes what waits and ends
    CWaitEvent m_workEvent;
    CWaitEvent m_doneEvent;
    PUB_thread_t m_thread = 0;  // both locks for change
    bool m_bRun = false;
};
