// Recordings played through the exported functions. HLX_TEST_ROUNDS above 9 takes the long forms.
#include <algorithm>
#include <cmath>
#include <list>
#include <thread>

#include "System.h"

namespace {

constexpr std::int64_t SECOND = 1000000, END = 1'793'000'000;
constexpr double RATES[] = {0.25, 0.5, 1, 2, 4};  // from HLX_RPB_SPEED_1_4X on

std::int64_t Now() { return TimeSource().MonotonicMicroseconds(); }

class Playback : public CSystemTest {
protected:
    struct STREAM {
        POINTERHANDLE lHandle = 0;
        std::mutex lock;
        std::vector<std::pair<HLX_FRAME_INFO, std::int64_t>> frames;  // video and end, and when they came
        std::function<void()> inCallback;
    };

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
    static DD_TIME Time(std::int64_t seconds) {
        DD_TIME time{};
        HLX_FormatTime(seconds * SECOND, &time);
        return time;
    }
    void Play(STREAM& stream, LONG lUserID, LONG lChannel, int seconds) {
        const DD_TIME from = Time(m_from), to = Time(m_from + seconds);
        stream.lHandle = HLX_PlayBackByTime(lUserID, &lChannel, 1, &from, &to, nullptr);
        ASSERT_GT(stream.lHandle, 0) << HLX_GetLastError();
        HLX_SetPlayDataCallBack(stream.lHandle, OnFrame, &stream);
    }
    static void OnFrame(POINTERHANDLE, HLX_FRAME_INFO info, BYTE*, void* pUser) {
        auto& stream = *static_cast<STREAM*>(pUser);
        if (stream.inCallback) stream.inCallback();
        std::lock_guard guard(stream.lock);
        if (info.frameType == DD_FRAME_TYPE_VIDEO || info.frameType == DD_FRAME_TYPE_END)
            stream.frames.emplace_back(info, Now());
    }
    static auto Frames(STREAM& stream) {
        std::lock_guard guard(stream.lock);
        return stream.frames;
    }
    static bool Ended(STREAM& stream) {
        return WaitUntil([&] {
            const auto frames = Frames(stream);
            return !frames.empty() && frames.back().first.frameType == DD_FRAME_TYPE_END;
        });
    }
    static BOOL Control(const STREAM& stream, HLX_PLAYCTRL_TYPE code, std::int64_t value = 0) {
        return HLX_PlayBackControl(stream.lHandle, code, static_cast<DWORD>(value), nullptr);
    }
    std::int64_t m_from = 0;
};

TEST_F(Playback, PacedOnNineStreamsOfThreeRecorders) {
    const bool bLong = Rounds(1) > 9;
    std::list<STREAM> streams;
    for (int i = 0; i < 3; ++i) {
        const LONG lUserID = Open();
        for (LONG channel = 0; channel < (i < 2 ? 4 : 1); ++channel)
            Play(streams.emplace_back(), lUserID, channel, 300);
    }
    for (DWORD speed = HLX_RPB_SPEED_1_4X; speed <= HLX_RPB_SPEED_4X; ++speed) {
        if (!bLong && speed != HLX_RPB_SPEED_4X) continue;
        for (STREAM& stream : streams) {
            EXPECT_TRUE(Control(stream, HLX_PLAYCTRL_SETPOS, m_from));
            EXPECT_TRUE(Control(stream, HLX_PLAYCTRL_FF, speed));
            std::lock_guard guard(stream.lock);
            stream.frames.clear();
        }
        std::this_thread::sleep_for(std::chrono::seconds(bLong ? 10 : 1));
        std::vector<double> errors;  // milliseconds
        for (STREAM& stream : streams) {
            const auto frames = Frames(stream);
            ASSERT_GT(frames.size(), 4u);
            std::vector<double> lags;  // behind the first frame's clock; the stream's own is their middle
            for (const auto& [info, came] : frames)
                lags.push_back(static_cast<double>(came - frames[0].second) -
                               static_cast<double>(info.time - frames[0].first.time) /
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
    for (const STREAM& stream : streams) EXPECT_TRUE(HLX_StopPlayBack(stream.lHandle));
}

TEST_F(Playback, SeeksStepsAndEndsAsTheRecordingDoes) {
    const LONG lUserID = Open();
    STREAM stream;
    Play(stream, lUserID, 0, 4);
    ASSERT_TRUE(Control(stream, HLX_PLAYCTRL_PAUSE));
    ASSERT_TRUE(Control(stream, HLX_PLAYCTRL_SETPOS, m_from + 2) && Control(stream, HLX_PLAYCTRL_PAUSE));
    for (size_t before = Frames(stream).size(), step = 1; step <= 3; ++step) {
        EXPECT_TRUE(Control(stream, HLX_PLAYCTRL_FRAME));
        EXPECT_TRUE(WaitUntil([&] { return Frames(stream).size() == before + step; })) << "one frame a step";
    }
    ASSERT_TRUE(Control(stream, HLX_PLAYCTRL_SETPOS, m_from));
    {
        std::lock_guard guard(stream.lock);
        stream.frames.clear();
    }
    EXPECT_TRUE(Control(stream, HLX_PLAYCTRL_FF, HLX_RPB_SPEED_4X));
    ASSERT_TRUE(Ended(stream));
    const auto frames = Frames(stream);
    for (size_t i = 1; i + 1 < frames.size(); ++i) EXPECT_GT(frames[i].first.time, frames[i - 1].first.time);
    EXPECT_GE(frames.size(), 90u) << "of 4 s at 25 a second, those at the seek maybe missing";
    EXPECT_TRUE(HLX_StopPlayBack(stream.lHandle)) << "the handle stood";
}

TEST_F(Playback, RefusedInsideItsCallback) {
    const LONG lUserID = Open();
    STREAM stream;
    std::atomic<int> refused{0};
    stream.inCallback = [&] {
        const auto permitted = [&](BOOL bDone) { return bDone || HLX_GetLastError() != HLX_OPER_NOPERMIT; };
        if (refused) return;
        refused = !permitted(HLX_StopPlayBack(stream.lHandle)) + !permitted(Control(stream, HLX_PLAYCTRL_PAUSE)) +
                  !permitted(HLX_Logout(lUserID)) + !permitted(HLX_Cleanup());
    };
    Play(stream, lUserID, 0, 60);
    EXPECT_TRUE(WaitUntil([&] { return refused == 4; })) << refused;
    m_recorders.back()->Stop();
    EXPECT_TRUE(HLX_StopPlayBack(stream.lHandle)) << "on a link that broke";
}

}  // namespace
