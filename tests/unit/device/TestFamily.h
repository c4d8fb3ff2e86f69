// A device family for tests of the manager, and the manager with it in force.
#pragma once

#include "main_utility/device/classic/DVRNetDevice_V3.h"
#include "main_utility/device/NetDeviceMan.h"
#include "ScriptedPeer.h"
#include "support/MovedTime.h"
#include "support/Test.h"

/// What the test sets while threads of the library use it.
template <class Value>
class CShared {
public:
    CShared(Value value = {}) : m_value(std::move(value)) {}
    CShared& operator=(Value value) {
        std::lock_guard guard(m_lock);
        m_value = std::move(value);
        return *this;
    }
    Value Get() {
        std::lock_guard guard(m_lock);
        return m_value;
    }

private:
    std::mutex m_lock;
    Value m_value;  // m_lock
};

/// A device family for these tests: its login does what the test says, and it counts its objects.
class CTestDevice : public CDVRNetDevice_V3 {
public:
    using LoginBody = std::function<BOOL(CTestDevice&)>;

    CTestDevice() { ++s_alive; }
    ~CTestDevice() override { --s_alive; }

    BOOL Login(char*, char*, LPHLX_DEVICEINFO lpDeviceInfo) override {
        lpDeviceInfo->videoInputNum = 7;
        const LoginBody login = s_login.Get();
        m_bConnected = !login || login(*this);
        return m_bConnected;
    }
    BOOL Logout() override {
        ++s_logouts;
        m_bConnected = false;
        return 1;
    }
    BOOL OnReceiveData(const char* pBuf, int) override {
        if (!pBuf) {
            m_bConnected = false;
            m_bWoken = true;
        }
        return 1;
    }
    void SetLastWrongPswTime(ULONGLONG time) override { m_wrongTime = time; }
    ULONGLONG GetLastWrongPswTime() override { return m_wrongTime; }
    int GetDeviceStatus() override { return m_bConnected ? NET_DEVICE_STATUS_CONNECTED : NET_DEVICE_STATUS_DISCONNECT; }
    BOOL SetNetHandle(ND_HANDLE hEngine) override {
        m_bWoken = false;
        return CDVRNetDevice_V3::SetNetHandle(hEngine);
    }
    void InterruptWait() override { ++m_interrupts; }
    void SetAutoRegisterMode(int) override {
        s_lateModes += CNetDeviceMan::Instance()->GetDeviceResByUserID(ID()) != nullptr;
    }
    BOOL GetSmartSubscribMsg(DWORD*, LONG*, char* pBuffer, int* pLength) override {
        const auto next = s_message.Get();
        const std::string message = next ? next() : "";
        *pLength = static_cast<int>(message.copy(pBuffer, static_cast<size_t>(*pLength)));
        return !message.empty();
    }
    LONG ID() const { return m_deviceID; }

    std::atomic<bool> m_bWoken{false};  // told of a broken link
    std::atomic<int> m_interrupts{0};

    static inline std::atomic<int> s_alive{0}, s_logouts{0};
    static inline std::atomic<int> s_lateModes{0};  // told to be called-in when messages could reach them already
    static inline CShared<LoginBody> s_login;
    static inline CShared<std::function<std::string()>> s_message;  // the next one, "" for none

private:
    std::atomic<bool> m_bConnected{false};
    std::atomic<ULONGLONG> m_wrongTime{0};
};

inline bool MakeTestDevice(const PRE_SEND_DATA& pre, NET_DEVICE_RES& res) {
    if (pre.dwDevType != 77) return MakeDevice(pre, res);
    res.pNetDevice = std::make_unique<CTestDevice>();
    res.eDVRVer = NVR_VER_K7700;
    return true;
}

class NetDeviceMan : public testing::Test {
protected:
    void SetUp() override {
        CTestDevice::s_login = nullptr;
        CTestDevice::s_message = nullptr;
        CTestDevice::s_logouts = 0;
        m_man.SetDeviceMaker(MakeTestDevice);
        ASSERT_TRUE(m_man.Initial() && m_man.Start());
    }
    void TearDown() override {
        m_man.Stop();
        m_man.Quit();
        EXPECT_EQ(0, CTestDevice::s_alive);
    }

    LONG Login(LONG lConnectType = HLX_CONNECT_TCP, LONG lParent = 0) {
        CThreadState::Instance()->SetLastError(HLX_SUCCESS);
        return m_man.AddDevice("127.0.0.1", m_peer.Port(), "admin", "secret", nullptr, lConnectType, "", lParent);
    }
    static DWORD LastError() { return CThreadState::Instance()->GetLastError(); }

    CNetDeviceMan& m_man = *CNetDeviceMan::Instance();
    CShared<std::string> m_block{FirstBlock(77, 1)};  // what the device sends first on links from now on
    std::atomic<int> m_links{0}, m_accepted{0};
    std::atomic<int> m_cuts{0};  // each rise makes the peer drop the links that stand
    CScriptedPeer m_peer{[this](int sock) {
        ++m_links;
        ++m_accepted;
        const int cuts = m_cuts;
        SendAll(sock, m_block.Get());
        m_peer.AwaitClose(sock, [&] { return m_cuts != cuts; });
        --m_links;
    }};
};
