#include "sdk_common/TimeSource.h"

#include <poll.h>
#include <atomic>
#include <cerrno>
#include <ctime>

namespace {

tint64 ReadClock(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return tint64{now.tv_sec} * 1000000 + now.tv_nsec / 1000;
}

class CSystemTime : public CTimeSource {
public:
    tint64 WallMicroseconds() override { return ReadClock(CLOCK_REALTIME); }
    tint64 MonotonicMicroseconds() override { return ReadClock(CLOCK_MONOTONIC); }
    tint64 RealSlice(tint64 leftMicroseconds) override { return leftMicroseconds; }
};

constinit CSystemTime g_systemTime;
constinit std::atomic<CTimeSource*> g_pTimeSource{&g_systemTime};

}  // namespace

CTimeSource& TimeSource() { return *g_pTimeSource.load(std::memory_order_acquire); }

void SetTimeSource(CTimeSource* pSource) {
    g_pTimeSource.store(pSource ? pSource : &g_systemTime, std::memory_order_release);
}

int ClockPoll(pollfd* pFds, unsigned long count, int milliseconds) {
    int ready = 0;
    const tint64 wanted = milliseconds < 0 ? -1 : tint64{milliseconds} * 1000;
    WaitOnClock(wanted, [&](tint64 slice) {
        const timespec wait{slice / 1000000, slice % 1000000 * 1000};
        ready = ppoll(pFds, count, &wait, nullptr);
        if (ready < 0 && errno == EINTR) ready = 0;
        return ready != 0;
    });
    return ready;
}
