// Recursive locks of the device side and their scope guards.
#pragma once

#include <pthread.h>

/// Bare recursive mutex. The three functions below make, take and release it by the guard CPUB_LockAction.
using PUB_lock_t = pthread_mutex_t;

void PUB_InitLock(PUB_lock_t* pLock);
void PUB_DestroyLock(PUB_lock_t* pLock);

/// Recursive mutex with one condition variable. Meets the standard's Lockable through the lower-case names, so that
/// std::lock_guard and std::scoped_lock take it.
class CPUB_Lock {
public:
    CPUB_Lock();
    ~CPUB_Lock();
    CPUB_Lock(const CPUB_Lock&) = delete;
    CPUB_Lock& operator=(const CPUB_Lock&) = delete;

    void Lock();
    void UnLock();

    /// 0 if the lock was taken, -1 otherwise; never waits.
    int TryLock();

    /// Waits at most `iMicrosecond` for the lock. The result is always 0, also when the lock was not got, and the
    /// caller cannot tell; 1 (time-out) and 2 (other) are reserved.
    int TimeLock(int iMicrosecond);

    /// Waits on the condition with the lock held once by the caller; may wake early.
    void CondWait();
    void CondSignal();

    void lock() { Lock(); }
    void unlock() { UnLock(); }
    bool try_lock() { return TryLock() == 0; }

private:
    pthread_mutex_t m_Lock;
    pthread_cond_t m_cond;
};

/// Holds a PUB_lock_t for a scope.
class CPUB_LockAction {
public:
    explicit CPUB_LockAction(PUB_lock_t* pLock) : m_pLock(pLock) { pthread_mutex_lock(m_pLock); }
    ~CPUB_LockAction() { pthread_mutex_unlock(m_pLock); }
    CPUB_LockAction(const CPUB_LockAction&) = delete;
    CPUB_LockAction& operator=(const CPUB_LockAction&) = delete;

private:
    PUB_lock_t* m_pLock;
};
