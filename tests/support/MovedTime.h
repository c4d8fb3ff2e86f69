// A clock that tests move.
#pragma once

#include <mutex>

#include "sdk_common/TimeSource.h"

/// In force from construction to destruction. Starts at the system's time and runs with it; Advance moves both clocks
/// on, JumpWall only the wall clock, SetRate makes time run faster or stand still. Waits look at the clock every 2 ms,
/// so a move takes effect at once. Fast time goes on only while somebody looks: on a machine that gives the process no
/// processor for a while, no moved seconds pass behind its back.
class CMovedTime : public CTimeSource {
public:
    CMovedTime();
    ~CMovedTime() override;

    void Advance(tint64 milliseconds);
    void JumpWall(tint64 milliseconds);

    /// From now on one real second is `rate` moved seconds; 0 stops the clock.
    void SetRate(int rate);

    tint64 WallMicroseconds() override;
    tint64 MonotonicMicroseconds() override;
    tint64 RealSlice(tint64 leftMicroseconds) override;

private:
    tint64 Now();  // m_lock held

    std::mutex m_lock;
    tint64 m_realSeen;       // when somebody last looked
    tint64 m_monotonicBase;  // moved time then, and what was advanced since
    tint64 m_wallOffset;     // wall clock less moved time
    int m_rate = 1;
};
