#include "System.h"

int Rounds(int few) {
    const char* pRounds = std::getenv("HLX_TEST_ROUNDS");
    return pRounds ? std::atoi(pRounds) : few;
}

CTold::CTold(DWORD dwReconnect) {
    const auto tell = [](DWORD type, LONG, LONG, void* pUser) {
        auto& self = *static_cast<CTold*>(pUser);
        const bool bBreak = type == NETWORK_DISCONNECT;
        if (self.m_breaks - self.m_returns != !bBreak) self.m_bInOrder = false;
        (bBreak ? self.m_breaks : self.m_returns) += 1;
    };
    EXPECT_TRUE(HLX_SetReconnect(dwReconnect, true) && HLX_SetSDKMessageCallBack(0, nullptr, tell, this));
}

CTold::~CTold() {
    HLX_SetSDKMessageCallBack(0, nullptr, nullptr, nullptr);
    HLX_SetReconnect(3000, true);
}

void CSystemTest::SetUp() {
    CFastTime::Clock();
    ASSERT_TRUE(HLX_Init());
    HLX_Cleanup();  // what lives as long as the process is there from now on
    m_threads = ThreadCount();
    m_descriptors = OpenDescriptorCount();
    ASSERT_TRUE(HLX_Init());
}

void CSystemTest::TearDown() {
    EXPECT_TRUE(HLX_Cleanup());
    m_recorders.clear();
    EXPECT_TRUE(WaitUntil([&] { return ThreadCount() <= m_threads; }))
        << ThreadCount() << " threads, were " << m_threads;
    EXPECT_TRUE(WaitUntil([&] { return OpenDescriptorCount() <= m_descriptors; }));
}

CLASSIC_RECORDER_CONFIG CSystemTest::Fast(unsigned channels, double speed) {
    CLASSIC_RECORDER_CONFIG config;
    config.channels = channels;
    config.speed = speed;
    config.sPassword = "secret";
    return config;
}

CLASSIC_RECORDER_CONFIG CSystemTest::Beating(unsigned channels, double speed) {
    CLASSIC_RECORDER_CONFIG config = Fast(channels, speed);
    config.heartbeat = std::chrono::milliseconds(100);
    return config;
}

SIM_FAULT CSystemTest::Fault(const std::string& sText) {
    std::string sError;
    const auto fault = ParseFault(sText, sError);
    EXPECT_TRUE(fault) << sError;
    return fault.value_or(SIM_FAULT{});
}

CClassicRecorder& CSystemTest::StartRecorder(CLASSIC_RECORDER_CONFIG config) {
    config.observer = m_events.Observer();
    m_recorders.push_back(std::make_unique<CClassicRecorder>(std::move(config)));
    std::string sError;
    EXPECT_TRUE(m_recorders.back()->Start(sError)) << sError;
    return *m_recorders.back();
}

LONG CSystemTest::Login(const char* sPassword, LPHLX_DEVICEINFO pInfo) {
    HLX_DEVICEINFO info{};
    return HLX_Login("127.0.0.1", m_recorders.back()->Port(), "admin", sPassword, pInfo ? pInfo : &info);
}
