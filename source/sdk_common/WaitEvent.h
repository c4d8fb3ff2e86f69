// A condition on which one thread waits for another, without a signalled state.
#pragma once

#include <atomic>

#include "protocol/WireTypes.h"
#include "sdk_common/TimeSource.h"

/// SetEvent wakes one waiter, PulseEvent all; with nobody waiting both are lost, so callers pair them with a time-out
/// or give WaitForCond a predicate. Close wakes all waiters and makes further waits return at once, until
/// CreateWaitEvent is called again; it is safe while threads wait. No lock is taken, so that a signal costs one call of
/// the system where somebody waits and none elsewhere, and who wakes has nothing left to wait for.
class CWaitEvent {
public:
    static constexpr tuint32 WAIT_FOREVER = 0xFFFFFFFF;

    CWaitEvent() = default;
    ~CWaitEvent() { Close(); }
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

    /// The same, but does not begin or go on to wait once `ready()` is true. What makes it true must happen before
    /// SetEvent.
    template <class Ready>
    int WaitForCond(tuint32 ms, Ready&& ready) {
        const tuint32 signals = m_signals;
        const auto isOver = [&] { return !m_bOpen || m_signals != signals || ready(); };
        WaitOnClock(ms == WAIT_FOREVER ? -1 : tint64{ms} * 1000, [&](tint64 slice) {
            if (isOver()) return true;
            if (slice > 0) Wait(signals, slice);
            return isOver();
        });
        return 0;
    }

private:
    void Wait(tuint32 signals, tint64 microseconds);
    void Signal(int waiters);

    std::atomic<bool> m_bOpen{false};
    std::atomic<tuint32> m_signals{0};  // counts them; the system compares it as it sends a waiter to sleep
    std::atomic<int> m_waiting{0};
};
