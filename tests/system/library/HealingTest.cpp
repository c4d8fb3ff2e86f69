// Sessions and streams that come back by themselves.

#include "System.h"

namespace {

class Healing : public CSystemTest {
protected:
    static constexpr int RATE = 20;  // of the library's clock

    void SetUp() override {
        CSystemTest::SetUp();
        m_told.emplace(500);
    }
    void TearDown() override {
        m_told.reset();
        CSystemTest::TearDown();
    }
    /// The stream delivers again after what came so far.
    static bool Runs(const CReceiver& receiver) {
        return receiver.WaitForFrames(receiver.Count(DD_FRAME_TYPE_VIDEO) + 3);
    }

    std::optional<CTold> m_told;
};

TEST_F(Healing, CutsOfEachKindAreToldOnceAndStreamsRunAgain) {
    CClassicRecorder& recorder = StartRecorder(Beating(4, 4));
    const LONG id = Login();
    CReceiver receivers[3];
    ASSERT_GT(receivers[0].Play(id, 0), 0);
    ASSERT_GT(receivers[1].Play(id, 3, HLX_SUB_STREAM), 0);
    ASSERT_TRUE(receivers[1].WaitForFrames(3));
    const CFastTime fast(RATE);
    const char* kinds[] = {"close", "reset", "refused", "password", "silent"};
    const int rounds = Rounds(5);
    for (int round = 0; round < rounds; ++round) {
        const std::string kind = kinds[round % 5];
        SCOPED_TRACE(kind + " " + std::to_string(round));
        const size_t refusals = m_events.Count(SIM_EVENT_KIND::REFUSED);
        if (kind == "password") recorder.SetPassword("other");
        if (kind == "refused") recorder.SetFaults({{SIM_FAULT_KIND::CLOSE, SIM_PHASE::LOGIN, 0, 3}});
        recorder.CutLinks(kind == "silent" ? SIM_CUT::SILENT : kind == "reset" ? SIM_CUT::RESET : SIM_CUT::CLOSE);
        ASSERT_TRUE(WaitUntil([&] { return m_told->m_breaks == round + 1; }));
        if (kind == "password") {
            EXPECT_TRUE(m_events.WaitFor(SIM_EVENT_KIND::REFUSED, refusals + 2, std::chrono::seconds(5)));
            recorder.SetPassword("secret");
        }
        ASSERT_TRUE(WaitUntil([&] { return m_told->m_returns == round + 1; }));
        EXPECT_TRUE(Runs(receivers[0]) && Runs(receivers[1]));
    }
    EXPECT_EQ(rounds, m_told->m_breaks);
    EXPECT_TRUE(m_told->m_bInOrder && HLX_Logout(id));
}

TEST_F(Healing, SixtyFourChannelsAreBackSoonAndEachFrameArrivesOnce) {
    CClassicRecorder& recorder = StartRecorder(Beating(64, 2));  // the number of streams counts, not their rate
    const LONG id = Login();
    std::vector<CReceiver> receivers(64);
    for (int channel = 0; channel < 64; ++channel) ASSERT_GT(receivers[channel].Play(id, channel, HLX_SUB_STREAM), 0);
    for (const CReceiver& receiver : receivers) ASSERT_TRUE(receiver.WaitForFrames(1));
    const CFastTime fast(RATE);
    recorder.CutLinks(SIM_CUT::RESET);
    ASSERT_TRUE(WaitUntil([&] { return m_told->m_returns == 1; }));
    const size_t before = receivers[0].Frames().size();
    for (const CReceiver& receiver : receivers) EXPECT_TRUE(Runs(receiver));
    HLX_Logout(id);
    const auto frames = receivers[0].Frames();
    std::map<std::pair<DWORD, DWORD>, int> seen;
    for (size_t at = before; at < frames.size(); ++at)
        EXPECT_EQ(1, ++seen[std::make_pair(frames[at].info.frameType, frames[at].info.frameIndex)]);
}

}  // namespace
