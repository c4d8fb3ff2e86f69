// Sessions that heal: breaks are told, links opened again, logins repeated; subscription messages are polled.
#include <algorithm>
#include <memory>
#include <new>

#include "main_utility/device/NetDeviceMan.h"
#include "sdk_common/Console.h"
#include "sdk_common/PubTime.h"
#include "sdk_common/RunFlag.h"
#include "sdk_common/YLog4C.h"

namespace {

constexpr tuint32 CHECK_CONNECT_INTERVAL = 500;  // milliseconds
constexpr tuint32 SUBSCRIB_INTERVAL = 500;       // milliseconds
constexpr int SUBSCRIB_BUFFER = 2097152;         // bytes of one subscription message
constexpr tuint32 SHORTEST_RECONNECT = 100;      // milliseconds
constexpr tuint32 LONGEST_RECONNECT = 0xFFFFFFFE;
constexpr unsigned int INTERRUPT_ROUND = 5;   // milliseconds
constexpr time_t WRONG_PASSWORD_PAUSE = 310;  // seconds without a login try

tint64 Monotonic() { return TimeSource().MonotonicMicroseconds(); }

}  // namespace

bool CNetDeviceMan::StartHealing() {
    m_stopWait.CreateWaitEvent();
    m_hReConnect = PUB_CreateThread(ReConnectThread, this, &m_bReConnecting);
    m_checkConnectThread = PUB_CreateThread(CheckConnectThread, this, &m_checkConnect);
    m_hSubscrib = PUB_CreateThread(SubscribThread, this, &m_bSubscribing);
    return m_hReConnect && m_checkConnectThread && m_hSubscrib;
}

/// Ends the three threads. A worker of the reconnect thread that waits for its device is woken.
void CNetDeviceMan::StopHealing() {
    for (bool* pRun : {&m_bReConnecting, &m_checkConnect, &m_bSubscribing}) SetRunFlag(*pRun, false);
    m_stopWait.Close();
    m_crew.Wake();
    m_table.ForEach([&](NET_DEVICE_RES& session) {
        if (session.gate.Reconnecting()) m_table.TellBroken(session);
    });
    InterruptUntilIdle(m_busyHealers);
    PUB_ExitThread(&m_hReConnect, &m_bReConnecting);
    PUB_ExitThread(&m_checkConnectThread, &m_checkConnect);
    PUB_ExitThread(&m_hSubscrib, &m_bSubscribing);
}

/// Waits, or less when the manager stops.
void CNetDeviceMan::Pause(const bool& bRun, tuint32 milliseconds) {
    m_stopWait.WaitForCond(milliseconds, [&] { return !RunFlagSet(bRun); });
}

/// Ends the requests that these threads wait for, also new ones, until the threads are through.
void CNetDeviceMan::InterruptUntilIdle(const std::atomic<int>& busyThreads) {
    while (busyThreads > 0) {
        InterruptRequests();
        PUB_Sleep(INTERRUPT_ROUND);
    }
}

void CNetDeviceMan::InterruptRequests() {
    m_table.ForEach([](NET_DEVICE_RES& session) { session.pNetDevice->InterruptWait(); });
}

void* CNetDeviceMan::CheckConnectThread(void* pParam) {
    auto& man = *static_cast<CNetDeviceMan*>(pParam);
    const BUSY busy(man.m_busyHealers);
    while (RunFlagSet(man.m_checkConnect)) {
        try {
            man.CheckConnectProc();
        } catch (const std::bad_alloc&) {  // the next walk does it
        }
        man.Pause(man.m_checkConnect, CHECK_CONNECT_INTERVAL);
    }
    return nullptr;
}

/// Tells each new break once. The callback runs with the session pinned and no lock held, so it may call anything.
void CNetDeviceMan::CheckConnectProc() {
    for (const Session& session : m_table.Snapshot()) {
        if (!RunFlagSet(m_checkConnect)) return;
        const bool bNew = session->wCanReconnect && session->bAnnounced && !session->bBreakTold &&
                          session->pNetDevice->GetDeviceStatus() == NET_DEVICE_STATUS_DISCONNECT;
        if (!bNew || !m_table.IsListed(session)) continue;
        YLOG(YLOG_WARN, "user %d, %s: link broken", session->lHandle, session->sDeviceIP);
        if (session->bAutoRegisterMode) {
            // It must call in again by itself.
            m_table.Take(session);
            m_multiNetComm.RemoveComm(session->lHandle);
        }
        TellException(NETWORK_DISCONNECT, session->lHandle);
        session->bBreakTold = true;
    }
}

void CNetDeviceMan::TellException(DWORD type, LONG lHandle) {
    const auto [pfnException, pUser] = m_exceptionCallback.Get();
    if (!pfnException) return;
    const CApplicationCall call;
    pfnException(type, lHandle, 0, pUser);
}

void* CNetDeviceMan::ReConnectThread(void* pParam) {
    auto& man = *static_cast<CNetDeviceMan*>(pParam);
    const BUSY busy(man.m_busyHealers);
    while (RunFlagSet(man.m_bReConnecting)) {
        try {
            man.ReConnectProc();
        } catch (const std::bad_alloc&) {  // the next walk does it
        }
        man.ReConnectPause();
    }
    man.m_crew.JoinAll();
    return nullptr;
}

/// One walk over all sessions. Those whose break was told go to a worker each, and when all are busy the walk waits for
/// one of them, so that each session gets its turn however many devices are silent.
void CNetDeviceMan::ReConnectProc() {
    const auto stopping = [&] { return !RunFlagSet(m_bReConnecting); };
    for (const Session& session : m_table.Snapshot()) {
        while (m_crew.IsFull() && !stopping()) {
            m_crew.Wait(CWaitEvent::WAIT_FOREVER, stopping);
            TellReturns();
        }
        if (stopping() || !m_bEnableReconn) return;
        if (IsDue(*session) && session->gate.BeginReconnect()) StartReconnect(session);
    }
}

/// The pause between two walks, over early when the settings change. Returns are told as they come.
void CNetDeviceMan::ReConnectPause() {
    m_bReconnectSet = false;
    const tint64 interval = std::clamp<tint64>(m_dwReconnInterval, SHORTEST_RECONNECT, LONGEST_RECONNECT);
    const tint64 end = Monotonic() + interval * 1000;
    const auto over = [&] { return !RunFlagSet(m_bReConnecting) || m_bReconnectSet; };
    for (tint64 left = interval; left > 0 && !over(); left = (end - Monotonic() + 999) / 1000) {
        m_crew.Wait(static_cast<tuint32>(left), over);
        TellReturns();
    }
}

bool CNetDeviceMan::IsDue(const NET_DEVICE_RES& session) const {
    return session.wCanReconnect && !session.bAutoRegisterMode && session.bBreakTold && !m_crew.WorksOn(session) &&
           session.pNetDevice->GetDeviceStatus() == NET_DEVICE_STATUS_DISCONNECT;
}

/// The session's gate is taken; the worker gives it back.
void CNetDeviceMan::StartReconnect(const Session& session) {
    if (m_crew.Start({session, SecondsOfRest(*session)})) return;
    if (session->gate.EndReconnect()) EndSession(*session);
}

/// After a wrong password no login is tried for a while: the seconds since, or -1 when one may be.
time_t CNetDeviceMan::SecondsOfRest(const NET_DEVICE_RES& session) {
    const auto wrongTime = static_cast<time_t>(session.pNetDevice->GetLastWrongPswTime());
    const time_t passed = GetWallSeconds() - wrongTime;
    return wrongTime != 0 && passed >= 0 && passed < WRONG_PASSWORD_PAUSE ? passed : -1;
}

/// On a worker. A removal meanwhile interrupts the waits and leaves the end of the session to this thread.
void CNetDeviceMan::TryReconnect(RECONNECT_TRY& attempt) {
    NET_DEVICE_RES& session = *attempt.session;
    const CThreadState::OwnNumber ownNumber;
    try {
        attempt.bBack = OpenAgain(session) && LoginAgain(session, attempt);
    } catch (const std::bad_alloc&) {  // the next walk tries again
    }
    if (session.gate.EndReconnect()) EndSession(session);
}

/// On the reconnect thread with no lock held: takes the results of its workers and tells which sessions are back.
void CNetDeviceMan::TellReturns() {
    for (RECONNECT_TRY attempt; m_crew.TakeDone(attempt);) {
        NET_DEVICE_RES& session = *attempt.session;
        if (attempt.bBack) session.pNetDevice->SetLastWrongPswTime(0);
        if (attempt.error == HLX_PASSWORD_ERROR)
            session.pNetDevice->SetLastWrongPswTime(static_cast<ULONGLONG>(GetWallSeconds()));
        if (attempt.bBack && !session.gate.Gone()) TellReturn(session, attempt.info.videoInputNum);
    }
}

void CNetDeviceMan::TellReturn(NET_DEVICE_RES& session, WORD videoInputNum) {
    YLOG(YLOG_INFO, "user %d, %s: back, %d channels", session.lHandle, session.sDeviceIP, int{videoInputNum});
    const auto [pfnReconnect, pUser] = m_reconnectCallback.Get();
    if (pfnReconnect) pfnReconnect(session.lHandle, pUser, session.eDVRVer == NVR_VER_K7700, -1, videoInputNum);
    TellException(NETWORK_RECONNECT, session.lHandle);
    session.bBreakTold = false;  // behind the callback, so that the next break is told after this return
}

bool CNetDeviceMan::OpenAgain(NET_DEVICE_RES& session) {
    m_multiNetComm.RemoveComm(session.lHandle);
    LINK link;
    if (!ConnectDevice(session.sDeviceIP, session.wDevicePort, session.lConnectType, link, &session.gate.Gone())) {
        YLOG(YLOG_WARN, "user %d, %s: still no connection", session.lHandle, session.sDeviceIP);
        return false;
    }
    session.pNetDevice->SetEncryptInfo(link.pre);
    session.pNetDevice->SetNetHandle(link.pEngine);
    return HandLinkToEngine(session, link);
}

/// While logins rest the link stays until the next walk.
bool CNetDeviceMan::LoginAgain(NET_DEVICE_RES& session, RECONNECT_TRY& attempt) {
    if (attempt.resting >= 0) {
        PrintConsoleF("%lld\n", static_cast<long long>(attempt.resting));
        return false;
    }
    const bool bStopping = session.gate.Gone() || !RunFlagSet(m_bReConnecting);
    CThreadState::Instance()->SetLastError(HLX_SUCCESS);
    if (!bStopping && session.pNetDevice->Login(session.sUserName, session.sPassword, &attempt.info)) return true;
    attempt.error = CThreadState::Instance()->GetLastError();
    YLOG(YLOG_WARN, "user %d, %s: not back, number %d", session.lHandle, session.sDeviceIP,
         static_cast<int>(attempt.error));
    m_multiNetComm.RemoveComm(session.lHandle);
    return false;
}

void* CNetDeviceMan::SubscribThread(void* pParam) {
    auto& man = *static_cast<CNetDeviceMan*>(pParam);
    const BUSY busy(man.m_busyHealers);
    // Costs nothing until something is written to it.
    const std::unique_ptr<char[]> buffer(new (std::nothrow) char[SUBSCRIB_BUFFER]);
    while (buffer && RunFlagSet(man.m_bSubscribing)) {
        try {
            man.SubscribProc(buffer.get());
        } catch (const std::bad_alloc&) {  // the next walk does it
        }
        man.Pause(man.m_bSubscribing, SUBSCRIB_INTERVAL);
    }
    return nullptr;
}

/// Takes the messages that devices hold for a subscription, whether somebody receives them or not.
void CNetDeviceMan::SubscribProc(char* pBuffer) {
    for (const Session& session : m_table.Snapshot()) {
        DWORD dwCommand = 0;
        LONG lChannel = 0;
        int length = 0;
        while (RunFlagSet(m_bSubscribing) && NextSubscribMsg(session, dwCommand, lChannel, pBuffer, length))
            TellSubscribMsg(session->lHandle, dwCommand, pBuffer, length);
    }
}

/// With no lock held.
void CNetDeviceMan::TellSubscribMsg(LONG lHandle, DWORD dwCommand, char* pBuffer, int length) {
    const auto [fSubscrib, pUser] = m_subscribCallback.Get();
    if (!fSubscrib) return;
    const CApplicationCall call;
    fSubscrib(lHandle, dwCommand, pBuffer, static_cast<DWORD>(length), pUser);
}

bool CNetDeviceMan::NextSubscribMsg(const Session& session, DWORD& dwCommand, LONG& lChannel, char* pBuffer,
                                    int& length) {
    std::lock_guard guard(m_table.m_deviceCommLock);
    if (!m_table.IsListed(session)) return false;
    const CThreadState::OwnNumber ownNumber;
    length = SUBSCRIB_BUFFER;
    return session->pNetDevice->GetSmartSubscribMsg(&dwCommand, &lChannel, pBuffer, &length) && length >= 0 &&
           length <= SUBSCRIB_BUFFER;
}
