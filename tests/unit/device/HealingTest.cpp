#include <set>

#include "TestFamily.h"

namespace {

/// What the exception callback was told: type and user id, in order.
struct TOLD {
    void Add(DWORD type, LONG id) {
        std::lock_guard guard(lock);
        calls.emplace_back(type, id);
    }
    size_t Count(DWORD type) {
        std::lock_guard guard(lock);
        return static_cast<size_t>(std::ranges::count(calls, type, &std::pair<DWORD, LONG>::first));
    }
    std::mutex lock;
    std::vector<std::pair<DWORD, LONG>> calls;  // lock
};

class Healing : public NetDeviceMan {
protected:
    void SetUp() override {
        NetDeviceMan::SetUp();
        m_man.SetReconnect(20, true);
        m_man.SetExceptionCallback(0, nullptr, OnException, &m_told);
    }
    void TearDown() override {
        NetDeviceMan::TearDown();
        m_man.SetExceptionCallback(0, nullptr, nullptr, nullptr);
        m_man.SetReconnect(3000, true);
    }
    static void OnException(DWORD type, LONG id, LONG, void* pUser) { static_cast<TOLD*>(pUser)->Add(type, id); }
    void Cut() { ++m_cuts; }

    TOLD m_told;
};

TEST_F(Healing, DevicesThatDoNotAnswerHoldUpNoOtherAndEachSessionGetsItsTurn) {
    constexpr int SESSIONS = 24;
    constexpr size_t WORKERS = 16;
    std::vector<LONG> ids;
    for (int session = 0; session < SESSIONS; ++session) ids.push_back(Login());
    const LONG early = ids[10], late = ids.back();
    std::mutex lock;
    std::set<LONG> inLogin;  // lock
    size_t most = 0;         // lock
    std::atomic<bool> bLetGo{false};
    const auto working = [&] {
        std::lock_guard guard(lock);
        most = std::max(most, inLogin.size());
        return inLogin.size();
    };
    CTestDevice::s_login = [&](CTestDevice& device) {
        if (device.ID() == early || device.ID() == late) return BOOL{1};
        {
            std::lock_guard guard(lock);
            EXPECT_TRUE(inLogin.insert(device.ID()).second) << "two at work on session " << device.ID();
        }
        working();
        WaitUntil([&] { return device.m_bWoken || bLetGo; }, std::chrono::seconds(30));
        std::lock_guard guard(lock);
        inLogin.erase(device.ID());
        return BOOL{0};
    };
    Cut();
    EXPECT_TRUE(WaitUntil([&] { return working() == WORKERS && m_told.Count(NETWORK_RECONNECT) == 1; }));
    EXPECT_EQ(NET_DEVICE_STATUS_CONNECTED, m_man.GetDeviceStatus(early)) << "told while the others are worked on";
    auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(m_man.RemoveDevice(ids[0])) << "one that is worked on";
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15)) << "its login would wait 30 s";
    bLetGo = true;
    EXPECT_TRUE(WaitUntil([&] { return m_told.Count(NETWORK_RECONNECT) == 2; }));
    EXPECT_EQ(NET_DEVICE_STATUS_CONNECTED, m_man.GetDeviceStatus(late));
    bLetGo = false;
    EXPECT_TRUE(WaitUntil([&] { return working() == WORKERS; }));
    {
        std::lock_guard guard(lock);
        EXPECT_EQ(WORKERS, most);
    }
    start = std::chrono::steady_clock::now();
    m_man.Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15)) << "each login would wait 30 s";
}

TEST_F(Healing, AWrongPasswordRestsTheLoginsForThreeHundredAndTenSeconds) {
    static CMovedTime& clock = *new CMovedTime;  // threads wait on it to the end of the process
    Login();
    std::atomic<int> tries{0};
    CTestDevice::s_login = [&](CTestDevice&) { return ++tries < 2 ? Failure(HLX_PASSWORD_ERROR) : BOOL{1}; };
    CThreadState::Instance()->SetLastError(HLX_BUSY);
    Cut();
    EXPECT_TRUE(WaitUntil([&] { return tries == 1; }));
    const int links = m_accepted;
    EXPECT_TRUE(WaitUntil([&] { return m_accepted > links + 4; })) << "connects go on";
    clock.Advance(300 * 1000);
    EXPECT_TRUE(WaitUntil([&] { return m_accepted > links + 8; }));
    EXPECT_EQ(1, tries);
    EXPECT_EQ(DWORD{HLX_BUSY}, LastError()) << "background work leaves the application's number alone";
    clock.Advance(11 * 1000);
    EXPECT_TRUE(WaitUntil([&] { return m_told.Count(NETWORK_RECONNECT) == 1; }));
}

TEST_F(Healing, WithoutReconnectABreakIsOnlyTold) {
    Login();
    m_man.SetReconnect(20, false);
    Cut();
    EXPECT_TRUE(WaitUntil([&] { return m_told.Count(NETWORK_DISCONNECT) == 1 && m_links == 0; }));
    const int links = m_accepted;
    m_man.SetReconnect(20, true);
    EXPECT_TRUE(WaitUntil([&] { return m_told.Count(NETWORK_RECONNECT) == 1; }));
    EXPECT_TRUE(WaitUntil([&] { return m_accepted == links + 2; })) << "one probe and one link, none while it was off";
}

/// A device that calls in, and what the application is told of it.
class AutoRegister : public Healing {
protected:
    void SetUp() override {
        Healing::SetUp();
        OnRegister([](LONG) {});
        m_port = CScriptedPeer([](int) {}).Port();  // free again by now
    }
    void TearDown() override {
        m_man.SetRegisterPort(0, nullptr, 0);
        for (const int sock : m_socks) close(sock);
        Healing::TearDown();
    }

    /// Connects as a device with that register id; false when nobody listens.
    bool CallIn(tuint32 registerId) {
        if (!Connect()) return false;
        std::string block = FirstBlock(77, 1);
        std::memcpy(&block[20], &registerId, 4);
        SendAll(m_socks.back(), block);
        return true;
    }
    bool Connect() {
        m_socks.push_back(ConnectLoopback(m_port));
        return m_socks.back() != -1;
    }
    void Listen() {
        REG_LOGIN_INFO known{};
        known.deviceId = 4711;
        EXPECT_TRUE(m_man.SetRegisterPort(m_port, &known, 1));
    }
    /// What the register callback does from now on.
    void OnRegister(std::function<void(LONG)> body) {
        m_onRegister = std::move(body);
        m_man.SetRegisterCallback(
            [](LONG id, LONG, LPHLX_DEVICEINFO pInfo, void* pUser) {
                EXPECT_EQ(7, pInfo->videoInputNum);
                auto& self = *static_cast<AutoRegister*>(pUser);
                self.m_known = id;
                self.m_onRegister.Get()(id);
                ++self.m_calls;
            },
            this);
    }
    int Known() const { return m_calls; }

    std::atomic<LONG> m_known{0};  // the last user id that was told
    std::atomic<int> m_calls{0};   // of the register callback, those that have returned
    CShared<std::function<void(LONG)>> m_onRegister;
    unsigned short m_port = 0;
    std::vector<int> m_socks;
};

TEST_F(AutoRegister, ASilentCallerDoesNotHoldUpTheStop) {
    std::atomic<bool> bInLogin{false};
    CTestDevice::s_login = [&](CTestDevice& device) {
        bInLogin = true;
        return BOOL{!WaitUntil([&] { return device.m_bWoken.load(); })};
    };
    Listen();
    EXPECT_TRUE(CallIn(4711));
    EXPECT_TRUE(WaitUntil([&] { return bInLogin.load(); }));
    const auto start = std::chrono::steady_clock::now();
    m_man.SetRegisterPort(0, nullptr, 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST_F(AutoRegister, ALoginWithoutMemoryLeavesNothingAndTheNextCallerIsServed) {
    Listen();
    CTestDevice::s_login = [](CTestDevice&) -> BOOL {
        CTestDevice::s_login = nullptr;
        throw std::bad_alloc();
    };
    EXPECT_TRUE(CallIn(4711) && CallIn(4711));
    EXPECT_TRUE(WaitUntil([&] { return Known() == 1; }));
    EXPECT_EQ(1, CTestDevice::s_alive);
    EXPECT_EQ(0, CTestDevice::s_lateModes);
}

/// The walk that tells breaks comes by while the register callback runs: it tells that of a session behind the caller's.
TEST_F(AutoRegister, ABreakIsToldBehindTheRegisterCallback) {
    std::atomic<int> sock{-1};
    std::atomic<LONG> caller{0};
    OnRegister([&](LONG id) {
        caller = id;
        EXPECT_TRUE(WaitUntil([&] { return sock != -1; }));
        shutdown(sock, SHUT_RDWR);
        EXPECT_TRUE(WaitUntil([&] { return m_man.GetDeviceStatus(id) == NET_DEVICE_STATUS_DISCONNECT; }));
        Login();
        Cut();
        EXPECT_TRUE(WaitUntil([&] { return m_told.Count(NETWORK_DISCONNECT) == 1; }));
        std::lock_guard guard(m_told.lock);
        EXPECT_NE(id, m_told.calls[0].second);
    });
    Listen();
    EXPECT_TRUE(CallIn(4711));
    sock = m_socks.back();
    EXPECT_TRUE(WaitUntil([&] { return m_told.Count(NETWORK_DISCONNECT) == 2; }));
    EXPECT_EQ(nullptr, m_man.GetDeviceResByUserID(caller));
}

TEST_F(AutoRegister, TheEndInterruptsWhatARegisterCallbackWaitsForAndWaitsForIt) {
    std::atomic<bool> bInLogin{false}, bDone{false};
    OnRegister([&](LONG) {
        m_man.SetRegisterPort(0, nullptr, 0);
        CTestDevice::s_login = [&](CTestDevice& device) {
            bInLogin = true;
            return BOOL{!WaitUntil([&] { return device.m_interrupts >= 3; })};
        };
        EXPECT_EQ(-1, Login());
        bDone = true;
    });
    Listen();
    EXPECT_TRUE(CallIn(4711));
    EXPECT_TRUE(WaitUntil([&] { return bInLogin.load(); }));
    m_man.Stop();
    EXPECT_TRUE(bDone);
}

TEST_F(AutoRegister, ThePortIsKeptFromStopToStart) {
    m_man.Stop();
    Listen();
    EXPECT_FALSE(Connect()) << "nothing is opened behind the stop";
    EXPECT_TRUE(m_man.Start() && Connect());
    m_man.Stop();
    EXPECT_FALSE(Connect());
    EXPECT_TRUE(m_man.Start() && Connect());
}

/// The first change waits for a callback, the second one comes through, and the first must then leave the second's port alone.
TEST_F(AutoRegister, OfTwoPortChangesAtOnceTheSecondStands) {
    std::atomic<bool> bRelease{false}, bFirstDone{false};
    std::atomic<int> calls{0};
    OnRegister([&](LONG) {
        ++calls;
        EXPECT_TRUE(WaitUntil([&] { return bRelease.load(); }));
    });
    Listen();
    EXPECT_TRUE(CallIn(4711));
    EXPECT_TRUE(WaitUntil([&] { return calls == 1; }));
    std::thread first([&] {
        m_man.SetRegisterPort(0, nullptr, 0);
        bFirstDone = true;
    });
    EXPECT_TRUE(WaitUntil([&] { return !Connect(); }));
    Listen();
    CTestDevice::s_login = [&](CTestDevice& device) {
        bRelease = true;
        EXPECT_TRUE(WaitUntil([&] { return bFirstDone.load(); }));
        return BOOL{!device.m_bWoken};
    };
    EXPECT_TRUE(CallIn(4711));
    first.join();
    EXPECT_TRUE(WaitUntil([&] { return calls == 2; }));
    EXPECT_TRUE(Connect());
}

}  // namespace
