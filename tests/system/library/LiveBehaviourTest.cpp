// What an application sees of live streams beside the frames themselves.

#include "System.h"

namespace {

using Clock = std::chrono::steady_clock;

class Live : public CSystemTest {};

TEST_F(Live, FormatsComeFirstAndTheOneBlockFormCarriesTheHead) {
    StartRecorder(Fast());
    const LONG id = Login();
    struct SEEN {
        std::mutex lock;
        std::vector<std::pair<UINT, std::vector<BYTE>>> blocks;
    } seen;
    HLX_CLIENTINFO info{};
    const POINTERHANDLE handle = HLX_LivePlayEx(
        id, &info,
        [](POINTERHANDLE, UINT type, BYTE* pData, UINT length, void* pUser) {
            auto& all = *static_cast<SEEN*>(pUser);
            std::lock_guard guard(all.lock);
            all.blocks.emplace_back(type, std::vector<BYTE>(pData, pData + length));
        },
        &seen);
    ASSERT_GT(handle, 0);
    ASSERT_TRUE(WaitUntil([&] {
        std::lock_guard guard(seen.lock);
        return seen.blocks.size() >= 20;
    }));
    EXPECT_TRUE(HLX_StopLivePlay(handle));

    ASSERT_EQ(UINT{DD_FRAME_TYPE_VIDEO_FORMAT}, seen.blocks[0].first);
    ASSERT_EQ(96U, seen.blocks[0].second.size());
    bool bSoundFormat = false, bVideo = false;
    for (size_t at = 1; at < seen.blocks.size(); ++at) {
        const auto& [type, bytes] = seen.blocks[at];
        HLX_FRAME_INFO head;
        std::memcpy(&head, bytes.data(), sizeof(head));
        EXPECT_EQ(type, head.frameType);
        EXPECT_EQ(bytes.size(), 56U + head.length);
        EXPECT_NE(UINT{DD_FRAME_TYPE_VIDEO_FORMAT}, type) << "told once";
        EXPECT_TRUE(type != DD_FRAME_TYPE_AUDIO_FORMAT || bytes.size() == 74);
        EXPECT_TRUE(type != DD_FRAME_TYPE_AUDIO || bSoundFormat);
        EXPECT_TRUE(type != DD_FRAME_TYPE_VIDEO || std::exchange(bVideo, true) || head.keyFrame != 0);
        bSoundFormat = bSoundFormat || type == DD_FRAME_TYPE_AUDIO_FORMAT;
    }
    EXPECT_TRUE(bVideo);
}

TEST_F(Live, ACallbackThatTakesAnothersPlaceIsToldTheFormats) {
    StartRecorder(Fast());
    CReceiver first;
    const POINTERHANDLE handle = first.Play(Login(), 0);
    ASSERT_TRUE(first.WaitForFrames(3) && first.WaitForFrames(1, DD_FRAME_TYPE_AUDIO));
    CReceiver next;
    ASSERT_TRUE(HLX_SetLiveDataCallBack(handle, CReceiver::OnFrame, &next));
    EXPECT_TRUE(next.WaitForFrames(1) && HLX_StopLivePlay(handle));
    const auto frames = next.Frames();
    EXPECT_EQ(frames.at(0).info.frameType, DWORD{DD_FRAME_TYPE_VIDEO_FORMAT});
    EXPECT_EQ(frames.at(1).info.frameType, DWORD{DD_FRAME_TYPE_AUDIO_FORMAT});
}

TEST_F(Live, ARecorderThatAnswersNothingDoesNotKeepASilentStreamOfAnotherStopped) {
    CReceiver hungReceiver, receiver;
    CClassicRecorder& hung = StartRecorder(Beating(1, 4));
    ASSERT_GT(hungReceiver.Play(Login(), 0), 0);
    ASSERT_TRUE(hungReceiver.WaitForFrames(1));
    CClassicRecorder& recorder = StartRecorder(Beating(1, 4));
    ASSERT_GT(receiver.Play(Login(), 0), 0);
    ASSERT_TRUE(receiver.WaitForFrames(1));
    hung.SetFaults(
        {{SIM_FAULT_KIND::STREAM_STOP, SIM_PHASE::ANY, 0, 0}, {SIM_FAULT_KIND::WRONG_REPLY, SIM_PHASE::STREAM, 99, 0}});
    recorder.SetFaults({{SIM_FAULT_KIND::STREAM_STOP, SIM_PHASE::ANY, 0, 1}});
    ASSERT_TRUE(m_events.WaitFor(SIM_EVENT_KIND::FAULT, 2, std::chrono::seconds(5)));
    const CFastTime fast(20);
    EXPECT_TRUE(receiver.WaitForFrames(receiver.Count(DD_FRAME_TYPE_VIDEO) + 3));
}

TEST_F(Live, FurtherViewersGetSessionsOfTheirOwnUpToEleven) {
    CClassicRecorder& recorder = StartRecorder(Fast(2, 4));
    const LONG id = Login();
    std::vector<CReceiver> receivers(12);
    std::vector<POINTERHANDLE> handles;
    for (int viewer = 0; viewer < 11; ++viewer) {
        handles.push_back(receivers[viewer].Play(id, 0, viewer % 2));
        ASSERT_GT(handles.back(), 0) << viewer << ": " << HLX_GetLastError();
    }
    EXPECT_EQ(-1, receivers[11].Play(id, 0));
    EXPECT_EQ(DWORD{HLX_MAX_PLAYERPORT}, HLX_GetLastError());
    EXPECT_EQ(11U, recorder.CommandCount(CMD_REQUEST_LOGIN)) << "no session for a stream that is refused";
    for (int viewer = 0; viewer < 11; ++viewer) EXPECT_TRUE(receivers[viewer].WaitForFrames(3)) << viewer;

    EXPECT_TRUE(HLX_StopLivePlay(handles[5]));
    EXPECT_TRUE(m_events.WaitFor(SIM_EVENT_KIND::LOGOUT, 1, std::chrono::seconds(5))) << "its session goes with it";
    const POINTERHANDLE again = receivers[11].Play(id, 0);
    EXPECT_GT(again, 0);
    EXPECT_TRUE(receivers[11].WaitForFrames(3));
    EXPECT_TRUE(HLX_Logout(id)) << "takes all streams and sessions along";
    EXPECT_TRUE(m_events.WaitFor(SIM_EVENT_KIND::LOGOUT, 12, std::chrono::seconds(5)));
    for (const POINTERHANDLE handle : handles) EXPECT_FALSE(HLX_StopLivePlay(handle));
}

TEST_F(Live, RefusalsKeepTheirNumbers) {
    CClassicRecorder& recorder = StartRecorder(Fast(4));
    const LONG id = Login();
    CReceiver receiver;
    struct {
        LONG id, channel, type;
        HLX_ERROR error;
    } const rows[] = {
        {id, 4, 0, HLX_CHANNEL_ERROR},       {id, -1, 0, HLX_CHANNEL_ERROR},  {id, 1LL << 40, 0, HLX_CHANNEL_ERROR},
        {id, 0, -1, HLX_PARAMETER_ERROR},    {id, 0, 4, HLX_PARAMETER_ERROR}, {id + 1, 0, 0, HLX_NETWORK_NOT_CONNECT},
        {-1, 0, 0, HLX_NETWORK_NOT_CONNECT},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(-1, receiver.Play(row.id, row.channel, row.type));
        EXPECT_EQ(row.error, static_cast<HLX_ERROR>(HLX_GetLastError())) << row.channel << " " << row.type;
    }
    EXPECT_EQ(0U, recorder.CommandCount(CMD_REQUEST_STREAM_START)) << "nothing of this was sent";

    recorder.SetFaults({{SIM_FAULT_KIND::NO_RESOURCE, SIM_PHASE::ANY, 1002, 1}});
    EXPECT_EQ(-1, receiver.Play(id, 0));
    EXPECT_EQ(DWORD{HLX_DVR_NORESOURCE}, HLX_GetLastError());
    EXPECT_GT(receiver.Play(id, 0), 0) << "the refused stream left nothing";
    EXPECT_TRUE(receiver.WaitForFrames(5));
}

TEST_F(Live, StopLogoutAndCleanupAreQuickWhileFramesPour) {
    StartRecorder(Fast(16, 8));
    std::vector<CReceiver> receivers(16);
    const auto took = [](auto&& call) {
        const auto start = Clock::now();
        call();
        return Clock::now() - start;
    };
    const auto playAll = [&](LONG id) {
        std::vector<POINTERHANDLE> handles;
        for (int channel = 0; channel < 16; ++channel) handles.push_back(receivers[channel].Play(id, channel));
        for (const CReceiver& receiver : receivers) EXPECT_TRUE(receiver.WaitForFrames(1));
        return handles;
    };
    const LONG first = Login(), second = Login();
    const auto handles = playAll(first);
    EXPECT_LT(took([&] { EXPECT_TRUE(HLX_StopLivePlay(handles[0])); }), std::chrono::seconds(1));
    const size_t before = receivers[0].Count(DD_FRAME_TYPE_VIDEO);
    EXPECT_LT(took([&] { EXPECT_TRUE(HLX_Logout(first)); }), std::chrono::seconds(2));
    EXPECT_EQ(before, receivers[0].Count(DD_FRAME_TYPE_VIDEO)) << "no callback after the stop returned";
    playAll(second);
    EXPECT_LT(took([&] { EXPECT_TRUE(HLX_Cleanup()); }), std::chrono::seconds(2));
    EXPECT_TRUE(HLX_Init());
}

/// Whichever comes first, no stream outlives its session. That no thread and no link is left is seen behind the test.
TEST_F(Live, APlayBesideALogoutLeavesNoStream) {
    CClassicRecorder& recorder = StartRecorder(Fast(4, 20));
    for (int i = 0; i < 15; ++i) {
        const LONG id = Login();
        ASSERT_GT(id, 0);
        const auto before = recorder.CommandCount(CMD_REQUEST_STREAM_START);
        POINTERHANDLE handles[3] = {};
        std::vector<std::thread> players;
        CReceiver receivers[3];
        for (int player = 0; player < 3; ++player)
            players.emplace_back([&, player] { handles[player] = receivers[player].Play(id, player % 2); });
        // The logout comes at once, or when the first or second of them is with the recorder.
        const auto begun = [&] { return recorder.CommandCount(CMD_REQUEST_STREAM_START) - before; };
        EXPECT_TRUE(WaitUntil([&] { return begun() >= static_cast<std::uint64_t>(i % 3); }));
        EXPECT_TRUE(HLX_Logout(id));
        for (std::thread& player : players) player.join();
        for (const POINTERHANDLE handle : handles)
            EXPECT_FALSE(handle > 0 && HLX_StopLivePlay(handle)) << "stopped by the logout";
    }
}

TEST_F(Live, AStreamThatIsBeingStoppedSharesItsRingWithNobody) {
    CClassicRecorder& recorder = StartRecorder(Fast(1, 20));
    const LONG id = Login();
    std::atomic<bool> bHeld{false}, bRelease{false};
    CReceiver held, other;
    held.m_inCallback = [&](POINTERHANDLE, const HLX_FRAME_INFO&) {
        bHeld = true;
        WaitUntil([&] { return bRelease.load(); });
    };
    ASSERT_GT(held.Play(id, 0), 0);
    ASSERT_TRUE(WaitUntil([&] { return bHeld.load(); }));
    std::thread logout([id] { HLX_Logout(id); });
    EXPECT_TRUE(WaitUntil([&] { return recorder.CommandCount(CMD_REQUEST_STREAM_STOP) > 0; }));
    EXPECT_GT(other.Play(id, 0), 0);
    EXPECT_TRUE(other.WaitForFrames(3));
    bRelease = true;
    logout.join();
}

}  // namespace
