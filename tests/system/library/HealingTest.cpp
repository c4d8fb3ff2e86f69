// Sessions and streams that come back by themselves.
#include <atomic>

#include "System.h"

namespace {

class Healing : public CSystemTest {
protected:
    static constexpr int RATE = 20;  // of the library's clock

    void SetUp() override {
        CSystemTest::SetUp();
        ASSERT_TRUE(HLX_SetReconnect(500, true));
        ASSERT_TRUE(HLX_SetSDKMessageCallBack(
            0, nullptr,
            [](DWORD type, LONG, LONG, void* pUser) {
                auto& self = *static_cast<Healing*>(pUser);
                (type == NETWORK_DISCONNECT ? self.m_breaks : self.m_returns) += 1;
            },
            this));
    }
    void TearDown() override {
        HLX_SetSDKMessageCallBack(0, nullptr, nullptr, nullptr);
        HLX_SetReconnect(3000, true);
        CSystemTest::TearDown();
    }
    static CLASSIC_RECORDER_CONFIG Beating(unsigned channels) {
        CLASSIC_RECORDER_CONFIG config = Fast(channels, 4);
        config.heartbeat = std::chrono::milliseconds(100);  // in step with the faster clock
        return config;
    }

    /// The stream delivers again after what came so far.
    static bool Runs(const CReceiver& receiver) {
        return receiver.WaitForFrames(receiver.Count(DD_FRAME_TYPE_VIDEO) + 3);
    }

    std::atomic<int> m_breaks{0};
    std::atomic<int> m_returns{0};
};

TEST_F(Healing, CutsOfEachKindAreToldOnceAndStreamsRunAgain) {
    CClassicRecorder& recorder = StartRecorder(Beating(4));
    const LONG id = Login();
    CReceiver receivers[3];
    ASSERT_GT(receivers[0].Play(id, 0), 0);
    ASSERT_GT(receivers[1].Play(id, 3, HLX_SUB_STREAM), 0);
    ASSERT_TRUE(receivers[1].WaitForFrames(3));
    const CFastTime fast(RATE);
    const char* kinds[] = {"close", "reset", "refused", "password", "silent"};
    for (int round = 0; round < 5; ++round) {
        SCOPED_TRACE(kinds[round]);
        const std::string kind = kinds[round];
        if (kind == "close") recorder.CutLinks(SIM_CUT::CLOSE);
        if (kind == "reset") recorder.CutLinks(SIM_CUT::RESET);
        if (kind == "silent") recorder.CutLinks(SIM_CUT::SILENT);
        if (kind == "password") {
            recorder.SetPassword("other");
            recorder.CutLinks(SIM_CUT::CLOSE);
        }
        if (kind == "refused") {
            recorder.SetFaults({{SIM_FAULT_KIND::CLOSE, SIM_PHASE::LOGIN, 0, 3}});
            recorder.CutLinks(SIM_CUT::CLOSE);
        }
        ASSERT_TRUE(WaitUntil([&] { return m_breaks == round + 1; }));
        if (kind == "password") {
            EXPECT_TRUE(m_events.WaitFor(SIM_EVENT_KIND::REFUSED, 2, std::chrono::seconds(5)));
            recorder.SetPassword("secret");
        }
        ASSERT_TRUE(WaitUntil([&] { return m_returns == round + 1; }));
        EXPECT_TRUE(Runs(receivers[0]));
        EXPECT_TRUE(Runs(receivers[1]));
    }
    EXPECT_EQ(5, m_breaks);
    EXPECT_TRUE(HLX_Logout(id));
}

TEST_F(Healing, SixtyFourChannelsAreBackSoonAndEachFrameArrivesOnce) {
    CClassicRecorder& recorder = StartRecorder(Beating(64));
    const LONG id = Login();
    std::vector<CReceiver> receivers(64);
    for (int channel = 0; channel < 64; ++channel) ASSERT_GT(receivers[channel].Play(id, channel, HLX_SUB_STREAM), 0);
    for (const CReceiver& receiver : receivers) ASSERT_TRUE(receiver.WaitForFrames(1));
    const CFastTime fast(RATE);
    recorder.CutLinks(SIM_CUT::RESET);
    ASSERT_TRUE(WaitUntil([&] { return m_returns == 1; }));
    const tint64 back = CFastTime::Clock().MonotonicMicroseconds();
    const size_t before = receivers[0].Frames().size();
    for (const CReceiver& receiver : receivers) EXPECT_TRUE(Runs(receiver));
    RecordProperty("moved_ms_to_run_again",
                   static_cast<int>((CFastTime::Clock().MonotonicMicroseconds() - back) / 1000));
    HLX_Logout(id);
    const auto frames = receivers[0].Frames();
    std::map<std::pair<DWORD, DWORD>, int> seen;
    for (size_t at = before; at < frames.size(); ++at)
        EXPECT_EQ(1, ++seen[std::make_pair(frames[at].info.frameType, frames[at].info.frameIndex)]);
}

TEST_F(Healing, AStreamThatFallsSilentWithItsLinkUpIsStartedAgain) {
    CClassicRecorder& recorder = StartRecorder(Beating(1));
    const LONG id = Login();
    CReceiver receiver;
    ASSERT_GT(receiver.Play(id, 0), 0);
    ASSERT_TRUE(receiver.WaitForFrames(3));
    recorder.SetFaults({{SIM_FAULT_KIND::STREAM_STOP, SIM_PHASE::ANY, 0, 1}});
    ASSERT_TRUE(m_events.WaitFor(SIM_EVENT_KIND::FAULT, 1, std::chrono::seconds(5)));
    const CFastTime fast(RATE);
    EXPECT_TRUE(Runs(receiver));
    EXPECT_EQ(0, m_breaks);
}

TEST_F(Healing, EveryCallMayBeMadeFromTheExceptionCallback) {
    CClassicRecorder& recorder = StartRecorder(Beating(2));
    static LONG s_id;
    static std::atomic<bool> s_bDone;
    s_id = Login();
    s_bDone = false;
    CReceiver receiver;
    ASSERT_GT(receiver.Play(s_id, 0), 0);
    HLX_SetSDKMessageCallBack(
        0, nullptr,
        [](DWORD, LONG id, LONG, void*) {
            HLX_DEVICEINFO info;
            EXPECT_EQ(s_id, id);
            EXPECT_TRUE(HLX_GetDeviceInfo(id, &info));
            EXPECT_FALSE(HLX_MakeKeyFrame(id, 0));
            EXPECT_TRUE(HLX_Logout(id));
            s_bDone = true;
        },
        nullptr);
    recorder.CutLinks(SIM_CUT::CLOSE);
    EXPECT_TRUE(WaitUntil([&] { return s_bDone.load(); }));
    EXPECT_FALSE(HLX_Logout(s_id));
}

}  // namespace
