// What of an exported call arrives at the device: the operation, the order of its arguments, the fixed ones among them.

#include "ApiTestSupport.h"
#include "main_utility/device/NetDeviceMan.h"
#include "RecordingDevice.h"
#include "unit/device/ScriptedPeer.h"

namespace {

class Forward : public testing::Test {
protected:
    void SetUp() override {
        CNetDeviceMan::Instance()->SetDeviceMaker(CRecordingDevice::Make);
        ASSERT_TRUE(HLX_Init());
        m_user = HLX_Login("127.0.0.1", m_peer.Port(), "admin", "", nullptr);
        ASSERT_GE(m_user, 1);
        CRecordingDevice::TakeNotes();
    }
    void TearDown() override {
        HLX_Cleanup();
        CNetDeviceMan::Instance()->SetDeviceMaker(MakeDevice);
    }

    POINTERHANDLE Play(LONG lChannel, LONG streamType) {
        const HLX_CLIENTINFO client{lChannel, streamType, nullptr, 0};
        return HLX_LivePlay(m_user, &client, nullptr, nullptr);
    }

    struct ROW {
        std::string notes;
        std::function<LONG()> call;
        LONG result = 1;
    };
    static void Expect(const std::vector<ROW>& rows) {
        for (const ROW& row : rows) {
            EXPECT_EQ(row.call(), row.result) << row.notes;
            EXPECT_EQ(CRecordingDevice::TakeNotes(), row.notes);
        }
    }

    CScriptedPeer m_peer{[this](int sock) {
        SendAll(sock, FirstBlock(0, 4));
        m_peer.AwaitClose(sock, [&] { return m_bCut.load(); });
    }};
    std::atomic<bool> m_bCut{false}, m_bInCallback{false};
    std::atomic<LONG> m_caller{0};
    LONG m_user = -1;
};

TEST_F(Forward, OrderOfArguments) {
    const LONG u = m_user;
    const POINTERHANDLE live = Play(2, HLX_MAIN_STREAM);
    CRecordingDevice::TakeNotes();
    const DD_CRUISE_POINT_INFO points[] = {{0, 11, 1, 5}, {1, 12, 1, 5}};
    Expect({
        {"PTZ 2 1 4294967295 5 1", [&] { return HLX_PTZControl(live, PTZ_CMD_LEFT, 5); }},
        {"PTZ 2 22 0 0 1", [&] { return HLX_PTZTrack(live, PTZ_CMD_TRACK_START); }},
        {"PTZ 2 27 0 3 0", [&] { return HLX_PTZAutoScan(live, PTZ_CMD_AUTO_SCAN_START, 3, false); }},
        {"PTZ 3 22 0 0 1", [&] { return HLX_PTZTrack_Other(u, 3, PTZ_CMD_TRACK_START); }},
        {"PTZ 3 27 0 3 1", [&] { return HLX_PTZAutoScan_Other(u, 3, PTZ_CMD_AUTO_SCAN_START, 3, true); }},
        {"SetCruise 3 7 11 1", [&] { return HLX_PTZSetCruise_Other(u, 3, 7, points, 1); }},
        {"", [&] { return HLX_PTZSetCruise_Other(u, 3, 7, points, 0); }, 0},
        {"SetColor_Ex 2 10 20 30 40", [&] { return HLX_SetVideoEffect_Ex(u, 2, 10, 20, 30, 40); }},
        {"KeyFrame 2 0 1", [&] { return HLX_MakeKeyFrameSub(u, 2); }},
        {"KeyFrame 2 0 3", [&] { return HLX_MakeKeyFrameEx(u, 2, HLX_FOURTH_STREAM); }},
    });
}

TEST_F(Forward, AStreamOpenedFromACallbackDuringCleanupIsStopped) {
    std::function<void()> inCallback = [this] {
        m_bInCallback = true;
        const auto ending = [this] { return HLX_GetProductSubID("127.0.0.1", m_peer.Port()) == -1; };
        EXPECT_TRUE(WaitUntil(ending)) << "cleanup has stopped the streams that there were";
        EXPECT_GT(Play(1, HLX_MAIN_STREAM), 0);
    };
    HLX_SetSDKMessageCallBack(
        0, nullptr, [](DWORD, LONG, LONG, void* pUser) { (*static_cast<std::function<void()>*>(pUser))(); },
        &inCallback);
    m_bCut = true;
    EXPECT_TRUE(WaitUntil([&] { return m_bInCallback.load(); }));
    EXPECT_TRUE(HLX_Cleanup());
    EXPECT_EQ(CRecordingDevice::TakeNotes(), "StartLive 1 1 0\nStopLive 1 1 0");
}

/// The session of a device that called in is gone with its link, but what the application had open on it is not.
TEST_F(Forward, LogoutFreesTheStreamsOfASessionThatIsGone) {
    REG_LOGIN_INFO known{};
    const unsigned short port = CScriptedPeer([](int) {}).Port();  // free again by now
    HLX_SetRegisterCallback(
        [](LONG id, LONG, LPHLX_DEVICEINFO, void* pUser) { *static_cast<std::atomic<LONG>*>(pUser) = id; }, &m_caller);
    HLX_SetSDKMessageCallBack(
        0, nullptr, [](DWORD, LONG, LONG, void* pUser) { *static_cast<std::atomic<bool>*>(pUser) = true; },
        &m_bInCallback);
    EXPECT_TRUE(HLX_SetRegisterPort(port, &known, 1));
    const int sock = ConnectLoopback(port);
    SendAll(sock, FirstBlock(0, 4));
    EXPECT_TRUE(WaitUntil([&] { return m_caller > 0; }));
    const HLX_CLIENTINFO client{0, HLX_MAIN_STREAM, nullptr, 0};
    const POINTERHANDLE live = HLX_LivePlay(m_caller, &client, nullptr, nullptr);
    EXPECT_GT(live, 0);
    close(sock);
    EXPECT_TRUE(WaitUntil([&] { return m_bInCallback.load(); }));
    EXPECT_TRUE(HLX_Logout(m_caller));
    EXPECT_EQ(HLX_GetLastError(), DWORD{HLX_SUCCESS});
    EXPECT_FALSE(HLX_StopLivePlay(live) || HLX_Logout(m_caller));
    EXPECT_EQ(HLX_GetLastError(), DWORD{HLX_PARAMETER_ERROR});
    HLX_SetRegisterPort(0, nullptr, 0);
}

}  // namespace
