// What a playback brings is what the archive has: forward, sought, stepped, fast, backward, in step and saved.
#include <algorithm>
#include <iterator>

#include "Recorded.h"
#include "support/AVIFileReader.h"

namespace {

constexpr int RATE = 50;  // of the library's clock, which the pacing follows

using Frames = std::vector<PLAYED_FRAME>;

class PlaybackContent : public CRecordedTest {
protected:
    void SetUp() override {
        CSystemTest::SetUp();
        CLASSIC_RECORDER_CONFIG config = Fast(4);
        config.heartbeat = std::chrono::milliseconds(20);  // in step with the faster clock
        Open(config);
        m_start = m_places->change.changeAt - 60;
    }
    /// From its first frame on: nobody hears what comes between a start and the setting of the callback.
    static void Restart(const CPlayed& played, std::int64_t start) {
        ASSERT_TRUE(played.Control(HLX_PLAYCTRL_SETPOS, start)) << HLX_GetLastError();
    }
    static std::vector<ARCHIVE_FRAME> Keys(const ARCHIVE_SEQUENCE& sequence) {
        std::vector<ARCHIVE_FRAME> keys;
        std::ranges::copy_if(sequence.frames, std::back_inserter(keys), &ARCHIVE_FRAME::bKeyFrame);
        return keys;
    }
    /// The frames from the first on for which `isIt` holds, the end left out.
    template <class Is>
    static Frames From(const Frames& frames, Is&& isIt) {
        Frames tail(std::ranges::find_if(frames, isIt), frames.end());
        std::erase_if(tail, [](const auto& frame) { return frame.info.frameType == DD_FRAME_TYPE_END; });
        return tail;
    }
    /// Whether a playback's own time is that of the picture which it brings.
    static bool IsTold(POINTERHANDLE handle, const HLX_FRAME_INFO& picture) {
        DD_TIME told{};
        if (!HLX_GetPlayBackOsdTime(handle, &told)) return false;
        tm local{};
        local.tm_sec = static_cast<int>(told.second);
        local.tm_min = static_cast<int>(told.minute);
        local.tm_hour = static_cast<int>(told.hour);
        local.tm_mday = static_cast<int>(told.mday);
        local.tm_mon = static_cast<int>(told.month);
        local.tm_year = static_cast<int>(told.year);
        local.tm_isdst = -1;
        return picture.time / 1000000 == mktime(&local);
    }

    std::int64_t m_start = 0;  // nothing changes for the next minute
};

TEST_F(PlaybackContent, IsThatOfTheArchive) {
    const ARCHIVE_PLACES& places = *m_places;
    const struct {
        const char* pWhat;
        std::vector<LONG> channels;
        std::int64_t start, stop;
        bool bFirst = true;
    } rows[] = {{"four channels", {0, 1, 2, 3}, m_start, m_start + 6},
                {"size change", {0}, places.change.changeAt - 4, places.change.changeAt + 4},
                {"gap", {0}, places.gap.start - 4, places.gap.stop + 4},
                {"gap of two channels", {0, 2}, places.gap.start - 4, places.gap.stop + 4},
                {"H.265", {1}, places.last.span.start + 1, places.last.span.start + 7},
                {"sub stream", {2}, m_start, m_start + 6, false}};
    const CFastTime fast(RATE);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.pWhat);
        std::atomic<int> wrongTimes{0};
        CPlayed played;
        played.m_inCallback = [&](const HLX_FRAME_INFO& info) {
            wrongTimes += info.frameType == DD_FRAME_TYPE_VIDEO && !IsTold(played.m_lHandle, info);
        };
        played.Play(m_lUserID, row.channels, row.start, row.stop, row.bFirst);
        Restart(played, row.start);
        EXPECT_TRUE(played.Ended());
        ExpectRecorded(played.LastRun(),
                       Expected({row.channels.begin(), row.channels.end()}, row.start, row.stop, row.bFirst).frames);
        // With several channels it is that of the instant's first picture.
        EXPECT_TRUE(wrongTimes == 0 || row.channels.size() > 1) << wrongTimes;
        EXPECT_TRUE(HLX_StopPlayBack(played.m_lHandle));
    }
}

TEST_F(PlaybackContent, OfSeeksAndSteps) {
    const ARCHIVE_SEQUENCE expected = Expected({0}, m_start + 7, m_start + 10);
    CPlayed played;
    played.Play(m_lUserID, {0}, m_start, m_start + 10);
    Restart(played, m_start + 7);
    ASSERT_TRUE(played.Control(HLX_PLAYCTRL_PAUSE));
    for (size_t step = 0, before = played.RunPictures(); step < 20; ++step) {
        EXPECT_TRUE(played.Control(HLX_PLAYCTRL_FRAME));
        EXPECT_TRUE(WaitUntil([&] { return played.RunPictures() > before + step; })) << step;
        EXPECT_EQ(played.RunPictures(), before + step + 1) << "one picture a step";
    }
    const CFastTime fast(RATE);
    EXPECT_TRUE(played.Control(HLX_PLAYCTRL_RESUME));
    EXPECT_TRUE(played.Ended());
    ExpectRecorded(played.LastRun(), expected.frames);
}

TEST_F(PlaybackContent, BackwardAndFastIsKeyFramesAlone) {
    constexpr int SECONDS = 50;
    const CFastTime fast(RATE);
    std::vector<ARCHIVE_FRAME> keys = Keys(Expected({0}, m_start, m_start + SECONDS));
    ASSERT_GT(keys.size(), 10u);
    CPlayed played;
    played.Play(m_lUserID, {0}, m_start, m_start + SECONDS);
    Restart(played, m_start);
    EXPECT_TRUE(WaitUntil([&] { return played.RunPictures() > 30; }));

    ASSERT_TRUE(played.Control(HLX_PLAYCTRL_FF, HLX_RPB_SPEED_16X));
    ASSERT_TRUE(played.Ended());
    // What was under way when the speed changed comes still; the rest is key frames, the last of the archive included.
    Frames came = played.LastRun();
    size_t count = 0;
    while (count + 1 < came.size() && came[came.size() - 2 - count].info.keyFrame) ++count;
    ASSERT_GT(count, keys.size() / 2);
    came = Frames(came.end() - 1 - static_cast<long>(count), came.end() - 1);
    ExpectRecorded(came, std::span(keys).last(count));

    Restart(played, m_start);
    EXPECT_TRUE(WaitUntil([&] { return played.RunPictures() > 25 * SECONDS / 2; }));
    ASSERT_TRUE(played.Control(HLX_PLAYCTRL_REW, HLX_RPB_SPEED_8X));
    ASSERT_TRUE(played.Ended());
    std::int64_t before = 0;
    came = From(played.LastRun(), [&](const PLAYED_FRAME& frame) {
        const bool bBack = frame.info.frameType == DD_FRAME_TYPE_VIDEO && frame.info.time < before;
        if (frame.info.frameType == DD_FRAME_TYPE_VIDEO) before = frame.info.time;
        return bBack;
    });
    ASSERT_GT(came.size(), keys.size() / 3);
    std::ranges::reverse(keys);
    ExpectRecorded(came, std::span(keys).last(came.size()));
}

TEST_F(PlaybackContent, InStepRunsToItsEnd) {
    const CFastTime fast(RATE);
    const LONG channels[] = {0, 1, 2, 3};
    const DD_TIME start = Time(m_start), stop = Time(m_start + 8);
    const auto told = [&](const char* pWhat) {
        const auto events = m_events.Events();
        return std::ranges::count_if(events, [&](const SIM_EVENT& event) {
            return event.kind == SIM_EVENT_KIND::RECORDING && event.sText == pWhat;
        });
    };
    for (int round = 1; round <= 2; ++round) {
        ASSERT_EQ(HLX_PlayBackByTimeSync(m_lUserID, channels, 4, &start, &stop, nullptr, 1), 15);
        EXPECT_EQ(HLX_PlayBackByTime(m_lUserID, channels, 1, &start, &stop, nullptr), -1) << "while in step";
        EXPECT_FALSE(HLX_PlayBackControlSync(HLX_PLAYCTRL_SETPOS, static_cast<DWORD>(m_start + 1), nullptr));
        EXPECT_EQ(told("seek"), 4 * round);
        // A recorder sends a few frames more than were taken, so it comes to the end of none that is not played.
        EXPECT_TRUE(WaitUntil([&] { return told("end") == 4 * round; })) << told("end");
        EXPECT_FALSE(HLX_StopPlayBackSync());
        EXPECT_TRUE(WaitUntil([&] { return told("stop") == 4 * round; })) << told("stop");
    }
}

TEST_F(PlaybackContent, SavedIsWhatWasDelivered) {
    const CFastTime fast(RATE);
    const std::string file = m_folder.File("a.avi");
    CPlayed played;
    played.Play(m_lUserID, {0, 1}, m_start, m_start + 8);
    EXPECT_FALSE(HLX_PlayBackSaveData(played.m_lHandle, 2, file.c_str())) << "a channel that is not played";
    EXPECT_FALSE(HLX_PlayBackSaveData(played.m_lHandle, 0, std::string(256, 'n').c_str()));
    ASSERT_TRUE(played.Control(HLX_PLAYCTRL_PAUSE));
    ASSERT_TRUE(HLX_PlayBackSaveData(played.m_lHandle, 0, file.c_str()));
    Restart(played, m_start);
    ASSERT_TRUE(played.Ended());
    EXPECT_TRUE(HLX_StopPlayBackSave(played.m_lHandle, 0));
    EXPECT_FALSE(HLX_StopPlayBackSave(played.m_lHandle, 2));
    std::vector<std::string> saved, delivered;
    size_t sound = 0;
    for (AVI_CHUNK& chunk : ReadAVI(file)) {
        if (chunk.id == "01wb") sound += chunk.bytes.size();
        if (chunk.id != "01wb" && !chunk.bytes.empty()) saved.push_back(std::move(chunk.bytes));
    }
    for (PLAYED_FRAME& frame : played.LastRun())
        if (frame.info.channel == 0 && frame.info.frameType == DD_FRAME_TYPE_VIDEO)
            delivered.push_back(std::move(frame.data));
    EXPECT_GT(delivered.size(), 190u);
    EXPECT_TRUE(saved == delivered) << saved.size() << " of " << delivered.size();
    EXPECT_NEAR(static_cast<double>(sound), 8 * 16000.0, 16000.0) << "8 s of 8000 samples of 2 bytes";
}

}  // namespace
