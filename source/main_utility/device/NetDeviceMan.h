// The device manager: opens links, makes devices, keeps them by user id and forwards every operation on them.
#pragma once

#include <atomic>
#include <map>
#include <vector>

#include "main_utility/device/DeviceFamilies.h"
#include "main_utility/device/DeviceForward.h"
#include "main_utility/device/ReconnectCrew.h"
#include "main_utility/device/TcpConnector.h"
#include "netservice/ListenProc.h"
#include "netservice/MultiNetComm.h"
#include "sdk_common/CallbackPair.h"
#include "sdk_common/InCallback.h"
#include "sdk_common/PubThread.h"
#include "sdk_common/WaitEvent.h"

/// Tells that a session is back: `channel` -1 means all. Called on the reconnect thread with no lock held.
using RECONNECT_CALLBACK = void (*)(LONG lLoginID, void* pUser, BOOL bIsK7KChannel, LONG channel, WORD videoInputNum);

/// All device sessions of the process. Any thread may call any operation.
///
/// Lock order: m_LoignFunLock, then m_deviceReconnLock, m_deviceCommLock, m_callbackLock. Forwarded
/// operations run with m_deviceCommLock held, so that one device's slow request holds up the others; Login alone runs
/// without a lock.
class CNetDeviceMan : public CDeviceForward {
public:
    static CNetDeviceMan* Instance();
    CNetDeviceMan(const CNetDeviceMan&) = delete;
    CNetDeviceMan& operator=(const CNetDeviceMan&) = delete;

    bool Initial();
    bool Start();
    /// Ends waiting connects. Safe on a manager that was never started.
    void Stop();
    /// Ends the engine and drops every session. Safe on a manager that was never initialised.
    void Quit();

    /// Milliseconds of one connect, at least 1, and tries, at least 1; also bounds the wait for a device's first block.
    BOOL SetConnectTime(DWORD dwWaitTime, DWORD dwTryTimes);
    BOOL SetReconnect(DWORD dwInterval, BOOL bEnableRecon);
    BOOL IsEnableReconn() const { return m_bEnableReconn; }
    void SetReconnectCallback(RECONNECT_CALLBACK pfnReconnCBFun, void* pUser);
    BOOL SetExceptionCallback(UINT nMessage, HWND hWnd, EXCEPTION_CALLBACK pfnExceptionCBFun, void* pUser);
    void SetIsWifi(BOOL bWifi) { m_bWifi = bWifi; }
    BOOL SetNat2Addr(const char* sServerAddr, WORD wDVRPort);

    BOOL SetRegisterPort(WORD wRegisterPort, const REG_LOGIN_INFO* pLoginInfo, DWORD deviceNum);
    BOOL AddRegisterDeviceInfo(const REG_LOGIN_INFO* pLoginInfo, DWORD deviceNum);
    BOOL SetRegisterCallback(ACCEPT_REGISTER_CALLBACK fRegisterCBFun, void* pUser);
    BOOL SetUnRegisterCallback(ACCEPT_UNREGISTER_CALLBACK fUnRegisterCBFun, void* pUser);
    /// True on the listener's thread while it serves a caller.
    static bool InRegisterCallback();
    BOOL SetSubscribCallBack(SUBSCRIBE_CALLBACK fSubscribCallBack, void* pUser);

    /// Connects, tells the family, logs in. `luserId` is 0, or the parent's id for a further session that carries one
    /// more stream. `lpDeviceInfo` may be null. The user id, or -1. Blocks for the connect (wait times tries), the
    /// first block (one wait) and the login (10 s a request).
    LONG AddDevice(const char* sDVRIP, WORD wDVRPort, const char* sUserName, const char* sPassWord,
                   LPHLX_DEVICEINFO lpDeviceInfo, LONG lConnectType, const char* sDevSN, LONG luserId);

    /// Logs out and drops a session and its further sessions. A session whose first login is still under way is not
    /// known yet. An exception callback for it that is in progress on another thread may end after the return.
    BOOL RemoveDevice(LONG lHandle);

    /// The custom product sub-id of the device at that address, or -1.
    int GetCustomID(const char* sDVRIP, WORD wDVRPort);

    /// A pin on a session: it stays valid as long as the pointer is held. Null for an unknown id.
    std::shared_ptr<const NET_DEVICE_RES> GetDeviceResByUserID(LONG lUserID) { return m_table.Pin(lUserID); }

    BOOL GetRtspUrl(LONG lUserID, LONG lChannel, LONG lStreamType, char* sRtspUrl);
    BOOL GetDeviceInfo(LONG lUserID, LPHLX_DEVICEINFO lpDeviceInfo);
    unsigned int SupportStreamNum(LONG lUserID, LONG lChannel);
    int GetSha1Encrypt(LONG lUserID, const void* pIn, int iInLen, void* pOut, int iOutLen, int* pReturned);
    /// An HLX_DEVICE_FIRMWARE_TYPE value, HLX_DEVICE_FIRMWARE_OTHER for an unknown id.
    int GetDeviceFirmwareType(LONG lUserID);

    /// True on a thread that is inside an application's exception, register or subscription callback.
    static bool InCallback() { return CApplicationCall::OnThisThread(); }

    /// Ends the waits of all requests that are under way, with HLX_NETWORK_NOT_CONNECT. For those who stop a thread
    /// that may be in one.
    void InterruptRequests();

    /// A new link until the engine has it. Closes its socket unless the engine took it.
    struct LINK {
        SWL_socket_t sock = -1;
        PRE_SEND_DATA pre{};
        int resultType = HLX_CONNECT_TCP;
        CSWL_MultiNet* pEngine = nullptr;

        LINK() = default;
        LINK(const LINK&) = delete;
        LINK& operator=(const LINK&) = delete;
        ~LINK() {
            if (sock != -1) SWL_CloseSocket(sock);
        }
    };

    /// One register port from its opening to its end, which is for good.
    struct REGISTER_LISTENER {
        REGISTER_LISTENER(CNetDeviceMan& owner, WORD wPort);

        CNetDeviceMan& man;
        const WORD port;
        std::atomic<bool> bStopping{false};  // ends the wait for a first block and the login of a caller
        std::atomic<bool> bStarting{false};  // in StartListen, which may wait for the port
        CDeviceTable::Session caller;        // being logged in; m_listenerLock
        CSWL_ListenProcEx proc;              // goes first, and joins its thread
    };

    /// Logs a device in that called and whose first block is there, or tells that it is unknown. 1 when it is logged
    /// in, else 0. On the listener's thread; blocks for the login (10 s a request).
    int ServeCaller(LINK& link, const CLIENT_SOCK_INFO& info, REGISTER_LISTENER& listener);

    /// Puts another maker of device families in force, for families that are made for a test. Before any login.
    void SetDeviceMaker(MAKE_DEVICE fMakeDevice) { m_fMakeDevice = fMakeDevice; }

    /// Sets the next user id, so that the wrap can be tried. Before any login.
    void SetNextDeviceID(int deviceID) { s_deviceID = deviceID; }

private:
    using Session = CDeviceTable::Session;

    /// Marks the thread for the time of a call to the application.
    using CApplicationCall = CInCallback<CNetDeviceMan>;

    /// A session that was entered. Takes it back, also when an exception passes, unless its login is through.
    struct ENTERED_SESSION {
        ENTERED_SESSION(CNetDeviceMan& owner, const Session& entered) : man(owner), session(entered) {}
        ENTERED_SESSION(const ENTERED_SESSION&) = delete;
        ENTERED_SESSION& operator=(const ENTERED_SESSION&) = delete;
        ~ENTERED_SESSION() {
            if (!bLoggedIn) man.DropSession(session);
        }

        CNetDeviceMan& man;
        const Session& session;
        bool bLoggedIn = false;
    };

    using Listener = std::shared_ptr<REGISTER_LISTENER>;

    /// Counts a thread that may be in a call of the application.
    struct BUSY {
        explicit BUSY(std::atomic<int>& threads) : m_threads(threads) { ++m_threads; }
        ~BUSY() { --m_threads; }
        std::atomic<int>& m_threads;
    };

    CNetDeviceMan() = default;

    static int MultiNetCommCallback(int deviceID, void* pParam, const char* pBuf, int iLen);
    bool OnLinkData(int deviceID, tuint64 linkSerial, const char* pBuf, int iLen);

    bool ConnectDevice(const char* sDVRIP, WORD wDVRPort, LONG lConnectType, LINK& link,
                       const std::atomic<bool>* pbGone = nullptr);
    static Session MakeSession(const char* sDVRIP, WORD wDVRPort, const char* sUserName, const char* sPassWord,
                               const char* sDevSN);
    LONG LoginOverLink(LINK& link, const Session& session, LPHLX_DEVICEINFO lpDeviceInfo, LONG luserId);
    bool EnterSession(LINK& link, const Session& session, LONG luserId);
    bool HandLinkToEngine(NET_DEVICE_RES& session, LINK& link);
    void AdvanceDeviceID();
    void GiveBackDeviceID(int lHandle);
    bool LoginSession(const Session& session, LPHLX_DEVICEINFO lpDeviceInfo, LONG luserId);
    static bool LoginDevice(NET_DEVICE_RES& session, LPHLX_DEVICEINFO lpDeviceInfo);
    void DropSession(const Session& session);
    bool RemoveDevice_Ex(LONG lHandle);
    void EndSession(NET_DEVICE_RES& session);

    // Healing (NetDeviceMan.Heal.cpp)
    bool StartHealing();
    void StopHealing();
    void Pause(const bool& bRun, tuint32 milliseconds);
    void InterruptUntilIdle(const std::atomic<int>& busyThreads);
    static void* CheckConnectThread(void* pParam);
    static void* ReConnectThread(void* pParam);
    static void* SubscribThread(void* pParam);
    void CheckConnectProc();
    void ReConnectProc();
    void ReConnectPause();
    void SubscribProc(char* pBuffer);
    bool IsDue(const NET_DEVICE_RES& session) const;
    void StartReconnect(const Session& session);
    static time_t SecondsOfRest(const NET_DEVICE_RES& session);
    void TryReconnect(RECONNECT_TRY& attempt);
    bool OpenAgain(NET_DEVICE_RES& session);
    bool LoginAgain(NET_DEVICE_RES& session, RECONNECT_TRY& attempt);
    void TellReturns();
    void TellReturn(NET_DEVICE_RES& session, WORD videoInputNum);
    void TellException(DWORD type, LONG lHandle);
    bool NextSubscribMsg(const Session& session, DWORD& dwCommand, LONG& lChannel, char* pBuffer, int& length);
    void TellSubscribMsg(LONG lHandle, DWORD dwCommand, char* pBuffer, int length);

    // Auto-register (NetDeviceMan.Register.cpp)
    void KeepLoginInfo(const REG_LOGIN_INFO* pLoginInfo, DWORD deviceNum);
    bool FindLoginInfo(DWORD deviceId, NET_DEVICE_RES& session);
    void StartListener();
    void StopListener();
    Listener SwapListener(const Listener& listener);  // m_listenerLock held
    void OpenListener(const Listener& listener);
    void EndListener(const Listener& listener);
    static int AcceptLinkCallback(CLIENT_SOCK_INFO* pInfo, void* pParam, void* pReserved);
    int OnGetAcceptLink(const CLIENT_SOCK_INFO& info, REGISTER_LISTENER& listener);
    int LoginCaller(const Session& session, REGISTER_LISTENER& listener);
    int RefuseCaller(const Session& session);
    bool LoginAsCaller(const Session& session, HLX_DEVICEINFO& deviceInfo, REGISTER_LISTENER& listener);
    void SetCaller(REGISTER_LISTENER& listener, const Session& session);

    CSWL_MultiNetComm m_multiNetComm;
    CTcpConnector m_connector;
    CPUB_Lock m_LoignFunLock;  // spelled so; guards s_deviceID and the order of table entries
    static int s_deviceID;
    std::atomic<tuint64> m_lastLinkSerial{0};
    MAKE_DEVICE m_fMakeDevice = MakeDevice;

    std::atomic<bool> m_bWifi{true};
    std::atomic<DWORD> m_dwReconnInterval{3000};  // milliseconds
    std::atomic<bool> m_bEnableReconn{true};

    CCallbackPair<RECONNECT_CALLBACK> m_reconnectCallback;
    CCallbackPair<EXCEPTION_CALLBACK> m_exceptionCallback;
    std::atomic<UINT> m_exceptionMsg{0};  // with the window only stored
    std::atomic<HWND> m_exceptionHwnd{nullptr};
    CCallbackPair<SUBSCRIBE_CALLBACK> m_subscribCallback;
    CCallbackPair<ACCEPT_REGISTER_CALLBACK> m_registerCallback;
    CCallbackPair<ACCEPT_UNREGISTER_CALLBACK> m_unRegisterCallback;

    CWaitEvent m_stopWait;  // closed at Stop: ends the pauses of the check-connect and the subscription thread
    PUB_thread_t m_hReConnect = 0;
    bool m_bReConnecting = false;
    std::atomic<bool> m_bReconnectSet{false};  // SetReconnect was called since the pause began
    CReconnectCrew m_crew{[this](RECONNECT_TRY& attempt) { TryReconnect(attempt); }};  // reconnect thread's
    PUB_thread_t m_checkConnectThread = 0;
    bool m_checkConnect = false;
    PUB_thread_t m_hSubscrib = 0;
    bool m_bSubscribing = false;

    CPUB_Lock m_LoginInfoLock;                        // leaf
    std::map<DWORD, REG_LOGIN_INFO> m_pRegLoginInfo;  // devices that may call in; m_LoginInfoLock
    /// Whose callback this thread runs; null on any other thread.
    static inline thread_local REGISTER_LISTENER* t_pServing = nullptr;
    CPUB_Lock m_listenerLock;   // leaf; guards the next four
    DWORD m_listenPort = 0;     // kept from Stop to Start
    bool m_bMayListen = false;  // from Start to Stop
    Listener m_pListenProc;
    std::vector<Listener> m_retiredListeners;  // replaced inside their own callback, to be joined by another thread
    std::atomic<int> m_busyCallers{0};         // listener threads inside their callback
    std::atomic<int> m_busyHealers{0};         // of the three healing threads
};
