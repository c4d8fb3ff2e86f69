// Wakes whoever moves talk sound when a device has some.
#pragma once

#include <atomic>

#include "protocol/WireTypes.h"
#include "sdk_common/WaitEvent.h"

/// One for the process. A device class tells of each talk frame that it queues, so that nobody has to look for frames
/// again and again. Any thread.
class CTalkArrival {
public:
    static CTalkArrival& Instance() {
        static CTalkArrival arrival;
        return arrival;
    }
    CTalkArrival(const CTalkArrival&) = delete;
    CTalkArrival& operator=(const CTalkArrival&) = delete;

    /// A frame was queued, or a waiter has something else to look at.
    void Tell() {
        ++m_count;
        m_event.PulseEvent();
    }

    /// Grows with each Tell. Read it before looking for frames.
    tuint64 Count() const { return m_count; }

    /// Blocks until the count is no longer `seen`.
    void WaitBeyond(tuint64 seen) {
        while (m_count == seen) m_event.WaitForCond(CWaitEvent::WAIT_FOREVER, [&] { return m_count != seen; });
    }

private:
    CTalkArrival() { m_event.CreateWaitEvent(); }

    std::atomic<tuint64> m_count{0};
    CWaitEvent m_event;
};
