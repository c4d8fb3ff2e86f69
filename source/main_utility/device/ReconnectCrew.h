// The short-lived workers of the reconnect thread.
#pragma once

#include <atomic>
#include <ctime>
#include <functional>
#include <list>
#include <memory>

#include "device_base/NetDevice.h"
#include "sdk_common/PubThread.h"
#include "sdk_common/WaitEvent.h"

/// One try to bring a session back: from the reconnect thread to a worker, and with its result to the reconnect thread
/// again.
struct RECONNECT_TRY {
    std::shared_ptr<NET_DEVICE_RES> session;
    time_t resting = -1;  // seconds since a wrong password while logins rest; -1: a login may be tried

    bool bBack = false;
    DWORD error = HLX_SUCCESS;  // of a login that failed
    HLX_DEVICEINFO info{};      // of one that did not
};

/// Threads that do one try each, so that a device that does not answer holds up nobody else. All operations but Wake
/// belong to one thread, the owner.
class CReconnectCrew {
public:
    static constexpr size_t MAX_WORKERS = 16;

    /// `work` runs on the workers, several at once.
    using Work = std::function<void(RECONNECT_TRY&)>;
    explicit CReconnectCrew(Work work);
    ~CReconnectCrew();
    CReconnectCrew(const CReconnectCrew&) = delete;
    CReconnectCrew& operator=(const CReconnectCrew&) = delete;

    bool IsFull() const { return m_workers.size() >= MAX_WORKERS; }
    /// True until the session's try was taken back.
    bool WorksOn(const NET_DEVICE_RES& session) const;

    /// Hands a try to a worker of its own; false, and nothing done, when no thread starts.
    bool Start(RECONNECT_TRY attempt);

    /// Waits until a worker is done, or `enough()`, or for `ms` milliseconds. May wake early. `enough` as in
    /// CWaitEvent.
    template <class Enough>
    void Wait(tuint32 ms, Enough&& enough) {
        m_wait.WaitForCond(ms, [&] { return AnyDone() || enough(); });
    }
    /// Lets a Wait look again at what it waits for. Any thread.
    void Wake() { m_wait.PulseEvent(); }

    /// Takes back one try that is done, its worker joined; false when there is none.
    bool TakeDone(RECONNECT_TRY& attempt);

    /// Joins all workers and drops their results. Blocks for as long as their work.
    void JoinAll();

private:
    struct WORKER {
        CReconnectCrew* pCrew;
        RECONNECT_TRY attempt;
        PUB_thread_t thread = 0;
        std::atomic<bool> bDone{false};
    };
    static void* WorkerThread(void* pParam);
    bool AnyDone() const;

    const Work m_work;
    CWaitEvent m_wait;
    std::list<WORKER> m_workers;  // owner's thread
};
