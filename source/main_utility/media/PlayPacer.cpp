#include "main_utility/media/PlayPacer.h"

#include <algorithm>
#include <limits>

namespace {

constexpr tint64 SECOND = 1000000;        // microseconds
constexpr double LONGEST_WAIT = 1e15;     // 31 years: stamps may lie, sums must not overflow
constexpr float SLOWEST_RATE = 0.03125F;  // 1/32X; each further speed doubles it
constexpr tint32 LAST_SPEED = HLX_RPB_SPEED_32X;

tuint64 ChannelBit(tuint32 channel) { return tuint64{1} << (channel & 63); }

tint32 StoredIndex(tuint32 frameIndex) {
    return static_cast<tint32>(std::min<tuint32>(frameIndex, std::numeric_limits<tint32>::max()));
}

}  // namespace

bool CPlayPacer::IsRunning(const PLAY_CTRL& slot) {
    if (slot.bSeeking) return false;
    if (slot.playStatus == N_PS_PAUSE) return slot.bPlayNext;
    return slot.playStatus == N_PS_PLAY || slot.playStatus == N_PS_FF || slot.playStatus == N_PS_REW;
}

tint64 CPlayPacer::WaitAt(tint64 stampDifference, tint32 playSpeed) {
    const tint32 speed = std::clamp<tint32>(playSpeed, HLX_RPB_SPEED_1_32X, LAST_SPEED);
    const double rate = SLOWEST_RATE * static_cast<float>(1 << (speed - 1));
    return static_cast<tint64>(std::clamp(static_cast<double>(stampDifference) / rate, -LONGEST_WAIT, LONGEST_WAIT));
}

CPlayPacer::DECISION CPlayPacer::Decide(const HLX_FRAME_INFO& frame, tint64 now) {
    const bool bPaused = m_slot.playStatus == N_PS_PAUSE;
    if (bPaused && !m_slot.bPlayNext) return {PLAY_VERDICT::WAIT, false};
    if (!IsRunning(m_slot) || !Passes(frame)) return {PLAY_VERDICT::DROP, false};
    const bool bNotify = MustNotify(frame);
    if (frame.frameType != DD_FRAME_TYPE_VIDEO) return {PLAY_VERDICT::DELIVER, bNotify};
    if (bPaused) {
        m_slot.lastFrameTime = frame.time;
        m_slot.bPlayNext = false;
        return {PLAY_VERDICT::DELIVER, bNotify};
    }
    return {IsDue(frame, now) ? PLAY_VERDICT::DELIVER : PLAY_VERDICT::WAIT, bNotify};
}

/// False for what is left over from the run before and for what lies behind the range.
bool CPlayPacer::Passes(const HLX_FRAME_INFO& frame) {
    if (m_slot.lastNotifyIndex == -1 && frame.frameIndex != 0) return false;
    const bool bEnd = frame.frameType == DD_FRAME_TYPE_END;
    const bool bBehind = frame.frameType == DD_FRAME_TYPE_VIDEO && frame.time > 0 &&
                         static_cast<tuint64>(frame.time / SECOND) > m_slot.endTime;
    if (bEnd || bBehind) {
        m_slot.playStatus = N_PS_STOP;
        m_slot.lastFrameTime = 0;
    }
    if (bBehind) return false;
    if (frame.frameIndex == 0) {
        m_slot.bFirstFrame = true;
        m_slot.lastNotifyIndex = 0;
    }
    return true;
}

bool CPlayPacer::MustNotify(const HLX_FRAME_INFO& frame) const {
    const tint64 index = frame.frameIndex;
    if (index > m_slot.lastNotifyIndex) return true;
    return m_slot.playSpeed >= FIRST_KEY_SPEED && frame.keyFrame && index != m_slot.lastNotifyIndex;
}

void CPlayPacer::Notified(tuint32 frameIndex, bool bDone) {
    m_slot.failedIndex = bDone ? -1 : StoredIndex(frameIndex);
    if (bDone) m_slot.lastNotifyIndex = StoredIndex(frameIndex);
}

/// For video while it plays. A frame that waits has moved the clock, so that only the clock is asked when it comes back.
bool CPlayPacer::IsDue(const HLX_FRAME_INFO& frame, tint64 now) {
    const tuint64 bit = ChannelBit(frame.channel);
    if (m_slot.bFirstFrame) {
        m_slot.bFirstFrame = false;
        m_slot.lastShowTime = now;
        m_slot.lastFrameTime = frame.time;
        m_slot.MultiCH = bit;
        return true;
    }
    if ((m_slot.MultiCH & bit) == 0) {  // another channel's picture of the same instant
        m_slot.MultiCH |= bit;
        return true;
    }
    const bool bReverse = m_slot.playStatus == N_PS_REW;
    const double difference = static_cast<double>(frame.time) - static_cast<double>(m_slot.lastFrameTime);
    const auto stamps =
        static_cast<tint64>(std::clamp(bReverse ? -difference : difference, -LONGEST_WAIT, LONGEST_WAIT));
    const tint64 wait = WaitAt(stamps, m_slot.playSpeed);
    const bool bHole = (!bReverse && wait >= GAP_LIMIT) || stamps < -STAMP_JITTER;
    m_slot.lastFrameTime = frame.time;
    if (!bHole && !MoveClock(wait, now)) return false;
    m_slot.MultiCH = bit;
    return true;
}

/// True if the moment has come.
bool CPlayPacer::MoveClock(tint64 wait, tint64 now) {
    m_slot.lastShowTime += wait;
    return now >= m_slot.lastShowTime;
}

size_t CPlaySync::PlaceOf(const PLAYBACK_SYNC_INFO& info, tuint32 streamID) {
    return static_cast<size_t>(std::find(info.streamID, info.streamID + info.lChnNum, streamID) - info.streamID);
}

void CPlaySync::SetTime(PLAYBACK_SYNC_INFO& info, tuint32 streamID, tint64 time) {
    const size_t place = PlaceOf(info, streamID);
    if (place < info.lChnNum) info.curTime[place] = time;
}

bool CPlaySync::MayPass(PLAYBACK_SYNC_INFO& info, size_t place, tint64 frameTime) {
    info.curTime[place] = frameTime;
    const auto holdsUp = [&](tint64 curTime) {
        const tuint64 lead = static_cast<tuint64>(frameTime) - static_cast<tuint64>(curTime);
        return curTime == 0 || (frameTime > curTime && lead > SYNC_WINDOW);
    };
    return std::none_of(info.curTime, info.curTime + info.lChnNum, holdsUp);
}
