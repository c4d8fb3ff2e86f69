// Recorders that go, or garble what they send, while recordings are searched, sought, played and downloaded.
#include <algorithm>
#include <fstream>
#include <set>
#include <thread>
#include <tuple>

#include "main_utility/media/framefile/FrameFileReader.h"
#include "Recorded.h"

namespace {

// Of the library's clock, where it is to pass.
constexpr int RATE = 50;
constexpr int WAITING_RATE = 150;

class RecordingFaults : public CRecordedTest {
protected:
    void SetUp() override {
        CSystemTest::SetUp();
        ASSERT_TRUE(HLX_SetReconnect(3000, false));
        CLASSIC_RECORDER_CONFIG config = Fast(4);
        config.heartbeat = std::chrono::milliseconds(20);  // often enough for the fastest clock
        config.packLimit = 2048;
        config.recordings.logCount = 100;
        Open(config);
        m_start = m_places->change.changeAt - 60;
    }
    void TearDown() override {
        HLX_SetReconnect(3000, true);
        CSystemTest::TearDown();
    }
    POINTERHANDLE Download(std::int64_t stop) {
        const DD_TIME from = Time(m_start), to = Time(stop);
        {
            std::lock_guard guard(m_lock);
            m_records.clear();
        }
        return HLX_GetFileByTimeEx(m_lUserID, 0, &from, &to, nullptr, 1, 1, OnData, this);
    }
    static void OnData(POINTERHANDLE, UINT dataType, BYTE* pBuffer, UINT length, void* pUser) {
        auto& test = *static_cast<RecordingFaults*>(pUser);
        std::lock_guard guard(test.m_lock);
        if (dataType == NET_DVR_BACKUP_DATA_TYPE_DVR)
            test.m_records.append(reinterpret_cast<const char*>(pBuffer), length);
    }
    size_t Downloaded() {
        std::lock_guard guard(m_lock);
        return m_records.size();
    }
    /// Runs a call that waits for the recorder, and in the middle of it `act`; the number of its failure.
    template <class Call, class Act>
    DWORD Meanwhile(SIM_FAULT fault, Call call, Act act) {
        const size_t acted = m_events.Count(SIM_EVENT_KIND::FAULT);
        m_pRecorder->SetFaults({fault});
        DWORD error = HLX_SUCCESS;
        std::thread caller([&] {
            const CFastTime fast(WAITING_RATE);
            error = call() ? DWORD{HLX_SUCCESS} : HLX_GetLastError();
        });
        EXPECT_TRUE(m_events.WaitFor(SIM_EVENT_KIND::FAULT, acted + 1, std::chrono::seconds(10)));
        m_pRecorder->SetFaults({});
        act();
        caller.join();
        return error;
    }
    void LogInAgain() {
        EXPECT_TRUE(HLX_Logout(m_lUserID));
        EXPECT_TRUE(WaitUntil([&] { return (m_lUserID = Login()) > 0; }));
    }

    std::int64_t m_start = 0;  // nothing changes for the next minute
    std::mutex m_lock;
    std::string m_records;  // m_lock
};

class LostLinks : public RecordingFaults, public testing::WithParamInterface<SIM_CUT> {
protected:
    void Cut() { m_pRecorder->CutLinks(GetParam()); }
    /// The number of a request that the link's end interrupts.
    void ExpectLost(DWORD error) const {
        EXPECT_TRUE(error == HLX_NETWORK_NOT_CONNECT ||
                    (GetParam() == SIM_CUT::SILENT && error == HLX_NETWORK_RECV_TIMEOUT))
            << error;
    }
};

TEST_P(LostLinks, EndSearchesSeeksPlaybacksAndDownloads) {
    const DD_TIME first{}, last{0, 0, 0, 0, 1, 0, 205, 0, 0};
    const auto search = [&] { return HLX_FindDVRLog(m_lUserID, ~0u, &first, &last) != -1; };
    ExpectLost(Meanwhile({SIM_FAULT_KIND::MORE_FOREVER, SIM_PHASE::SEARCH, 0, 1}, search, [&] { Cut(); }));
    LogInAgain();
    EXPECT_TRUE(search());

    const ARCHIVE_SEQUENCE expected = Expected({0}, m_start, m_start + 60);
    CPlayed played;
    played.Play(m_lUserID, {0}, m_start, m_start + 60);
    ASSERT_TRUE(played.Control(HLX_PLAYCTRL_SETPOS, m_start));
    EXPECT_TRUE(WaitUntil([&] { return played.RunPictures() > 5; }));
    const auto seek = [&] { return played.Control(HLX_PLAYCTRL_SETPOS, m_start + 30); };
    {
        const CFastTime fast(WAITING_RATE);
        Cut();
        EXPECT_TRUE(WaitUntil(
            [&] { return !HLX_MakeKeyFrame(m_lUserID, 0) && HLX_GetLastError() == HLX_NETWORK_NOT_CONNECT; }));
    }
    EXPECT_FALSE(seek());
    EXPECT_EQ(HLX_GetLastError(), HLX_PARAMETER_ERROR);
    EXPECT_TRUE(HLX_StopPlayBack(played.m_lHandle));
    const auto came = played.LastRun();
    ASSERT_LT(came.size(), expected.frames.size());
    ExpectRecorded(came, std::span(expected.frames).first(came.size()));

    LogInAgain();
    played.Play(m_lUserID, {0}, m_start, m_start + 60);
    ExpectLost(Meanwhile({SIM_FAULT_KIND::NO_REPLY, SIM_PHASE::PLAYBACK, 0, 1}, seek, [&] { Cut(); }));
    EXPECT_TRUE(HLX_StopPlayBack(played.m_lHandle));

    LogInAgain();
    const POINTERHANDLE handle = Download(m_places->change.span.stop);
    ASSERT_GT(handle, 0);
    EXPECT_TRUE(WaitUntil([&] { return Downloaded() > 100000; }));
    Cut();
    int position = 0;
    {
        const CFastTime fast(WAITING_RATE);
        EXPECT_TRUE(WaitUntil([&] { return (position = HLX_GetDownloadPos(handle)) >= 100; }));
    }
    EXPECT_EQ(position, 200);
    EXPECT_EQ(HLX_GetLastError(), HLX_NETWORK_FAIL_CONNECT);
    EXPECT_EQ(HLX_GetDownloadPos(handle), 101);

    LogInAgain();
    const POINTERHANDLE next = Download(m_start + 2);
    EXPECT_TRUE(WaitUntil([&] { return HLX_GetDownloadPos(next) == 100; }));
    EXPECT_TRUE(HLX_StopGetFile(next));
}

INSTANTIATE_TEST_SUITE_P(Ways, LostLinks, testing::Values(SIM_CUT::CLOSE, SIM_CUT::RESET, SIM_CUT::SILENT));

class GarbledStreams : public RecordingFaults, public testing::WithParamInterface<const char*> {
protected:
    using FRAME = std::tuple<DWORD, std::int64_t, std::string>;  // type, time, bytes

    void SetUp() override {
        RecordingFaults::SetUp();
        m_bWild = std::string(GetParam()).starts_with("wild");
        const ARCHIVE_SEQUENCE expected = Expected({0}, m_start, m_start + 8);
        for (const ARCHIVE_FRAME& frame : expected.frames)
            m_genuine.insert(Frame(TypeOf(frame), frame.time, DataOf(frame)));
    }
    FRAME Frame(DWORD type, std::int64_t time, std::string data) const {
        return {type, m_bWild ? 0 : time, std::move(data)};
    }
    /// Waits until an end came, or nothing more for 3 s of the library's clock.
    static void AwaitQuiet(const std::function<bool()>& isOver, const std::function<size_t()>& count) {
        constexpr tint64 QUIET = 3000000;
        const CFastTime fast(RATE);
        size_t seen = 0;
        tint64 since = TimeSource().MonotonicMicroseconds();
        EXPECT_TRUE(WaitUntil([&] {
            const tint64 now = TimeSource().MonotonicMicroseconds();
            if (const size_t present = count(); std::exchange(seen, present) != present) since = now;
            return isOver() || now - since > QUIET;
        }));
    }
    static void ExpectSoon(const std::function<BOOL()>& stop) {
        const auto before = std::chrono::steady_clock::now();
        stop();
        EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(1));
    }

    bool m_bWild = false;  // times are not those of the archive
    std::set<FRAME> m_genuine;
};

TEST_P(GarbledStreams, BringNoFalseFrameAndStopAtOnce) {
    std::string sError;
    const auto fault = ParseFault(GetParam(), sError);
    ASSERT_TRUE(fault) << sError;
    CPlayed played;
    played.Play(m_lUserID, {0}, m_start, m_start + 8);
    m_pRecorder->SetFaults({*fault});
    ASSERT_TRUE(played.Control(HLX_PLAYCTRL_SETPOS, m_start));
    AwaitQuiet([&] { return played.HasEnd(); }, [&] { return played.RunPictures(); });
    ExpectSoon([&] { return HLX_StopPlayBack(played.m_lHandle); });
    const auto came = played.LastRun();
    EXPECT_GT(came.size(), 10u);
    tuint32 next = 0;
    for (const PLAYED_FRAME& frame : came) {
        EXPECT_TRUE(m_genuine.contains(Frame(frame.info.frameType, frame.info.time, frame.data)))
            << frame.info.frameIndex;
        EXPECT_GE(frame.info.frameIndex, std::exchange(next, frame.info.frameIndex + 1));
    }

    m_pRecorder->SetFaults({});
    LogInAgain();
    m_pRecorder->SetFaults({*fault});
    const POINTERHANDLE handle = Download(m_start + 8);
    ASSERT_GT(handle, 0);
    int position = 0;
    AwaitQuiet([&] { return (position = HLX_GetDownloadPos(handle)) >= 100; }, [&] { return Downloaded(); });
    EXPECT_TRUE(position <= 102 || position == 200) << position;
    ExpectSoon([&] { return HLX_StopGetFile(handle); });
    std::ofstream(m_folder.File("x")) << m_records;
    CFrameFileReader reader;
    ASSERT_TRUE(reader.Open(m_folder.File("x").c_str()));
    size_t count = 0;
    FILE_FRAME frame;
    for (; reader.Next(frame) == FILE_STEP::FRAME; ++count) {
        const std::string data(reinterpret_cast<const char*>(frame.data.data()), frame.data.size());
        EXPECT_TRUE(m_genuine.contains(Frame(frame.head.frameType, frame.head.nStamp, data))) << count;
    }
    EXPECT_GT(count, 10u);
    m_pRecorder->SetFaults({});
    LogInAgain();
}

INSTANTIATE_TEST_SUITE_P(Kinds, GarbledStreams,
                         testing::Values("garbage=30", "frame-length=30", "link-length=30", "piece-lost=5",
                                         "piece-swapped=5", "piece-totals=5", "wild-times=7", "data-stop=40", "no-end",
                                         "close-after=300000", "silent-after=300000"));

}  // namespace
