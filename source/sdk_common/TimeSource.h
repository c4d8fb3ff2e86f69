// The one seam through which every clock, sleep and timed wait of the library goes, so that tests can move time.
#pragma once

#include "protocol/WireTypes.h"

struct pollfd;

/// A clock. The library runs on the system's; tests put a movable one in its place with SetTimeSource.
class CTimeSource {
public:
    virtual ~CTimeSource() = default;

    /// Microseconds since 1970; may jump.
    virtual tint64 WallMicroseconds() = 0;

    /// Microseconds of a clock that never jumps back.
    virtual tint64 MonotonicMicroseconds() = 0;

    /// How long a wait with `leftMicroseconds` to go may really block before it must look at the clock again.
    virtual tint64 RealSlice(tint64 leftMicroseconds) = 0;
};

/// The clock in force. Any thread.
CTimeSource& TimeSource();

/// Puts a clock in force; null puts the system's back. The caller keeps ownership and must outlive every wait on it.
void SetTimeSource(CTimeSource* pSource);

/// Runs `wait(realMicroseconds)` until it returns true (result true) or `microseconds` of the clock in force have
/// passed (result false). `wait` is called at least once, with 0 for a wait of no length; it may return early without
/// harm. A negative `microseconds` waits without limit.
template <class Wait>
bool WaitOnClock(tint64 microseconds, Wait&& wait) {
    constexpr tint64 UNLIMITED_ROUND = 3600LL * 1000000;
    CTimeSource& source = TimeSource();
    const bool bUnlimited = microseconds < 0;
    const tint64 deadline = bUnlimited ? 0 : source.MonotonicMicroseconds() + microseconds;
    for (tint64 left = bUnlimited ? UNLIMITED_ROUND : microseconds;;) {
        if (wait(source.RealSlice(left))) return true;
        if (bUnlimited) continue;
        left = deadline - source.MonotonicMicroseconds();
        if (left <= 0) return false;
    }
}

/// poll() on the clock in force. `milliseconds` below 0 waits without limit. Interruptions by signals are waited
/// through. Results as poll(): above 0 ready, 0 timed out, -1 error with errno.
int ClockPoll(pollfd* pFds, unsigned long count, int milliseconds);
