// Wakes one thread that has several things to wait for.
#pragma once

#include <atomic>

#include "sdk_common/WaitEvent.h"

/// A wake-up is never lost: one that comes while the thread works ends its next wait at once. Any number of threads
/// wake, one waits.
class CWaker {
public:
    CWaker() { m_event.CreateWaitEvent(); }

    /// Any thread; takes a leaf lock.
    void Wake() {
        if (!m_bWoken.exchange(true)) m_event.SetEvent();
    }

    /// Waits for Wake, at most `ms` milliseconds (CWaitEvent::WAIT_FOREVER: without limit).
    void Wait(tuint32 ms) {
        m_event.WaitForCond(ms, [this] { return m_bWoken.load(); });
        m_bWoken = false;
    }

private:
    CWaitEvent m_event;
    std::atomic<bool> m_bWoken{false};
};
