#include "sdk_common/PubLock.h"

#include <ctime>

#include "sdk_common/TimeSource.h"

void PUB_InitLock(PUB_lock_t* pLock) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(pLock, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

void PUB_DestroyLock(PUB_lock_t* pLock) { pthread_mutex_destroy(pLock); }

CPUB_Lock::CPUB_Lock() {
    PUB_InitLock(&m_Lock);
    pthread_cond_init(&m_cond, nullptr);
}

CPUB_Lock::~CPUB_Lock() {
    pthread_cond_destroy(&m_cond);
    PUB_DestroyLock(&m_Lock);
}

void CPUB_Lock::Lock() { pthread_mutex_lock(&m_Lock); }

void CPUB_Lock::UnLock() { pthread_mutex_unlock(&m_Lock); }

int CPUB_Lock::TryLock() { return pthread_mutex_trylock(&m_Lock) == 0 ? 0 : -1; }

int CPUB_Lock::TimeLock(int iMicrosecond) {
    // The deadline's nanoseconds carry nothing into its seconds. Outside of a second it is no valid time, and a lock
    // that is not free is then given up at once.
    const tint64 deadline = TimeSource().WallMicroseconds() % 1000000 + iMicrosecond;
    const bool bValid = deadline >= 0 && deadline < 1000000;
    WaitOnClock(bValid && iMicrosecond > 0 ? iMicrosecond : 0, [this](tint64 slice) {
        timespec until{};
        clock_gettime(CLOCK_REALTIME, &until);
        const tint64 nanoseconds = until.tv_nsec + slice * 1000;
        until.tv_sec += nanoseconds / 1000000000;
        until.tv_nsec = nanoseconds % 1000000000;
        return pthread_mutex_timedlock(&m_Lock, &until) == 0;
    });
    return 0;
}

void CPUB_Lock::CondWait() { pthread_cond_wait(&m_cond, &m_Lock); }

void CPUB_Lock::CondSignal() { pthread_cond_signal(&m_cond); }
