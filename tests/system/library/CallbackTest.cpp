// What an application may do inside each of its callbacks: everything, but for what is refused there.

#include "main_utility/device/classic/DVRNetDevice_V3.h"
#include "main_utility/device/NetDeviceMan.h"
#include "System.h"

namespace {

/// A recorder that may hold a message of a subscription.
class CSubscribedDevice : public CDVRNetDevice_V3 {
public:
    BOOL GetSmartSubscribMsg(DWORD* pCommand, LONG* pChannel, char*, int* pLength) override {
        *pCommand = 1;
        *pChannel = 0;
        *pLength = 4;
        return s_bHasMessage.exchange(false);
    }

    static inline std::atomic<bool> s_bHasMessage{false};
};

class Callbacks;

struct CALLBACK_ROW {
    const char* pName;
    void (*fCause)(Callbacks& test);  // sets the callback and makes the library call it
    bool bFrame = false;              // starts, stops and the logout are refused in it
    bool bSession = true;             // it is told of a session that stands
};

std::ostream& operator<<(std::ostream& out, const CALLBACK_ROW& row) { return out << row.pName; }

class Callbacks : public CSystemTest, public testing::WithParamInterface<CALLBACK_ROW> {
public:
    CClassicRecorder& NewRecorder(const std::string& sCallIn = "") {
        CLASSIC_RECORDER_CONFIG config = Beating();
        config.sCallIn = sCallIn;
        config.registerID = 77;
        return StartRecorder(config);
    }
    /// The body of every callback: acts once.
    void Called(LONG lUserID) {
        if (m_bCalled.exchange(true)) return;
        m_told = lUserID;
        Act(lUserID);
        m_bDone = true;
    }
    void Cut() { m_recorders[0]->CutLinks(SIM_CUT::RESET); }
    void SetExceptionCallback(DWORD type) {
        m_type = type;
        HLX_SetReconnect(500, true);
        HLX_SetSDKMessageCallBack(
            0, nullptr,
            [](DWORD told, LONG id, LONG, void* pUser) {
                auto& self = *static_cast<Callbacks*>(pUser);
                if (told == self.m_type) self.Called(id);
            },
            this);
    }
    static BOOL OnMessage(LONG, LONG id, char*, DWORD, void* pUser) {
        static_cast<Callbacks*>(pUser)->Called(id);
        return 1;
    }
    static void OnRegister(LONG id, LONG, LPHLX_DEVICEINFO, void* pUser) { static_cast<Callbacks*>(pUser)->Called(id); }
    void CallIn(bool bKnown) {
        HLX_SetRegisterCallback(bKnown ? OnRegister : nullptr, this);
        HLX_SetUnRegisterCallback(bKnown ? nullptr : OnRegister, this);
        REG_LOGIN_INFO info{};
        info.deviceId = 77;
        std::snprintf(info.m_szUserName, sizeof(info.m_szUserName), "admin");
        std::snprintf(info.m_szPasswd, sizeof(info.m_szPasswd), "secret");
        CClassicRecorder& gone = NewRecorder();
        const WORD port = gone.Port();  // is free from now on
        gone.Stop();
        HLX_SetRegisterPort(port, bKnown ? &info : nullptr, bKnown);
        NewRecorder("127.0.0.1:" + std::to_string(port));
    }

    LONG m_first = 0;                      // a session of the first recorder
    std::atomic<POINTERHANDLE> m_live{0};  // a stream of it, maybe not known yet

protected:
    void TearDown() override {
        HLX_SetRegisterPort(0, nullptr, 0);
        HLX_SetReconnect(3000, true);
        HLX_Cleanup();  // no callback comes behind it
        CNetDeviceMan::Instance()->SetDeviceMaker(MakeDevice);
        CSystemTest::TearDown();
    }
    /// In a callback: the result, and the number of a refusal.
    static void Expect(const char* pCall, bool bDone, bool bAllowed, DWORD refusal = HLX_OPER_NOPERMIT) {
        const DWORD error = HLX_GetLastError();
        EXPECT_EQ(bDone, bAllowed) << pCall << ", number " << error;
        EXPECT_TRUE(bDone || error == refusal) << pCall << ", number " << error;
    }
    void Act(LONG lUserID) {
        const bool bAllowed = !GetParam().bFrame;
        HLX_DEVICEINFO info{};
        const LONG id = HLX_Login("127.0.0.1", m_otherPort, "admin", "secret", &info);
        Expect("login", id > 0, true);
        Expect("ptz", HLX_PTZControl_Other(id, 0, PTZ_CMD_LEFT, 1), true);
        HLX_CLIENTINFO client{};
        const POINTERHANDLE live = HLX_LivePlay(id, &client, nullptr, nullptr);
        Expect("live", live > 0, bAllowed);
        Expect("stop", HLX_StopLivePlay(bAllowed ? live : m_live.load()), bAllowed);
        Expect("logout", HLX_Logout(id), bAllowed);
        Expect("cleanup", HLX_Cleanup(), false);
        Expect("info", HLX_GetDeviceInfo(m_first, &info), true);
        DD_TIME time{};
        if (!bAllowed) Expect("time", HLX_GetDeviceTime(m_first, &time), false);
        char picture = 0;
        DWORD size = 0;
        if (!bAllowed) Expect("picture", HLX_CaptureJPEGPicture(m_first, 0, nullptr, &picture, 1, &size), false);
        const bool bKnown = bAllowed && GetParam().bSession;
        Expect("own logout", HLX_Logout(lUserID), bKnown, bAllowed ? HLX_PARAMETER_ERROR : HLX_OPER_NOPERMIT);
    }

    DWORD m_type = 0;
    WORD m_otherPort = 0;  // of the second recorder
    std::atomic<bool> m_bCalled{false}, m_bDone{false};
    std::atomic<LONG> m_told{0};
};

TEST_P(Callbacks, AllowWhatTheyShouldAndNeverHang) {
    CNetDeviceMan::Instance()->SetDeviceMaker([](const PRE_SEND_DATA&, NET_DEVICE_RES& res) {
        res.pNetDevice = std::make_unique<CSubscribedDevice>();
        return true;
    });
    NewRecorder().SetStatus({.motion = 1});
    m_first = Login();
    ASSERT_GT(m_first, 0);
    m_otherPort = NewRecorder().Port();
    const CFastTime fast(20);
    GetParam().fCause(*this);
    EXPECT_TRUE(WaitUntil([&] { return m_bDone.load(); }));
    const bool bGone = !GetParam().bFrame && GetParam().bSession;
    EXPECT_NE(bGone, HLX_Logout(GetParam().bSession ? m_told.load() : m_first) == 1);
}

void PlayFrames(Callbacks& test) {
    HLX_CLIENTINFO client{};
    const auto onFrame = [](POINTERHANDLE, HLX_FRAME_INFO frame, BYTE*, void* pUser) {
        static_cast<Callbacks*>(pUser)->Called(static_cast<LONG>(frame.deviceID));
    };
    test.m_live = HLX_LivePlay(test.m_first, &client, onFrame, &test);
}
void PlayBlocks(Callbacks& test) {
    HLX_CLIENTINFO client{};
    const auto onBlock = [](POINTERHANDLE, UINT, BYTE*, UINT, void* pUser) {
        static_cast<Callbacks*>(pUser)->Called(static_cast<Callbacks*>(pUser)->m_first);
    };
    test.m_live = HLX_LivePlayEx(test.m_first, &client, onBlock, &test);
}
template <DWORD TYPE>
void Break(Callbacks& test) {
    test.SetExceptionCallback(TYPE);
    test.Cut();
}
template <auto SET>
void SetUpAlarms(Callbacks& test) {
    SET(Callbacks::OnMessage, &test);
    HLX_SetupAlarmChan(test.m_first);
}
void Subscribe(Callbacks& test) {
    const auto onMessage = [](LONG id, DWORD, char*, DWORD, void* pUser) {
        static_cast<Callbacks*>(pUser)->Called(id);
    };
    HLX_SetSubscribCallBack(onMessage, &test);
    CSubscribedDevice::s_bHasMessage = true;  // what came before goes to nobody
}
template <bool KNOWN>
void CallIn(Callbacks& test) {
    test.CallIn(KNOWN);
}

const CALLBACK_ROW ROWS[] = {{"frame", PlayFrames, true},
                             {"frame Ex", PlayBlocks, true},
                             {"break", Break<NETWORK_DISCONNECT>},
                             {"return", Break<NETWORK_RECONNECT>},
                             {"message", SetUpAlarms<HLX_SetDVRMessageCallBack>},
                             {"message Ex", SetUpAlarms<HLX_SetDVRMessageCallBackEx>},
                             {"register", CallIn<true>},
                             {"unregister", CallIn<false>, false, false},
                             {"subscription", Subscribe}};
INSTANTIATE_TEST_SUITE_P(Kinds, Callbacks, testing::ValuesIn(ROWS));

}  // namespace
