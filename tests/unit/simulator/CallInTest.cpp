// A recorder that calls its client by itself.
#include "RecorderFixture.h"

namespace {

using namespace std::chrono_literals;

class CallIn : public RecorderTest {
protected:
    CallIn() {
        m_config.sCallIn = "127.0.0.1:" + std::to_string(m_listener.Port());
        m_config.callAgain = 30ms;
        m_config.registerID = 0x80000007;
    }
    CWireListener m_listener;
};

TEST_F(CallIn, TheLinkIsLikeAnAcceptedOne) {
    StartRecorder();
    CWireClient client(m_listener);
    const BYTES block = client.Read(64);
    ASSERT_EQ(block.size(), 64u);
    EXPECT_EQ(Word(block, 0), 0x64616568u);
    EXPECT_EQ(Word(block, 4), 0u);
    EXPECT_EQ(Word(block, 20), 0x80000007u);
    client.Command(257, LoginBody("admin", "secret"));
    EXPECT_TRUE(client.Next(0x10001));
    client.StartStreams(1, 0, 0);
    EXPECT_TRUE(client.Next(0xA000001));
    CWireClient other(m_pRecorder->Port());  // and it still listens
    EXPECT_TRUE(other.Login());
    EXPECT_EQ(m_log.Count(SIM_EVENT_KIND::CALLED), 1u);
}

TEST_F(CallIn, ItCallsAgainHoweverTheLinkEnds) {
    StartRecorder();
    for (const SIM_CUT how : {SIM_CUT::CLOSE, SIM_CUT::RESET}) {
        CWireClient client(m_listener);
        ASSERT_EQ(client.Read(64).size(), 64u);
        m_pRecorder->CutLinks(how);
        EXPECT_TRUE(client.ReadsEnd());
    }
    for (int n = 0; n < 2; ++n) {
        CWireClient client(m_listener);
        EXPECT_EQ(client.Read(64).size(), 64u);  // then the client ends it, without a word
    }
    CWireClient client(m_listener);
    ASSERT_TRUE(client.Login());
    client.Command(258);
    EXPECT_TRUE(client.ReadsEnd());
    EXPECT_TRUE(CWireClient(m_listener).IsOpen());
    EXPECT_TRUE(m_log.WaitFor(SIM_EVENT_KIND::CLOSED, 5, PATIENCE));
}

TEST_F(CallIn, ARestartEndsTheLinkAndTheNextCallComesBehindIt) {
    m_config.rebootDelay = 1ms;
    m_config.rebootTime = 400ms;
    StartRecorder();
    CWireClient client(m_listener);
    ASSERT_TRUE(client.Login());
    const auto start = SIM_CLOCK::now();
    m_pRecorder->Reboot();
    EXPECT_TRUE(client.ReadsEnd());
    CWireClient again(m_listener);
    EXPECT_EQ(again.Read(64).size(), 64u);
    EXPECT_GE(SIM_CLOCK::now() - start, 401ms);
}

TEST_F(CallIn, NobodyThereIsToldAndTriedAgainAndLeavesNothingBehind) {
    m_listener.Close();
    const int threads = ThreadCount();
    const int descriptors = OpenDescriptorCount();
    StartRecorder();
    EXPECT_TRUE(m_log.WaitFor(SIM_EVENT_KIND::VAIN_CALL, 3, PATIENCE));
    EXPECT_NE(m_log.Events().front().sText.find(m_config.sCallIn), std::string::npos);
    m_pRecorder.reset();
    EXPECT_TRUE(WaitUntil([&] { return ThreadCount() == threads; }));
    EXPECT_EQ(OpenDescriptorCount(), descriptors);
    EXPECT_EQ(m_log.Count(SIM_EVENT_KIND::CALLED), 0u);
}

TEST_F(CallIn, AConnectIsBounded) {
    std::string sWhy, sError;
    const auto pCaller = CSimCaller::Make({m_config.sCallIn, 7s, [](SIM_TIME now) { return now; },
                                           [&](const std::string& sSentence) { sWhy = sSentence; }},
                                          sError);
    ASSERT_TRUE(pCaller) << sError;
    const SIM_TIME start = SIM_CLOCK::now();
    EXPECT_EQ(pCaller->Step(start, false), -1);
    EXPECT_GE(pCaller->Socket(), 0);
    EXPECT_EQ(pCaller->Due(), start + 5s);
    EXPECT_EQ(pCaller->Step(start + 5s - 1ms, false), -1);
    EXPECT_EQ(sWhy, "");
    EXPECT_EQ(pCaller->Step(start + 5s, false), -1);
    EXPECT_EQ(pCaller->Socket(), -1);
    EXPECT_NE(sWhy.find("timed out"), std::string::npos) << sWhy;
    EXPECT_EQ(pCaller->Due(), start + 12s);
}

TEST(CallTarget, IsHostAndPort) {
    for (const char* pGood : {"h:1", "192.0.2.1:65535", "[::1]:80"}) EXPECT_TRUE(CSimCaller::IsTarget(pGood)) << pGood;
    for (const char* pBad : {"", "h", "h:", ":80", "h:0", "h:65536", "h:8x", "::1:80", "[]:80", "[::1]", "[::1:80"})
        EXPECT_FALSE(CSimCaller::IsTarget(pBad)) << pBad;
}

}  // namespace
