// Login, logout, the ask-and-wait and the facts of a recorder.

#include "support/MovedTime.h"
#include "support/Test.h"
#include "TestRecorder.h"

namespace {

using namespace std::chrono_literals;

class LoginTest : public testing::Test {
protected:
    CTestRecorder m_recorder;
    CTestRecorder::CDevice& m_device = m_recorder.m_device;
};

TEST_F(LoginTest, RequestBytes) {
    const std::string user(35, 'u');
    ASSERT_TRUE(m_recorder.Login(user.c_str(), "secret"));
    const Bytes expected = Word(257) + Word(0) + Word(4) + Word(120) + Word(1) + Word(0) + user + Bytes(1, 0) +
                           "secret" + Bytes(30, 0) + Bytes(28 + 6 + 2, 0) + Word(4);
    ASSERT_EQ(expected.size(), 136u);
    EXPECT_EQ(m_recorder.m_sent.at(0), expected);
    EXPECT_EQ(m_recorder.m_sent.at(1), Word(0x801) + Word(0) + Word(4) + Word(0));
    EXPECT_EQ(m_device.GetDeviceStatus(), NET_DEVICE_STATUS_CONNECTED);
}

TEST_F(LoginTest, FactsComeFromTheirPlaces) {
    Bytes body;
    for (int i = 0; i < 348; ++i) body += static_cast<char>(i * 7 % 250 + 1);
    m_recorder.m_answers[0x101] = Message(0x10001, body);
    ASSERT_TRUE(m_recorder.Login());
    Bytes expected = body.substr(52, 72);  // the two records are the same up to the MAC, but for:
    expected[19] = 0;                      // deviceType
    expected.replace(32, 4, Word(2));      // videoFormat
    const HLX_DEVICEINFO& info = m_recorder.m_info;
    EXPECT_EQ(Bytes(reinterpret_cast<const char*>(&info), 72), expected);
    EXPECT_EQ(Bytes(reinterpret_cast<const char*>(info.deviceMAC), 6), body.substr(52 + 72, 6));
    EXPECT_EQ(info.buildDate, NumberAt(body, 52 + 80));
    EXPECT_EQ(info.buildTime, NumberAt(body, 52 + 84));
    const std::pair<const char*, size_t> texts[] = {
        {info.deviceName, 88}, {info.firmwareVersion, 124}, {info.hardwareVersion, 224}};
    for (const auto& [pText, offset] : texts) EXPECT_EQ(pText, body.substr(52 + offset, 35)) << "cut, and ended";
    m_recorder.m_info = {};
    EXPECT_TRUE(m_device.GetDeviceInfo(&m_recorder.m_info));
    EXPECT_EQ(info.audioInputNum, expected[1]);
}

TEST_F(LoginTest, RefusalsThatAreCutShort) {
    const std::pair<Bytes, DWORD> rows[] = {
        {Message(0x10002, "\2"), 6},
        {Message(0x10002), 6},
        {Message(0x10001, LoginSuccess()).substr(0, 300), 13}};  // the last head promises more than there is
    for (const auto& [answer, error] : rows) {
        m_recorder.m_answers[0x101] = answer;
        EXPECT_TRUE(FailedWith(error, m_recorder.Login())) << error;
        EXPECT_EQ(m_device.GetDeviceStatus(), NET_DEVICE_STATUS_DISCONNECT);
    }
    m_recorder.m_answers[0x101] = Message(0x10001, LoginSuccess());
    EXPECT_TRUE(m_recorder.Login());
    m_recorder.m_sent.clear();
    EXPECT_TRUE(m_recorder.Login() && m_recorder.m_sent.empty());
}

TEST_F(LoginTest, OneLoginAtATime) {
    m_recorder.m_onSend = [&](tuint32 command) {
        if (command == 0x101) {
            EXPECT_FALSE(m_recorder.Login());
        }
    };
    EXPECT_TRUE(m_recorder.Login());
    EXPECT_EQ(m_recorder.m_sent.size(), 2u);
}

TEST_F(LoginTest, FallenLinkEndsTheWaitAtOnce) {
    m_recorder.m_answers.erase(0x101);
    std::thread engine([&] {
        WaitUntil([&] { return m_recorder.SentCount() == 1; });
        m_recorder.BreakLink();
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(m_recorder.Login());
    EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
    engine.join();
    EXPECT_EQ(LastError(), DWORD{HLX_NETWORK_NOT_CONNECT});

    EXPECT_TRUE(FailedWith(HLX_NETWORK_NOT_CONNECT, m_recorder.Login()));
    EXPECT_EQ(m_recorder.SentCount(), 1u);

    m_recorder.m_answers[0x101] = Message(0x10001, LoginSuccess());
    m_device.SetNetHandle(&m_recorder);
    EXPECT_TRUE(m_recorder.Login());
}

TEST_F(LoginTest, FailedSend) {
    m_recorder.m_bSendFails = true;
    EXPECT_TRUE(FailedWith(HLX_NETWORK_SEND_ERROR, m_recorder.Login()));

    std::thread engine;
    m_recorder.m_onSend = [&](tuint32) { engine = std::thread([&] { m_recorder.BreakLink(); }); };
    EXPECT_FALSE(m_recorder.Login());
    engine.join();
    EXPECT_EQ(LastError(), DWORD{HLX_NETWORK_NOT_CONNECT});
}

TEST_F(LoginTest, DiskCount) {
    const Bytes disk(100, 'd');
    const std::tuple<Bytes, unsigned int, DWORD> rows[] = {
        {Message(0x80001, Word(3) + disk + disk + disk), 3, 0},
        {Message(0x80002), 0, HLX_DISK_ERROR},
        {Message(0x80001, Word(3) + disk + disk), 0, HLX_NETWORK_ERRORDATA},
        {Message(0x80001, Word(0xFFFFFFFF) + disk), 0, HLX_NETWORK_ERRORDATA},
        {Message(0x80001), 0, HLX_NETWORK_ERRORDATA},
    };
    for (const auto& [answer, told, error] : rows) {
        m_device.Logout();
        m_recorder.m_answers[0x801] = answer;
        EXPECT_TRUE(m_recorder.Login());
        EXPECT_EQ(m_device.GetDiskNum(), told);
        CThreadState::Instance()->SetLastError(0);
        DVR_DISK_INFO found[2] = {};
        unsigned int count = 9;
        EXPECT_EQ(m_device.SearchDiskInfo(found, 2, count), error == 0);
        EXPECT_EQ(LastError(), error);
        EXPECT_EQ(count, std::min(told, 2u));
        EXPECT_EQ(found[1].totalSpace, told ? 0x64646464u : 0u);
    }
}

TEST_F(LoginTest, LateReplyIsNotTakenByTheNextRequest) {
    ASSERT_TRUE(m_recorder.LoggedIn());
    const Bytes disk(100, 0);
    DVR_DISK_INFO disks[8] = {};
    unsigned int count = 0;
    m_recorder.m_answers.erase(0x801);
    {
        CMovedTime time;
        time.SetRate(500);
        EXPECT_TRUE(FailedWith(HLX_NETWORK_RECV_TIMEOUT, m_device.SearchDiskInfo(disks, 8, count)));
    }
    m_recorder.Receive(Message(0x80001, Word(1) + disk));
    m_recorder.m_onSend = [&](tuint32) { m_recorder.Receive(Message(0x50003, Word(1002))); };
    m_recorder.m_answers[0x801] = Message(0x80001, Word(2) + disk + disk);
    EXPECT_TRUE(m_device.SearchDiskInfo(disks, 8, count));
    EXPECT_EQ(count, 2u);
}

TEST_F(LoginTest, LogoutSaysGoodbyeAndEndsTheSession) {
    ASSERT_TRUE(m_recorder.LoggedIn());
    EXPECT_TRUE(m_device.Logout());
    ASSERT_EQ(m_recorder.m_sent.size(), 1u);
    EXPECT_EQ(m_recorder.m_sent[0], Word(258) + Word(0) + Word(4) + Word(0));
    EXPECT_FALSE(m_device.RequestKeyFrame(0, true, 0));
    EXPECT_TRUE(FailedWith(HLX_NETWORK_NOT_CONNECT, m_device.StartLiveChannel(0, true, 0x401, 0)));
    EXPECT_EQ(m_recorder.m_sent.size(), 1u);
}

}  // namespace
