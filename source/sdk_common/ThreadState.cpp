#include "sdk_common/ThreadState.h"

#include <unistd.h>

#include <algorithm>
#include <mutex>
#include <new>

namespace {

thread_local CThreadState::OwnNumber* t_pOwnNumber = nullptr;

}  // namespace

CThreadState::OwnNumber::OwnNumber() : m_pOuter(t_pOwnNumber) { t_pOwnNumber = this; }

CThreadState::OwnNumber::~OwnNumber() { t_pOwnNumber = m_pOuter; }

CThreadState* CThreadState::Instance() {
    // Never destroyed: threads of the library may still set a number while the process ends.
    alignas(CThreadState) static std::byte s_place[sizeof(CThreadState)];
    static auto* const pState = new (s_place) CThreadState;
    return pState;
}

CThreadState::CThreadState() : m_first{GetCurrThreadId(), 0} {}

CThreadState::~CThreadState() { FreeTable(); }

void CThreadState::FreeTable() {
    if (m_pThreadState != &m_first) delete[] m_pThreadState;
}

void CThreadState::SetLastError(DWORD lastError) {
    if (t_pOwnNumber) {
        t_pOwnNumber->m_number = lastError;
        return;
    }
    std::lock_guard guard(m_lock);
    if (THREAD_STATE* pState = Find(GetCurrThreadId())) {
        pState->lastError = lastError;
        return;
    }
    auto* pLonger = new (std::nothrow) THREAD_STATE[m_threadNum + 1];
    if (!pLonger) {  // a forked child does not need the number of its parent
        m_pThreadState[m_threadNum - 1] = {GetCurrThreadId(), lastError};
        return;
    }
    std::copy_n(m_pThreadState, m_threadNum, pLonger);
    pLonger[m_threadNum] = {GetCurrThreadId(), lastError};
    FreeTable();
    m_pThreadState = pLonger;
    ++m_threadNum;
}

DWORD CThreadState::GetLastError() {
    if (t_pOwnNumber) return t_pOwnNumber->m_number;
    std::lock_guard guard(m_lock);
    const THREAD_STATE* pState = Find(GetCurrThreadId());
    return pState ? pState->lastError : 0;
}

char* CThreadState::GetErrorMsg(LONG* pErrorNo) {
    std::lock_guard guard(m_lock);
    const THREAD_STATE* pState = Find(GetCurrThreadId());
    if (pErrorNo && pState) *pErrorNo = pState->lastError;
    return nullptr;
}

THREAD_ID CThreadState::GetCurrThreadId() { return getpid(); }

THREAD_STATE* CThreadState::Find(THREAD_ID threadId) {
    const auto pEnd = m_pThreadState + m_threadNum;
    const auto pFound =
        std::find_if(m_pThreadState, pEnd, [=](const THREAD_STATE& state) { return state.threadId == threadId; });
    return pFound == pEnd ? nullptr : pFound;
}
