#include "sdk_common/PubThread.h"

#include <sched.h>

#include <atomic>
#include <cerrno>
#include <mutex>
#include <new>

#include "sdk_common/RunFlag.h"
#include "sdk_common/SystemFault.h"

namespace {

PUB_thread_t StartThread(PUB_THREAD_ROUTINE start_routine, void* pParam, bool* pRun,
                         const pthread_attr_t* pAttributes) {
    if (pRun) SetRunFlag(*pRun, true);
    PUB_thread_t threadID = 0;
    const auto start = [&](size_t) { return pthread_create(&threadID, pAttributes, start_routine, pParam); };
    const int result = SystemCall(SYSTEM_CALL::START_THREAD, EAGAIN, start);
    if (result != 0 && pRun) SetRunFlag(*pRun, false);
    errno = result;
    return result == 0 ? threadID : 0;
}

int SetRealTime(pthread_attr_t& attributes, int priority) {
    sched_param parameters{};
    parameters.sched_priority = priority;
    pthread_attr_setinheritsched(&attributes, PTHREAD_EXPLICIT_SCHED);
    pthread_attr_setschedpolicy(&attributes, SCHED_RR);
    return pthread_attr_setschedparam(&attributes, &parameters);
}

}  // namespace

PUB_thread_t PUB_CreateThread(PUB_THREAD_ROUTINE start_routine, void* pParam, bool* pRun) {
    return StartThread(start_routine, pParam, pRun, nullptr);
}

PUB_thread_t PUB_CreateThreadEx(PUB_THREAD_ROUTINE start_routine, void* pParam, bool* pRun, int policy) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    PUB_thread_t threadID = 0;
    if (const int result = SetRealTime(attributes, policy); result == 0) {
        threadID = StartThread(start_routine, pParam, pRun, &attributes);
    } else {
        if (pRun) SetRunFlag(*pRun, false);
        errno = result;
    }
    const int result = errno;
    pthread_attr_destroy(&attributes);
    errno = result;
    return threadID;
}

void PUB_ExitThread(PUB_thread_t* pThreadID, bool* pRun) {
    // The owner and the thread itself may come at the same time: whoever takes the id sees to the join.
    const PUB_thread_t threadID = pThreadID ? std::atomic_ref<PUB_thread_t>(*pThreadID).exchange(0) : 0;
    if (threadID == 0) return;
    if (pRun) SetRunFlag(*pRun, false);
    if (pthread_equal(threadID, pthread_self())) {
        CThreadManager::Instance().ExitThread(threadID);
    } else {
        pthread_join(threadID, nullptr);
    }
}

CThreadManager& CThreadManager::Instance() {
    static CThreadManager manager;
    return manager;
}

CThreadManager::~CThreadManager() {
    PUB_thread_t managerThread = 0;
    {
        std::lock_guard guard(m_ThreadListLock);
        m_ThreadManagerExit = true;
        managerThread = m_ThreadManagerThread;
    }
    if (managerThread != 0) pthread_join(managerThread, nullptr);
    for (PUB_thread_t left = 0; TakeFront(left);) pthread_join(left, nullptr);
}

void CThreadManager::ExitThread(PUB_thread_t threadID) try {
    std::lock_guard guard(m_ThreadListLock);
    m_ThreadList.push_back(threadID);
    if (!m_bJoining && !m_ThreadManagerExit) StartJoining();
} catch (const std::bad_alloc&) {
    pthread_detach(threadID);
}

void CThreadManager::StartJoining() {
    // An earlier thread of the manager is past its last look at the list, so this join is short.
    if (m_ThreadManagerThread != 0) pthread_join(m_ThreadManagerThread, nullptr);
    m_ThreadManagerThread = PUB_CreateThread(ThreadManagerRun, this, &m_bJoining);
}

bool CThreadManager::TakeFront(PUB_thread_t& front) {
    std::lock_guard guard(m_ThreadListLock);
    m_bJoining = !m_ThreadList.empty();
    if (!m_bJoining) return false;
    front = m_ThreadList.front();
    m_ThreadList.pop_front();
    return true;
}

void* CThreadManager::ThreadManagerRun(void* pParam) {
    auto& manager = *static_cast<CThreadManager*>(pParam);
    for (PUB_thread_t ended = 0; manager.TakeFront(ended);) pthread_join(ended, nullptr);
    return nullptr;
}
