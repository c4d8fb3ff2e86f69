// Opening and closing of live channels.

#include "support/Test.h"
#include "TestRecorder.h"

namespace {

constexpr tuint32 START = 513, CHANGE = 514, STOP = 515;
constexpr unsigned int RING = 0x401, RING_2 = 0x405;

class LiveTest : public testing::Test {
protected:
    LiveTest() { EXPECT_TRUE(m_recorder.LoggedIn()); }
    bool Start(LONG lChannel, bool bFirst, unsigned int ring = RING) {
        return m_device.StartLiveChannel(lChannel, bFirst, ring, !bFirst);
    }
    bool Stop(LONG lChannel, bool bFirst) { return m_device.StopLiveChannel(lChannel, bFirst, !bFirst); }

    CTestRecorder m_recorder;
    CTestRecorder::CDevice& m_device = m_recorder.m_device;
};

TEST_F(LiveTest, MasksOfEachStep) {
    constexpr tuint64 TOP = tuint64{1} << 63;
    const struct {
        bool bStart;
        LONG lChannel;
        bool bFirst;
        tuint32 command;  // 0: nothing is sent
        tuint64 first, second, audio;
    } steps[] = {
        {true, 0, true, START, 1, 0, 1},
        {true, 63, true, CHANGE, 1 | TOP, 0, 1 | TOP},
        {true, 0, true, 0, 0, 0, 0},   // a second viewer
        {true, 0, false, 0, 0, 0, 0},  // the first stream is sent already
        {true, 1, false, CHANGE, 1 | TOP, 2, 3 | TOP},
        {false, 0, true, CHANGE, TOP, 3, 3 | TOP},  // now the second stream of 0 is due
        {true, 1, true, CHANGE, 2 | TOP, 1, 3 | TOP},
        {false, 1, false, 0, 0, 0, 0},  // hidden behind the first stream
        {false, 1, false, 0, 0, 0, 0},  // was off
        {false, 63, true, CHANGE, 2, 1, 3},
        {false, 0, false, CHANGE, 2, 0, 2},
        {false, 1, true, STOP, 0, 0, 0},
        {true, 5, false, START, 0, 32, 32},
    };
    for (const auto& step : steps) {
        const auto at = std::to_string(&step - steps);
        m_recorder.m_sent.clear();
        EXPECT_TRUE(step.bStart ? Start(step.lChannel, step.bFirst) : Stop(step.lChannel, step.bFirst)) << at;
        if (step.command == 0) {
            EXPECT_TRUE(m_recorder.m_sent.empty()) << at;
            continue;
        }
        ASSERT_EQ(m_recorder.m_sent.size(), step.bStart ? 2u : 1u) << at;
        const Bytes expected = Word(step.command) + Word(0) + Word(4) + Word(36) + Word(0) + Mask(step.first) +
                               Mask(step.second) + Mask(0) + Mask(step.audio);
        EXPECT_EQ(m_recorder.m_sent[0], expected) << at;
        if (step.bStart) {
            EXPECT_EQ(NumberAt(m_recorder.m_sent[1], 0), 0x50Cu) << at;
        }
    }
}

TEST_F(LiveTest, KeyFrameRequests) {
    ASSERT_TRUE(m_device.RequestKeyFrame(3, true, 0) && m_device.RequestKeyFrame(63, false, 1));
    const Bytes head = Word(516) + Word(0) + Word(4) + Word(36) + Word(0);
    EXPECT_EQ(m_recorder.m_sent.at(0), head + Mask(8) + Mask(0) + Mask(0) + Mask(0));
    EXPECT_EQ(m_recorder.m_sent.at(1), head + Mask(0) + Mask(tuint64{1} << 63) + Mask(0) + Mask(0));
}

TEST_F(LiveTest, FailedSendLeavesNothingOpen) {
    CTestRing ring(RING);
    m_recorder.m_bSendFails = true;
    EXPECT_TRUE(FailedWith(HLX_NETWORK_SEND_ERROR, Start(2, true)));
    m_recorder.m_bSendFails = false;
    m_recorder.Receive(TEST_FRAME{.channel = 2});
    EXPECT_TRUE(ring.Drain().empty());
    m_recorder.m_sent.clear();
    EXPECT_TRUE(Start(2, true));
    EXPECT_EQ(NumberAt(m_recorder.m_sent[0], 0), START);
    m_recorder.m_onSend = [&](tuint32 command) { m_recorder.m_bSendFails = command == 0x50C; };
    EXPECT_TRUE(FailedWith(HLX_NETWORK_SEND_ERROR, Start(1, true))) << "the question whether it runs";
}

TEST_F(LiveTest, AnswersThatAreNoRefusal) {
    for (const Bytes& answer : {Message(0x50003), Message(0x50003, "\xEA\x03"), Message(0x50003, Word(1001))}) {
        m_recorder.m_answers[0x50C] = answer;
        EXPECT_TRUE(m_device.HasStreamCapability());
    }
}

TEST_F(LiveTest, FallenLink) {
    CTestRing ring(RING);
    ASSERT_TRUE(Start(0, true));
    m_recorder.m_answers.erase(0x50C);
    m_recorder.m_onSend = [&](tuint32 command) {
        if (command == 0x50C) m_recorder.BreakLink();
    };
    EXPECT_TRUE(FailedWith(HLX_NETWORK_NOT_CONNECT, Start(1, true)));
    m_recorder.BreakLink();
    m_recorder.m_sent.clear();
    EXPECT_TRUE(Stop(0, true)) << "nothing is open any more";
    EXPECT_TRUE(m_device.StopLiveHandle(0, true, RING));
    m_recorder.Receive(TEST_FRAME{});
    EXPECT_TRUE(ring.Drain().empty() && m_recorder.m_sent.empty());
}

TEST_F(LiveTest, ViewersOfOneStream) {
    CTestRing ring(RING), ring2(RING_2);
    ASSERT_TRUE(Start(0, true) && Start(0, true) && Start(0, true, RING_2));
    m_recorder.Receive(TEST_FRAME{});
    EXPECT_EQ(ring.Drain().size(), 1u) << "added twice, told once";
    EXPECT_EQ(ring2.Drain().size(), 1u);
    m_device.StopLiveHandle(0, true, RING);
    m_recorder.Receive(TEST_FRAME{});
    EXPECT_TRUE(ring.Drain().empty());
    EXPECT_EQ(ring2.Drain().size(), 1u);

    for (unsigned int id = 1; id < 100; ++id) EXPECT_TRUE(Start(0, true, 0x10000 + id));
    EXPECT_TRUE(FailedWith(HLX_NORESOURCE, Start(0, true, RING)));
}

}  // namespace
