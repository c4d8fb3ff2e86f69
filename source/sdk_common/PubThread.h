// Threads of the device side: start with a run flag, stop by clearing it and joining.
#pragma once

#include <pthread.h>

#include <list>

#include "sdk_common/PubLock.h"

using PUB_thread_t = pthread_t;
using PUB_THREAD_ROUTINE = void* (*)(void*);

/// Starts a thread. Sets `*pRun` true before (when given); on failure clears it again and returns 0, which means no
/// thread. errno receives the result of the creation: 0, or why it failed. The worker polls the flag with RunFlagSet().
PUB_thread_t PUB_CreateThread(PUB_THREAD_ROUTINE start_routine, void* pParam, bool* pRun);

/// As PUB_CreateThread, with scheduling policy SCHED_RR and `policy` (1 to 99) as the priority. Fails with EPERM in a
/// process that may not have real-time threads.
PUB_thread_t PUB_CreateThreadEx(PUB_THREAD_ROUTINE start_routine, void* pParam, bool* pRun, int policy);

/// Ends a thread: clears `*pRun` (when given), joins, sets `*pThreadID` to 0. Nothing happens, the flag included, when
/// `*pThreadID` is 0. Called by the thread itself it returns at once, and the thread manager joins it after its end.
/// A thread may stop itself only once its owner has stored its id. Of several callers at a time one does the work, and
/// the others find 0 and return without waiting.
void PUB_ExitThread(PUB_thread_t* pThreadID, bool* pRun);

/// Joins threads that ended themselves. One instance lives until the library is unloaded; its own thread lives only
/// while there is something to join, so that an idle library has no thread for it and a forked child does not miss it.
class CThreadManager {
public:
    static CThreadManager& Instance();

    /// Waits until every thread handed over is joined, so that no code is unloaded under one.
    ~CThreadManager();
    CThreadManager(const CThreadManager&) = delete;
    CThreadManager& operator=(const CThreadManager&) = delete;

    /// Takes over the join of a thread that is about to end. Any thread, does not block.
    void ExitThread(PUB_thread_t threadID);

private:
    CThreadManager() = default;
    static void* ThreadManagerRun(void* pParam);
    void StartJoining();                  // m_ThreadListLock held
    bool TakeFront(PUB_thread_t& front);  // false, and m_bJoining cleared, when nothing is left

    bool m_ThreadManagerExit = false;        // set for good by the destructor; guarded by m_ThreadListLock
    bool m_bJoining = false;                 // the manager's thread will look at the list again; guarded likewise
    PUB_thread_t m_ThreadManagerThread = 0;  // guarded by m_ThreadListLock
    std::list<PUB_thread_t> m_ThreadList;    // guarded by m_ThreadListLock
    CPUB_Lock m_ThreadListLock;
};
