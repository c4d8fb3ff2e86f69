#include "support/MovedTime.h"

#include <algorithm>
#include <chrono>

namespace {

template <class Clock>
tint64 RealMicroseconds() {
    return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now().time_since_epoch()).count();
}

}  // namespace

CMovedTime::CMovedTime() : m_realSeen(RealMicroseconds<std::chrono::steady_clock>()), m_monotonicBase(m_realSeen) {
    m_wallOffset = RealMicroseconds<std::chrono::system_clock>() - m_realSeen;
    SetTimeSource(this);
}

CMovedTime::~CMovedTime() { SetTimeSource(nullptr); }

void CMovedTime::Advance(tint64 milliseconds) {
    std::lock_guard guard(m_lock);
    m_monotonicBase += milliseconds * 1000;
}

void CMovedTime::JumpWall(tint64 milliseconds) {
    std::lock_guard guard(m_lock);
    m_wallOffset += milliseconds * 1000;
}

void CMovedTime::SetRate(int rate) {
    std::lock_guard guard(m_lock);
    Now();
    m_rate = rate;
}

tint64 CMovedTime::WallMicroseconds() {
    std::lock_guard guard(m_lock);
    return Now() + m_wallOffset;
}

tint64 CMovedTime::MonotonicMicroseconds() {
    std::lock_guard guard(m_lock);
    return Now();
}

tint64 CMovedTime::RealSlice(tint64 leftMicroseconds) {
    constexpr tint64 LOOK_AGAIN = 2000;
    std::lock_guard guard(m_lock);
    const tint64 real = m_rate > 1 ? (leftMicroseconds + m_rate - 1) / m_rate : leftMicroseconds;
    return std::clamp<tint64>(real, 0, LOOK_AGAIN);
}

tint64 CMovedTime::Now() {
    constexpr tint64 LONGEST_STEP = 5000;
    const tint64 real = RealMicroseconds<std::chrono::steady_clock>(), passed = real - m_realSeen;
    m_realSeen = real;
    return m_monotonicBase += m_rate > 1 ? std::min(passed, LONGEST_STEP) * m_rate : passed * m_rate;
}
