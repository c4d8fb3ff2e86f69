// The last-error store behind HLX_GetLastError. Every layer may set a number.
#pragma once

#include "HLX.h"
#include "sdk_common/PubLock.h"

using THREAD_ID = int;

struct THREAD_STATE {
    THREAD_ID threadId;
    DWORD lastError;
};

/// Table of last errors by GetCurrThreadId(), which is the process id: in effect one number for the whole process,
/// shared by all threads. It outlives HLX_Cleanup. Any thread; m_lock is a leaf lock.
class CThreadState {
public:
    static CThreadState* Instance();
    ~CThreadState();
    CThreadState(const CThreadState&) = delete;
    CThreadState& operator=(const CThreadState&) = delete;

    void SetLastError(DWORD lastError);

    /// The stored number, 0 if none.
    DWORD GetLastError();

    /// While one of these lives on a thread, that thread's numbers go into it and not into the table: background work
    /// of the library neither reads a number of an application's thread nor overwrites it. Never alive while the
    /// application is called.
    class OwnNumber {
    public:
        OwnNumber();
        ~OwnNumber();
        OwnNumber(const OwnNumber&) = delete;
        OwnNumber& operator=(const OwnNumber&) = delete;

    private:
        friend class CThreadState;
        DWORD m_number = 0;
        OwnNumber* m_pOuter;
    };

    /// Writes the stored number to `*pErrorNo` if the pointer is not null and a number was ever stored. The result is
    /// always null: the library has no texts.
    char* GetErrorMsg(LONG* pErrorNo);

private:
    CThreadState();
    static THREAD_ID GetCurrThreadId();
    THREAD_STATE* Find(THREAD_ID threadId);  // m_lock held
    void FreeTable();

    CPUB_Lock m_lock;
    THREAD_STATE m_first;  // the table as long as there is one record, so that a number needs no memory
    int m_threadNum = 1;
    THREAD_STATE* m_pThreadState = &m_first;
};

/// Stores `error` and gives the failure value `result` back, so that a failure is one line.
template <class Result>
Result Failure(HLX_ERROR error, Result result) {
    CThreadState::Instance()->SetLastError(error);
    return result;
}
inline bool Failure(HLX_ERROR error) { return Failure(error, false); }
