
#include "support/HeardLog.h"
#include "TestFamily.h"

namespace {

TEST_F(NetDeviceMan, CountsUserIdsUpAndWraps) {
    m_man.SetNextDeviceID(2097144);
    const LONG last = Login(), first = Login();
    EXPECT_EQ(2097144, last);
    EXPECT_EQ(1, first);
    HLX_DEVICEINFO info{};
    EXPECT_TRUE(m_man.AddDevice("127.0.0.1", m_peer.Port(), "admin", "", &info, HLX_CONNECT_TCP, "", 0) == 2);
    EXPECT_EQ(7, info.videoInputNum);
    EXPECT_EQ(m_peer.Port(), info.devicePort);
    m_man.SetNextDeviceID(2097144);
    EXPECT_EQ(3, Login()) << "an id in use is not given again";
}

TEST_F(NetDeviceMan, ALoginWhoseParentLeavesOrWithoutMemoryLeavesNothing) {
    const LONG parent = Login();
    CTestDevice::s_login = [&](CTestDevice&) { return m_man.RemoveDevice(parent); };
    const auto expectNothing = [&](LONG lParent, DWORD error) {
        EXPECT_EQ(-1, Login(HLX_CONNECT_TCP, lParent));
        EXPECT_EQ(error, LastError());
        EXPECT_EQ(0, CTestDevice::s_alive);
        EXPECT_TRUE(WaitUntil([&] { return m_links == 0; }));
    };
    expectNothing(parent, HLX_NETWORK_NOT_CONNECT);
    CTestDevice::s_login = [](CTestDevice&) -> BOOL { throw std::bad_alloc(); };
    expectNothing(0, HLX_ALLOC_RESOURCE_ERROR);
}

TEST_F(NetDeviceMan, ASessionIsNotKnownBeforeItsFirstLoginSucceeds) {
    BOOL bRemoved = true;
    CTestDevice::s_login = [&](CTestDevice& device) {
        bRemoved = m_man.RemoveDevice(device.ID());
        return BOOL{1};
    };
    const LONG id = Login();
    EXPECT_GT(id, 0);
    EXPECT_FALSE(bRemoved);
    EXPECT_TRUE(m_man.RemoveDevice(id));
    EXPECT_FALSE(m_man.RemoveDevice(id));
}

TEST_F(NetDeviceMan, TheEndLogsOutWhatStands) {
    Login();
    Login();
    m_man.Stop();
    m_man.Quit();
    EXPECT_EQ(2, CTestDevice::s_logouts);
}

/// Also shows what does not wait for a request: one is under way while a message is taken.
TEST_F(NetDeviceMan, SubscriptionMessagesAreTakenAlwaysAndGoToWhoIsSetThen) {
    static std::atomic<int> toFirst, toSecond;
    toFirst = toSecond = 0;
    std::atomic<int> taken{0};
    std::atomic<bool> bAsked{false};
    CTestDevice::s_message = [&] { return ++taken == 1 ? "lost" : ""; };
    const LONG id = Login();
    EXPECT_TRUE(WaitUntil([&] { return taken >= 2; }));
    CTestDevice::s_message = [&] {
        bAsked = false;
        WaitUntil([&] { return bAsked.load(); });
        return "";
    };
    EXPECT_TRUE(WaitUntil([&] { return !bAsked; }));
    EXPECT_EQ(2U, m_man.SupportStreamNum(id, 0));
    EXPECT_EQ(-1, m_man.GetSha1Encrypt(id, nullptr, 0, nullptr, 0, nullptr));
    EXPECT_FALSE(bAsked);
    const auto second = [](LONG, DWORD, char*, DWORD, void*) { ++toSecond; };
    static SUBSCRIBE_CALLBACK s_second = second;
    m_man.SetSubscribCallBack(
        [](LONG, DWORD, char* pBuf, DWORD length, void*) {
            EXPECT_EQ("told", std::string(pBuf, length));
            ++toFirst;
            CNetDeviceMan::Instance()->SetSubscribCallBack(s_second, nullptr);
        },
        nullptr);
    CTestDevice::s_message = [&] { return toFirst + toSecond < 2 ? "told" : ""; };
    bAsked = true;
    EXPECT_TRUE(WaitUntil([&] { return toSecond == 1; }));
    EXPECT_EQ(1, toFirst);
}

TEST_F(NetDeviceMan, LoginsToDifferentDevicesOverlap) {
    std::atomic<int> logins{0};
    std::promise<void> gate;
    std::shared_future<void> opened = gate.get_future().share();
    CTestDevice::s_login = [&](CTestDevice&) {
        if (++logins == 2) gate.set_value();
        return BOOL{opened.wait_for(std::chrono::seconds(10)) == std::future_status::ready};
    };
    auto other = std::async(std::launch::async, [&] { return Login(); });
    EXPECT_GT(Login(), 0);
    EXPECT_GT(other.get(), 0);
}

/// A supporter sees who came, went and was refused, and nothing by which to log in.
TEST_F(NetDeviceMan, TheLogTellsTheStoryWithoutSecrets) {
    CHeardLog heard;
    const tuint32 encryptParam = 305419896;  // 0x12345678
    std::string block = FirstBlock(77, 1);
    std::memcpy(&block[28], &encryptParam, 4);
    std::memcpy(&block[45], "\xEF\xCD\xAB", 3);
    m_block = block;
    const LONG id = Login();
    CTestDevice::s_login = [](CTestDevice&) { return Failure(HLX_PASSWORD_ERROR); };
    EXPECT_EQ(-1, Login());
    EXPECT_EQ(DWORD{HLX_PASSWORD_ERROR}, LastError());
    EXPECT_TRUE(m_man.RemoveDevice(id));
    EXPECT_EQ(-1, Login(HLX_CONNECT_NAT));
    const std::string& log = heard.Text();
    const std::string user = "user " + std::to_string(id) + ", 127.0.0.1: ";
    EXPECT_EQ(heard.Count(user + "logged in, 7 channels") + heard.Count(user + "logged out"), 2u) << log;
    EXPECT_EQ(heard.Count("no connection, number " + std::to_string(HLX_NETWORK_FAIL_CONNECT)), 1u) << log;
    for (const char* pSecret : {"secret", "305419896", "12345678", "11259375", "abcdef", "ABCDEF"})
        EXPECT_EQ(log.find(pSecret), std::string::npos) << pSecret;
}

}  // namespace
