#include "sdk_common/WaitEvent.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <ctime>

namespace {

static_assert(sizeof(std::atomic<tuint32>) == sizeof(tuint32) && std::atomic<tuint32>::is_always_lock_free,
              "the system looks at the counter as at a word");

}  // namespace

bool CWaitEvent::CreateWaitEvent() {
    m_bOpen = true;
    return true;
}

void CWaitEvent::Close() {
    m_bOpen = false;
    Signal(INT_MAX);
}

void CWaitEvent::SetEvent() { Signal(1); }

void CWaitEvent::PulseEvent() { Signal(INT_MAX); }

// A waiter counts itself before it looks at the signals, and a signal is counted before the waiters are: one of the two
// sees the other.
void CWaitEvent::Signal(int waiters) {
    ++m_signals;
    if (m_waiting > 0) syscall(SYS_futex, &m_signals, FUTEX_WAKE_PRIVATE, waiters, nullptr, nullptr, 0);
}

// The length of the wait goes by the monotonic clock.
void CWaitEvent::Wait(tuint32 signals, tint64 microseconds) {
    const timespec length{microseconds / 1000000, microseconds % 1000000 * 1000};
    ++m_waiting;
    syscall(SYS_futex, &m_signals, FUTEX_WAIT_PRIVATE, signals, &length, nullptr, 0);
    --m_waiting;
}
