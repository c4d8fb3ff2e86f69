#include "main_utility/media/PlayPacer.h"
#include "support/Test.h"

#include <limits>

namespace {

constexpr tint64 MS = 1000, SECOND = 1000000, START = 1'700'000'000 * SECOND, CLOCK = 77 * SECOND;

/// A slot that plays, and a clock that stands where the last frame was due.
class PlayPacer : public testing::Test {
protected:
    PlayPacer() {
        m_slot.playStatus = N_PS_PLAY;
        m_slot.endTime = (START + 3600 * SECOND) / SECOND;
    }
    HLX_FRAME_INFO Frame(tint64 offset, DWORD type = DD_FRAME_TYPE_VIDEO, tuint32 channel = 0) {
        HLX_FRAME_INFO frame{};
        frame.frameType = type;
        frame.channel = channel;
        frame.frameIndex = m_index++;
        frame.time = START + offset;
        return frame;
    }
    /// How long the frame is waited for, nothing if it is dropped. A frame that waits comes back just before it is due,
    /// when it must wait on, and then in time.
    std::optional<tint64> Wait(const HLX_FRAME_INFO& frame) {
        const tint64 from = m_now;
        auto verdict = CPlayPacer(m_slot).Decide(frame, m_now).verdict;
        if (verdict == PLAY_VERDICT::WAIT) {
            m_now = m_slot.lastShowTime;
            EXPECT_EQ(CPlayPacer(m_slot).Decide(frame, m_now - 1).verdict, PLAY_VERDICT::WAIT);
            verdict = CPlayPacer(m_slot).Decide(frame, m_now).verdict;
            EXPECT_EQ(verdict, PLAY_VERDICT::DELIVER);
        }
        if (verdict == PLAY_VERDICT::DROP) return std::nullopt;
        return m_now - from;
    }
    std::vector<tint64> Waits(const std::vector<tint64>& offsets) {
        std::vector<tint64> waits;
        for (const tint64 offset : offsets) waits.push_back(Wait(Frame(offset * MS)).value_or(-1) / MS);
        return waits;
    }
    PLAY_VERDICT Verdict(const HLX_FRAME_INFO& frame) { return CPlayPacer(m_slot).Decide(frame, m_now).verdict; }

    PLAY_CTRL m_slot;
    tint64 m_now = CLOCK;
    tuint32 m_index = 0;
};

using Milliseconds = std::vector<tint64>;

TEST_F(PlayPacer, WaitsByStampsSpeedAndDirection) {
    const std::tuple<tuint32, tint32, Milliseconds, Milliseconds> rows[] = {
        // status, speed; stamps and waits, milliseconds
        {N_PS_PLAY, 6, {0, 40, 80, 1579}, {0, 40, 40, 1499}},
        {N_PS_FF, 7, {0, 40, 80}, {0, 20, 20}},
        {N_PS_FF, 8, {0, 40, 80}, {0, 10, 10}},
        {N_PS_FF, 9, {0, 2000, 4000}, {0, 250, 250}},
        {N_PS_FF, 11, {0, 3200}, {0, 100}},
        {N_PS_FF, 99, {0, 3200}, {0, 100}},
        {N_PS_PLAY, 5, {0, 40}, {0, 80}},
        {N_PS_PLAY, 4, {0, 40, 80}, {0, 160, 160}},
        {N_PS_PLAY, 1, {0, 40}, {0, 1280}},
        {N_PS_PLAY, -5, {0, 40}, {0, 1280}},
        {N_PS_PLAY, 6, {0, 40, 3040, 3080}, {0, 40, 0, 40}},  // a hole is skipped, and the spacing stays
        {N_PS_PLAY, 6, {0, 1500, 1540}, {0, 0, 40}},
        {N_PS_PLAY, 5, {0, 1000, 1040}, {0, 0, 80}},         // 2 s at half speed are a hole, too
        {N_PS_REW, 6, {9000, 6000, 5000}, {0, 3000, 1000}},  // no hole in reverse
        {N_PS_REW, 9, {9000, 1000}, {0, 1000}},
        {N_PS_PLAY, 6, {0, 50, 40, 90}, {0, 50, 0, 40}},          // stamps that jitter
        {N_PS_PLAY, 6, {9000, 8000, 7000, 7040}, {0, 0, 0, 40}},  // what was sent in reverse counts for nothing
        {N_PS_REW, 6, {0, 1000, 900}, {0, 0, 100}},
        {N_PS_FF, 10, {9000, 8000, 7000, 7320}, {0, 0, 0, 20}},  // and fast or slow, the stamps tell it
        {N_PS_PLAY, 4, {0, 80, 40, 120}, {0, 320, 0, 160}},
    };
    for (const auto& [status, speed, stamps, waits] : rows) {
        m_index = 0;
        m_slot.playStatus = status;
        m_slot.playSpeed = speed;
        EXPECT_EQ(Waits(stamps), waits) << status << " at " << speed;
    }
}

TEST_F(PlayPacer, ALateStreamCatchesUpAtFullRate) {
    EXPECT_EQ(Waits({0, 40}), (Milliseconds{0, 40}));
    m_now += 100 * MS;
    EXPECT_EQ(Waits({80, 120, 160, 200}), (Milliseconds{0, 0, 20, 40}));
}

TEST_F(PlayPacer, PicturesOfOneInstantComeTogether) {
    EXPECT_EQ(Wait(Frame(0)), 0);
    EXPECT_EQ(Wait(Frame(10 * MS, DD_FRAME_TYPE_VIDEO, 1)), 0);
    EXPECT_EQ(Wait(Frame(12 * MS, DD_FRAME_TYPE_VIDEO, 63)), 0);
    EXPECT_EQ(Wait(Frame(40 * MS, DD_FRAME_TYPE_VIDEO, 1)), 40 * MS) << "a new instant";
    EXPECT_EQ(Wait(Frame(45 * MS)), 0);
    EXPECT_EQ(Wait(Frame(50 * MS, DD_FRAME_TYPE_AUDIO)), 0) << "sound is not paced";
}

TEST_F(PlayPacer, ARunBeginsAtIndexZeroAndEndsByItself) {
    m_index = 5;
    EXPECT_EQ(Verdict(Frame(0)), PLAY_VERDICT::DROP) << "left over from the run before";
    m_index = 0;
    EXPECT_EQ(Waits({5000, 5040}), (Milliseconds{0, 40}));
    m_slot.lastNotifyIndex = -1;  // a seek
    EXPECT_EQ(Verdict(Frame(5080)), PLAY_VERDICT::DROP);
    m_index = 0;
    EXPECT_EQ(Waits({1000, 1040}), (Milliseconds{0, 40}));

    const tint64 last = 3600 * 1000 + 999;  // the range's last second is part of it
    m_slot.bFirstFrame = true;
    EXPECT_EQ(Waits({last}), Milliseconds{0});
    EXPECT_EQ(Verdict(Frame((last + 1) * MS)), PLAY_VERDICT::DROP);
    EXPECT_EQ(m_slot.playStatus, N_PS_STOP);
    EXPECT_EQ(m_slot.lastFrameTime, 0);
    EXPECT_EQ(Verdict(Frame(0)), PLAY_VERDICT::DROP);

    m_slot.playStatus = N_PS_PLAY;
    EXPECT_EQ(Verdict(Frame(0, DD_FRAME_TYPE_END)), PLAY_VERDICT::DELIVER);
    EXPECT_EQ(m_slot.playStatus, N_PS_STOP);
}

TEST_F(PlayPacer, OneStepShowsOneVideoFrame) {
    EXPECT_EQ(Waits({0}), Milliseconds{0});
    m_slot.playStatus = N_PS_PAUSE;
    EXPECT_FALSE(CPlayPacer::IsRunning(m_slot));
    EXPECT_EQ(Verdict(Frame(40 * MS, DD_FRAME_TYPE_AUDIO)), PLAY_VERDICT::WAIT);
    m_slot.bPlayNext = true;
    EXPECT_TRUE(CPlayPacer::IsRunning(m_slot));
    EXPECT_EQ(Verdict(Frame(40 * MS, DD_FRAME_TYPE_AUDIO)), PLAY_VERDICT::DELIVER);
    EXPECT_EQ(Verdict(Frame(80 * MS)), PLAY_VERDICT::DELIVER);
    EXPECT_EQ(m_slot.lastFrameTime, START + 80 * MS);
    EXPECT_EQ(Verdict(Frame(120 * MS)), PLAY_VERDICT::WAIT);
    m_slot.playStatus = N_PS_PLAY;
    m_slot.bFirstFrame = true;  // by the control call
    m_now += SECOND;
    EXPECT_EQ(Waits({120, 160}), (Milliseconds{0, 40}));
}

TEST_F(PlayPacer, TellsTheDeviceWhatWasTaken) {
    const std::tuple<tint32, tint32, tuint32, bool, bool> rows[] = {
        // speed, told last, index, key frame; told
        {6, 3, 4, false, true},  {6, 4, 4, false, false}, {6, 4, 2, true, false},           {8, 4, 2, true, false},
        {9, 3, 4, false, true},  {9, 4, 2, true, true},   {9, 4, 2, false, false},          {9, 4, 4, true, false},
        {6, 0, 0, false, false}, {6, -1, 0, true, false}, {6, 2147483647, ~0u, false, true}};
    for (const auto& [speed, last, index, bKey, bTold] : rows) {
        m_slot.playSpeed = speed;
        m_slot.lastNotifyIndex = last;
        HLX_FRAME_INFO frame = Frame(0, DD_FRAME_TYPE_AUDIO);
        frame.frameIndex = index;
        frame.keyFrame = bKey;
        EXPECT_EQ(CPlayPacer(m_slot).Decide(frame, m_now).bNotify, bTold) << speed << ' ' << last << ' ' << index;
    }
    m_slot.lastNotifyIndex = 4;
    CPlayPacer(m_slot).Notified(9, false);
    EXPECT_TRUE(m_slot.lastNotifyIndex == 4 && m_slot.failedIndex == 9);
    CPlayPacer(m_slot).Notified(9, true);
    EXPECT_TRUE(m_slot.lastNotifyIndex == 9 && m_slot.failedIndex == -1);
}

TEST_F(PlayPacer, StampsThatLie) {
    constexpr tint64 LEAST = std::numeric_limits<tint64>::min(), MOST = std::numeric_limits<tint64>::max();
    m_slot.endTime = ~tuint64{0};
    for (const tuint32 status : {N_PS_PLAY, N_PS_REW}) {
        m_index = 0;
        m_slot.playStatus = status;
        for (const tint64 time : {tint64{0}, MOST, LEAST, MOST, tint64{-1}, LEAST, LEAST, MOST}) {
            HLX_FRAME_INFO frame = Frame(0);
            frame.time = time;
            CPlayPacer(m_slot).Decide(frame, m_now);
        }
        m_slot.bFirstFrame = true;  // any control call mends it
        EXPECT_EQ(Wait(Frame(0)), 0);
    }
}

TEST(PlaySync, SlotsStayWithinTheWindow) {
    const std::tuple<tint64, tint64, tint64, bool> rows[] = {
        // stamps of the two others, stamp of this; passes
        {0, 5, 5, false},      {5, 0, 5, false},           {5, 5, 5, true},           {5, 5, 300005, true},
        {5, 5, 300006, false}, {300006, 5, 300006, false}, {900000, 900000, 5, true}, {CPlaySync::ENDED, 5, 6, true},
    };
    for (const auto& [first, second, own, bPasses] : rows) {
        PLAYBACK_SYNC_INFO info;
        info.lChnNum = 3;
        info.curTime[0] = first;
        info.curTime[2] = second;
        EXPECT_EQ(CPlaySync::MayPass(info, 1, own), bPasses) << first << ' ' << second << ' ' << own;
        EXPECT_EQ(info.curTime[1], own);
    }
}

}  // namespace
