#include "sdk_common/WaitEvent.h"

#include <ctime>

CWaitEvent::CWaitEvent() {
    pthread_mutex_init(&m_lock, nullptr);
    // The monotonic clock, so that a jump of the wall clock neither cuts nor stretches a wait.
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&m_Event, &attributes);
    pthread_condattr_destroy(&attributes);
}

CWaitEvent::~CWaitEvent() {
    Close();
    pthread_cond_destroy(&m_Event);
    pthread_mutex_destroy(&m_lock);
}

bool CWaitEvent::CreateWaitEvent() {
    Guard guard(*this);
    m_bOpen = true;
    return true;
}

void CWaitEvent::Close() {
    Guard guard(*this);
    m_bOpen = false;
    ++m_generation;
    pthread_cond_broadcast(&m_Event);
}

void CWaitEvent::SetEvent() {
    Guard guard(*this);
    ++m_generation;
    pthread_cond_signal(&m_Event);
}

void CWaitEvent::PulseEvent() {
    Guard guard(*this);
    ++m_generation;
    pthread_cond_broadcast(&m_Event);
}

void CWaitEvent::Wait(tint64 microseconds) {
    timespec until{};
    clock_gettime(CLOCK_MONOTONIC, &until);
    const tint64 nanoseconds = until.tv_nsec + microseconds % 1000000 * 1000;
    until.tv_sec += microseconds / 1000000 + nanoseconds / 1000000000;
    until.tv_nsec = nanoseconds % 1000000000;
    pthread_cond_timedwait(&m_Event, &m_lock, &until);
}
