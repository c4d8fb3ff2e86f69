// Recordings played through the exported functions. HLX_TEST_ROUNDS above 9 takes the long forms.
#include <cmath>
#include <list>

#include "Recorded.h"

namespace {

constexpr std::int64_t END = 1'793'000'000;
constexpr double RATES[] = {0.25, 0.5, 1, 2, 4};  // from HLX_RPB_SPEED_1_4X on

class Playback : public CSystemTest {
protected:
    LONG Open() {
        CLASSIC_RECORDER_CONFIG config = Fast(4, 1);
        config.recordings.days = 1;
        config.recordings.end = END;
        CClassicRecorder& recorder = StartRecorder(config);
        const auto& files = recorder.Archive().Files();
        const auto covered = [&](std::int64_t time) {  // on four channels, for longer than any of these tests plays
            return std::ranges::count_if(files, [&](const ARCHIVE_FILE& file) {
                       return file.span.start <= time && time + 310 <= file.span.stop;
                   }) == 4;
        };
        const auto found = std::ranges::find_if(files, [&](const auto& file) { return covered(file.span.start + 30); });
        m_from = found == files.end() ? 0 : found->span.start + 30;
        return Login();
    }
    void Play(CPlayed& stream, LONG lUserID, LONG lChannel, int seconds) {
        stream.Play(lUserID, {lChannel}, m_from, m_from + seconds);
    }
    std::int64_t m_from = 0;
};

TEST_F(Playback, PacedOnNineStreamsOfThreeRecorders) {
    const bool bLong = Rounds(1) > 9;
    std::list<CPlayed> streams;
    for (int i = 0; i < 3; ++i) {
        const LONG lUserID = Open();
        for (LONG channel = 0; channel < (i < 2 ? 4 : 1); ++channel)
            Play(streams.emplace_back(), lUserID, channel, 300);
    }
    for (DWORD speed = HLX_RPB_SPEED_1_4X; speed <= HLX_RPB_SPEED_4X; ++speed) {
        if (!bLong && speed != HLX_RPB_SPEED_4X) continue;
        for (CPlayed& stream : streams) {
            EXPECT_TRUE(stream.Control(HLX_PLAYCTRL_SETPOS, m_from) && stream.Control(HLX_PLAYCTRL_FF, speed));
            stream.Forget();
        }
        std::this_thread::sleep_for(std::chrono::seconds(bLong ? 10 : 1));
        std::vector<double> errors;  // milliseconds
        for (CPlayed& stream : streams) {
            const auto frames = stream.Pictures();
            ASSERT_GT(frames.size(), 4u);
            std::vector<double> lags;  // behind the first frame's clock; the stream's own is their middle
            for (const PLAYED_FRAME& frame : frames)
                lags.push_back(static_cast<double>(frame.came - frames[0].came) -
                               static_cast<double>(frame.info.time - frames[0].info.time) /
                                   RATES[speed - HLX_RPB_SPEED_1_4X]);
            std::ranges::sort(lags);
            for (const double lag : lags) errors.push_back(std::abs(lag - lags[lags.size() / 2]) / 1000);
        }
        std::ranges::sort(errors);
        const double worst = errors[errors.size() * 99 / 100], middle = errors[errors.size() / 2];
        std::printf("speed %u: %zu frames, 99 of 100 within %.2f ms, half within %.2f ms\n", speed, errors.size(),
                    worst, middle);
        EXPECT_LT(bLong ? worst : middle, 15.0);
    }
    for (const CPlayed& stream : streams) EXPECT_TRUE(HLX_StopPlayBack(stream.m_lHandle));
}

TEST_F(Playback, SeeksStepsAndEndsAsTheRecordingDoes) {
    const LONG lUserID = Open();
    CPlayed stream;
    Play(stream, lUserID, 0, 4);
    ASSERT_TRUE(stream.Control(HLX_PLAYCTRL_PAUSE));
    ASSERT_TRUE(stream.Control(HLX_PLAYCTRL_SETPOS, m_from + 2) && stream.Control(HLX_PLAYCTRL_PAUSE));
    for (size_t before = stream.Pictures().size(), step = 1; step <= 3; ++step) {
        EXPECT_TRUE(stream.Control(HLX_PLAYCTRL_FRAME));
        EXPECT_TRUE(WaitUntil([&] { return stream.Pictures().size() == before + step; })) << "one frame a step";
    }
    ASSERT_TRUE(stream.Control(HLX_PLAYCTRL_SETPOS, m_from));
    stream.Forget();
    EXPECT_TRUE(stream.Control(HLX_PLAYCTRL_FF, HLX_RPB_SPEED_4X));
    ASSERT_TRUE(stream.Ended());
    const auto frames = stream.Pictures();
    for (size_t i = 1; i + 1 < frames.size(); ++i) EXPECT_GT(frames[i].info.time, frames[i - 1].info.time);
    EXPECT_GE(frames.size(), 90u) << "of 4 s at 25 a second, those at the seek maybe missing";
    EXPECT_TRUE(HLX_StopPlayBack(stream.m_lHandle)) << "the handle stood";
}

/// All playbacks share a thread: a slow callback holds the others up for its own time, and no longer.
TEST_F(Playback, ASlowCallbackDoesNotStarveTheOthers) {
    const LONG lUserID = Open();
    std::atomic<int> slowOnes{0}, inARow{0}, longest{0}, others{0};
    CPlayed slow, other;
    slow.m_inCallback = [&](const HLX_FRAME_INFO&) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        ++slowOnes;
        ++inARow;
        if (others > 0) longest = std::max(longest.load(), inARow.load());
    };
    other.m_inCallback = [&](const HLX_FRAME_INFO&) {
        inARow = 0;
        ++others;
    };
    Play(slow, lUserID, 0, 300);
    Play(other, lUserID, 1, 300);
    CReceiver live;
    EXPECT_GT(live.Play(lUserID, 2), 0);
    EXPECT_TRUE(WaitUntil([&] { return slowOnes >= 25; }));
    EXPECT_LE(longest, 6) << "frames of the slow one while frames of the other were due";
    EXPECT_GT(others, slowOnes.load());
    EXPECT_TRUE(live.WaitForFrames(10));
}

TEST_F(Playback, RefusedInsideItsCallback) {
    const LONG lUserID = Open();
    CPlayed stream;
    std::atomic<int> refused{0};
    stream.m_inCallback = [&](const HLX_FRAME_INFO&) {
        const auto permitted = [&](BOOL bDone) { return bDone || HLX_GetLastError() != HLX_OPER_NOPERMIT; };
        if (refused) return;
        refused = !permitted(HLX_StopPlayBack(stream.m_lHandle)) + !permitted(stream.Control(HLX_PLAYCTRL_PAUSE)) +
                  !permitted(HLX_Logout(lUserID)) + !permitted(HLX_Cleanup());
    };
    Play(stream, lUserID, 0, 60);
    EXPECT_TRUE(WaitUntil([&] { return refused == 4; })) << refused;
    m_recorders.back()->Stop();
    EXPECT_TRUE(HLX_StopPlayBack(stream.m_lHandle)) << "on a link that broke";
}

}  // namespace
