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
