// A condition on which one thread waits for another, without a signalled state.
#pragma once

#include <pthread.h>

#include "protocol/WireTypes.h"
#include "sdk_common/TimeSource.h"

/// SetEvent wakes one waiter, PulseEvent all; with nobody waiting both are lost, so callers pair them with a time-out
/// or give WaitForCond a predicate. Close wakes all waiters and makes further waits return at once, until
/// CreateWaitEvent is called again; it is safe while threads wait.
class CWaitEvent {
public:
    static constexpr tuint32 WAIT_FOREVER = 0xFFFFFFFF;

    CWaitEvent();
    ~CWaitEvent();
    CWaitEvent(const CWaitEvent&) = delete;
    CWaitEvent& operator=(const CWaitEvent&) = delete;

    bool CreateWaitEvent();
    void Close();
    void SetEvent();
    void PulseEvent();

    /// Waits at most `ms` milliseconds of the clock in force (WAIT_FOREVER: without limit). Always 0: a time-out cannot
    /// be told from a signal. May wake early.
    int WaitForCond(tuint32 ms) {
        return WaitForCond(ms, [] { return false; });
    }

    /// The same, but does not begin or go on to wait once `ready()` is true. `ready` runs with the event's mutex held:
    /// what makes it true must happen before SetEvent, and it may take only leaf locks.
    template <class Ready>
    int WaitForCond(tuint32 ms, Ready&& ready) {
        Guard guard(*this);
        const tuint64 generation = m_generation;
        WaitOnClock(ms == WAIT_FOREVER ? -1 : tint64{ms} * 1000, [&](tint64 slice) {
            if (!m_bOpen || m_generation != generation || ready()) return true;
            if (slice > 0) Wait(slice);
            return !m_bOpen || m_generation != generation || ready();
        });
        return 0;
    }

private:
    struct Guard {
        explicit Guard(CWaitEvent& event) : m_event(event) { pthread_mutex_lock(&m_event.m_lock); }
        ~Guard() { pthread_mutex_unlock(&m_event.m_lock); }
        CWaitEvent& m_event;
    };
    void Wait(tint64 microseconds);  // m_lock held

    pthread_mutex_t m_lock;
    pthread_cond_t m_Event;
    bool m_bOpen = false;      // guarded by m_lock
    tuint64 m_generation = 0;  // counts signals; guarded by m_lock
};
