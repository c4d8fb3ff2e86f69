#include <poll.h>

#include <climits>
#include <csignal>

#include "sdk_common/PubLock.h"
#include "sdk_common/PubTime.h"
#include "sdk_common/WaitEvent.h"
#include "support/MovedTime.h"
#include "support/Test.h"

namespace {

/// A stopped clock that tells when a wait looks at it.
class CStoppedTime : public CMovedTime {
public:
    CStoppedTime() { SetRate(0); }
    tint64 RealSlice(tint64 leftMicroseconds) override { return ++m_looks, CMovedTime::RealSlice(leftMicroseconds); }

    /// Awaits a look that may have been under way, and one that saw the clock as it is now.
    bool AwaitLooks() {
        return WaitUntil([this, before = m_looks.load()] { return m_looks >= before + 2; });
    }

private:
    std::atomic<int> m_looks{0};
};

/// A thread that waits, on a clock of its own.
struct WAITER {
    explicit WAITER(const std::function<void()>& wait) : thread([this, wait] { wait(), bDone = true; }) {
        EXPECT_TRUE(clock.AwaitLooks());
    }
    bool AwaitDone() {
        return WaitUntil([this] { return bDone.load(); });
    }

    CStoppedTime clock;
    std::atomic<bool> bDone{false};
    std::jthread thread;
};

TEST(Waits, LastAsLongAsTheMovedClockSaysAndOutlastSignals) {
    signal(SIGUSR1, [](int) {});
    CWaitEvent event;
    event.CreateWaitEvent();
    const struct {
        int milliseconds;
        bool bEndsBySignal;  // in its last millisecond
        std::function<void()> wait;
    } rows[] = {
        {30000, false, [] { PUB_Sleep(30000); }},
        {30500, true, [] { PUB_Sleep(30500); }},  // the signals meet its last 500 ms
        {999, true, [] { PUB_Sleep(999); }},
        {30000, false, [&] { EXPECT_EQ(event.WaitForCond(30000), 0); }},
        {30001, false, [] { EXPECT_EQ(ClockPoll(nullptr, 0, 30001), 0); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.milliseconds);
        WAITER waiter(row.wait);
        waiter.clock.JumpWall(3600 * 1000);  // a wall clock that is set ends no wait
        waiter.clock.Advance(row.milliseconds - 1);
        EXPECT_TRUE(waiter.clock.AwaitLooks());
        EXPECT_FALSE(waiter.bDone);
        for (int i = 0; !waiter.bDone && (i < 1000 || row.bEndsBySignal); ++i)
            pthread_kill(waiter.thread.native_handle(), SIGUSR1);
        EXPECT_TRUE(row.bEndsBySignal || waiter.clock.AwaitLooks());
        waiter.clock.Advance(1);
        EXPECT_TRUE(waiter.AwaitDone());
    }
    signal(SIGUSR1, SIG_DFL);
}

// A deadline whose nanoseconds leave the second is none: the wait for it ends at once, even on a stopped clock.
TEST(Lock, IsRecursiveAndTimeLockIsAlways0) {
    CPUB_Lock lock;
    lock.Lock();
    EXPECT_EQ(lock.TryLock() + lock.TimeLock(1), 0);
    for (int held = 3; held > 0; --held) {
        CStoppedTime clock;
        for (const int wait : {INT_MIN, 0, 1000000, INT_MAX})
            std::jthread([&] { EXPECT_EQ(lock.TimeLock(wait), 0) << wait; });
        std::jthread([&] { EXPECT_EQ(lock.TryLock(), -1) << held; });
        lock.UnLock();
    }
    std::jthread([&] {
        EXPECT_EQ(lock.TryLock(), 0);
        lock.UnLock();
    });
}

TEST(WaitEvent, CloseEndsWaitsUntilCreatedAgain) {
    CWaitEvent event;
    event.WaitForCond(CWaitEvent::WAIT_FOREVER);  // not created yet
    event.CreateWaitEvent();
    event.SetEvent();  // nobody waits: lost
    WAITER first([&] { event.WaitForCond(CWaitEvent::WAIT_FOREVER); });
    event.Close();
    event.CreateWaitEvent();  // at once: who waited before must still leave
    EXPECT_TRUE(first.AwaitDone());
    WAITER second([&] { event.WaitForCond(1000); });
    event.PulseEvent();
    EXPECT_TRUE(second.AwaitDone());
}

// Two threads hand a turn to and fro without a time-out: a signal lost between look and wait would stop them for good.
TEST(WaitEvent, NoSignalIsLostWithAPredicate) {
    constexpr int TURNS = 5000;
    CWaitEvent events[2];
    std::atomic<int> turn{0};
    const auto play = [&](int side) {
        while (turn < TURNS) {
            events[side].WaitForCond(CWaitEvent::WAIT_FOREVER, [&] { return turn % 2 == side || turn >= TURNS; });
            if (turn % 2 == side && turn < TURNS) ++turn;
            events[1 - side].SetEvent();
        }
    };
    for (auto& event : events) event.CreateWaitEvent();
    std::jthread other(play, 1);
    play(0);
}

}  // namespace
