// Devices that call in by themselves.
#include <arpa/inet.h>

#include <utility>

#include "main_utility/device/NetDeviceMan.h"
#include "sdk_common/PubTime.h"
#include "sdk_common/WireReader.h"
#include "sdk_common/YLog4C.h"

namespace {

constexpr DWORD MAX_KEPT_PORT = 65535;  // a kept register port at or above is not listened on

std::string CallerText(const CLIENT_SOCK_INFO& info) {
    in_addr address{};
    address.s_addr = info.dwIP;
    char text[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, &address, text, sizeof(text));
    return text;
}

}  // namespace

/// A caller is served once its first block is there, so one that says nothing holds up nobody.
CNetDeviceMan::REGISTER_LISTENER::REGISTER_LISTENER(CNetDeviceMan& owner, WORD wPort)
    : man(owner),
      port(wPort),
      proc(AcceptLinkCallback, this, {sizeof(PRE_SEND_DATA), [&owner] { return owner.m_connector.WaitTime(); }}) {}

/// Of two changes at once the one that comes second under the lock stands.
BOOL CNetDeviceMan::SetRegisterPort(WORD wRegisterPort, const REG_LOGIN_INFO* pLoginInfo, DWORD deviceNum) {
    KeepLoginInfo(pLoginInfo, deviceNum);
    const Listener fresh = wRegisterPort ? std::make_shared<REGISTER_LISTENER>(*this, wRegisterPort) : nullptr;
    Listener old;
    {
        std::lock_guard guard(m_listenerLock);
        if (t_pServing) m_retiredListeners.reserve(m_retiredListeners.size() + 1);  // nothing below may fail
        const bool bSame = std::exchange(m_listenPort, wRegisterPort) == wRegisterPort;
        if (bSame || !m_bMayListen) return 1;
        old = SwapListener(fresh);
    }
    EndListener(old);
    OpenListener(fresh);
    return 1;
}

BOOL CNetDeviceMan::AddRegisterDeviceInfo(const REG_LOGIN_INFO* pLoginInfo, DWORD deviceNum) {
    if (!pLoginInfo || deviceNum == 0) return Failure(HLX_PARAMETER_ERROR);
    KeepLoginInfo(pLoginInfo, deviceNum);
    return 1;
}

BOOL CNetDeviceMan::SetRegisterCallback(ACCEPT_REGISTER_CALLBACK fRegisterCBFun, void* pUser) {
    m_registerCallback.Set(fRegisterCBFun, pUser);
    return 1;
}

BOOL CNetDeviceMan::SetUnRegisterCallback(ACCEPT_UNREGISTER_CALLBACK fUnRegisterCBFun, void* pUser) {
    m_unRegisterCallback.Set(fUnRegisterCBFun, pUser);
    return 1;
}

void CNetDeviceMan::KeepLoginInfo(const REG_LOGIN_INFO* pLoginInfo, DWORD deviceNum) {
    std::lock_guard guard(m_LoginInfoLock);
    for (DWORD index = 0; pLoginInfo && index < deviceNum; ++index)
        m_pRegLoginInfo[pLoginInfo[index].deviceId] = pLoginInfo[index];
}

/// Opens the port that was kept.
void CNetDeviceMan::StartListener() {
    Listener listener;
    {
        std::lock_guard guard(m_listenerLock);
        m_bMayListen = true;
        if (m_listenPort == 0 || m_listenPort >= MAX_KEPT_PORT) return;
        listener = std::make_shared<REGISTER_LISTENER>(*this, static_cast<WORD>(m_listenPort));
        m_pListenProc = listener;
    }
    OpenListener(listener);
}

/// The port is kept. From here on no port is opened.
void CNetDeviceMan::StopListener() {
    Listener listener;
    {
        std::lock_guard guard(m_listenerLock);
        m_bMayListen = false;
        listener = SwapListener(nullptr);
    }
    EndListener(listener);
}

/// A listener is never let go on its own thread, which still needs it.
CNetDeviceMan::Listener CNetDeviceMan::SwapListener(const Listener& listener) {
    if (m_pListenProc && m_pListenProc.get() == t_pServing) m_retiredListeners.push_back(m_pListenProc);
    return std::exchange(m_pListenProc, listener);
}

/// May wait for a port in use; no lock is held then, so that another thread can end it. A port that cannot be had is
/// forgotten, so that it can be asked for again.
void CNetDeviceMan::OpenListener(const Listener& listener) {
    if (!listener) return;
    {
        std::lock_guard guard(m_listenerLock);
        if (listener->bStopping) return;  // replaced meanwhile
        listener->bStarting = true;
    }
    const int result = listener->proc.StartListen(listener->port);
    listener->bStarting = false;
    if (result == CSWL_ListenProcEx::LISTEN_OK) {
        YLOG(YLOG_INFO, "port %u: open for devices that call in", unsigned{listener->port});
        return;
    }
    YLOG(YLOG_ERROR, "port %u: not open for devices that call in, result %d", unsigned{listener->port}, result);
    std::lock_guard guard(m_listenerLock);
    if (m_pListenProc != listener) return;
    m_pListenProc.reset();
    m_listenPort = 0;
}

/// Ends a listener that was swapped out, with the start and the caller's login that it is in. Joins its thread, and
/// those of retired listeners, but never the latter from inside a register callback: two of them would wait for each
/// other.
void CNetDeviceMan::EndListener(const Listener& listener) {
    std::vector<Listener> retired;
    Session caller;
    bool bForGood = false;
    {
        std::lock_guard guard(m_listenerLock);
        bForGood = !m_bMayListen;
        if (!t_pServing) retired.swap(m_retiredListeners);
        if (listener) {
            listener->bStopping = true;
            caller = listener->caller;
        }
    }
    if (caller) m_table.TellBroken(*caller);
    for (; listener && listener->bStarting; PUB_Sleep(1)) listener->proc.StopListen();
    if (bForGood) InterruptUntilIdle(m_busyCallers);
    if (listener) listener->proc.StopListen();
    for (const Listener& stopped : retired) stopped->proc.StopListen();
}

bool CNetDeviceMan::InRegisterCallback() { return t_pServing != nullptr; }

int CNetDeviceMan::AcceptLinkCallback(CLIENT_SOCK_INFO* pInfo, void* pParam, void*) {
    auto& listener = *static_cast<REGISTER_LISTENER*>(pParam);
    const BUSY busy(listener.man.m_busyCallers);
    t_pServing = &listener;
    int result = 0;
    try {
        result = listener.man.OnGetAcceptLink(*pInfo, listener);
    } catch (const std::bad_alloc&) {  // the caller may try again
        listener.man.SetCaller(listener, nullptr);
    }
    t_pServing = nullptr;
    return result;
}

/// On the listener's thread: the next caller waits until this one is through.
int CNetDeviceMan::OnGetAcceptLink(const CLIENT_SOCK_INFO& info, REGISTER_LISTENER& listener) {
    LINK link;
    link.sock = info.pTcpSock;
    link.pEngine = &m_multiNetComm;
    if (m_connector.ReadPreSendData(link.sock, link.pre, &listener.bStopping)) return ServeCaller(link, info, listener);
    YLOG(YLOG_WARN, "%s: called, but sent no valid first block", CallerText(info).c_str());
    return 0;
}

int CNetDeviceMan::ServeCaller(LINK& link, const CLIENT_SOCK_INFO& info, REGISTER_LISTENER& listener) {
    const auto session = std::make_shared<NET_DEVICE_RES>();
    CopyText(session->sDeviceIP, CallerText(info).c_str());
    session->wDevicePort = info.nPort;  // as accepted, in network order
    session->lRegisterID = static_cast<int>(link.pre.dwID);
    session->bAutoRegisterMode = 1;
    session->bAnnounced = false;
    const bool bKnown = FindLoginInfo(link.pre.dwID, *session);
    {
        const CThreadState::OwnNumber ownNumber;
        if (!EnterSession(link, session, 0)) {
            YLOG(YLOG_WARN, "%s: called, no session for family %u, protocol %u, number %d", session->sDeviceIP,
                 link.pre.dwDevType, link.pre.dwProtocolVer,
                 static_cast<int>(CThreadState::Instance()->GetLastError()));
            return 0;
        }
    }
    YLOG(YLOG_INFO, "user %d, %s: called, register id %d, %s", session->lHandle, session->sDeviceIP,
         session->lRegisterID, bKnown ? "known" : "unknown");
    return bKnown ? LoginCaller(session, listener) : RefuseCaller(session);
}

bool CNetDeviceMan::FindLoginInfo(DWORD deviceId, NET_DEVICE_RES& session) {
    std::lock_guard guard(m_LoginInfoLock);
    const auto found = m_pRegLoginInfo.find(deviceId);
    if (found == m_pRegLoginInfo.end()) return false;
    CWireReader reader(&found->second, sizeof(REG_LOGIN_INFO));
    reader.Skip(offsetof(REG_LOGIN_INFO, m_szUserName));
    CopyText(session.sUserName, reader.Text(sizeof(REG_LOGIN_INFO::m_szUserName)).c_str());
    CopyText(session.sPassword, reader.Text(sizeof(REG_LOGIN_INFO::m_szPasswd)).c_str());
    return true;
}

int CNetDeviceMan::LoginCaller(const Session& session, REGISTER_LISTENER& listener) {
    HLX_DEVICEINFO deviceInfo{};
    {
        ENTERED_SESSION entered(*this, session);
        entered.bLoggedIn = LoginAsCaller(session, deviceInfo, listener);
        if (!entered.bLoggedIn) return 0;
    }
    const auto [fRegister, pUser] = m_registerCallback.Get();
    const CApplicationCall call;
    if (fRegister) fRegister(session->lHandle, session->lRegisterID, &deviceInfo, pUser);
    session->bAnnounced = true;
    return 1;
}

/// The login of a device that called in; a listener that is being stopped ends it.
bool CNetDeviceMan::LoginAsCaller(const Session& session, HLX_DEVICEINFO& deviceInfo, REGISTER_LISTENER& listener) {
    const CThreadState::OwnNumber ownNumber;
    SetCaller(listener, session);
    const bool bDone = !listener.bStopping && LoginSession(session, &deviceInfo, 0);
    SetCaller(listener, nullptr);
    return bDone;
}

void CNetDeviceMan::SetCaller(REGISTER_LISTENER& listener, const Session& session) {
    std::lock_guard guard(m_listenerLock);
    listener.caller = session;
}

/// Tells that an unknown device called in, then lets it go; its user id is used again.
int CNetDeviceMan::RefuseCaller(const Session& session) {
    const ENTERED_SESSION entered(*this, session);
    HLX_DEVICEINFO empty{};
    const auto [fUnRegister, pUser] = m_unRegisterCallback.Get();
    if (fUnRegister) {
        const CApplicationCall call;
        fUnRegister(session->lHandle, session->lRegisterID, &empty, pUser);
    }
    return 0;
}
