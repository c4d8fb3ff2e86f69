// Devices that call in by themselves.
#include <arpa/inet.h>

#include "main_utility/device/NetDeviceMan.h"
#include "sdk_common/WireReader.h"
#include "sdk_common/YLog4C.h"

namespace {

thread_local bool t_bAccepting = false;  // on the listener's thread, inside its callback

std::string CallerText(const CLIENT_SOCK_INFO& info) {
    in_addr address{};
    address.s_addr = info.dwIP;
    char text[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, &address, text, sizeof(text));
    return text;
}

}  // namespace

BOOL CNetDeviceMan::SetRegisterPort(WORD wRegisterPort, const REG_LOGIN_INFO* pLoginInfo, DWORD deviceNum) {
    KeepLoginInfo(pLoginInfo, deviceNum);
    if (m_listenPort.exchange(wRegisterPort) == wRegisterPort) return 1;
    StopListener();
    StartListener();
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

/// Starting may wait for a port in use; the pointer's lock is not held then, so that another thread can stop it. A port that cannot
/// be had is forgotten, so that it can be asked for again.
void CNetDeviceMan::StartListener() {
    DWORD port = m_listenPort;
    if (port == 0) return;
    m_bListenerStopping = false;
    const auto listener = std::make_shared<CSWL_ListenProcEx>(AcceptLinkCallback, this);
    {
        std::lock_guard guard(m_listenerLock);
        m_pListenProc = listener;
    }
    const int result = listener->StartListen(static_cast<unsigned short>(port));
    if (result == CSWL_ListenProcEx::LISTEN_OK) {
        YLOG(YLOG_INFO, "port %u: open for devices that call in", port);
        return;
    }
    YLOG(YLOG_ERROR, "port %u: not open for devices that call in, result %d", port, result);
    m_listenPort.compare_exchange_strong(port, 0);
}

/// Wakes a caller's login that is under way. From inside a register callback the listener is only retired, since it runs that callback.
void CNetDeviceMan::StopListener() {
    std::shared_ptr<CSWL_ListenProcEx> listener;
    std::vector<std::shared_ptr<CSWL_ListenProcEx>> retired;
    Session caller;
    m_bListenerStopping = true;
    {
        std::lock_guard guard(m_listenerLock);
        listener.swap(m_pListenProc);
        caller = m_caller;
        if (t_bAccepting && listener) m_retiredListeners.push_back(listener);
        if (!t_bAccepting) retired.swap(m_retiredListeners);
    }
    if (caller && !t_bAccepting) m_table.TellBroken(*caller);
    if (listener) listener->StopListen();
}

bool CNetDeviceMan::InRegisterCallback() { return t_bAccepting; }

int CNetDeviceMan::AcceptLinkCallback(CLIENT_SOCK_INFO* pInfo, void* pParam, void*) {
    t_bAccepting = true;
    int result = 0;
    try {
        result = static_cast<CNetDeviceMan*>(pParam)->OnGetAcceptLink(*pInfo);
    } catch (const std::bad_alloc&) {  // the caller may try again
    }
    t_bAccepting = false;
    return result;
}

/// On the listener's thread: the next caller waits until this one is through.
int CNetDeviceMan::OnGetAcceptLink(const CLIENT_SOCK_INFO& info) {
    LINK link;
    link.sock = info.pTcpSock;
    link.pEngine = &m_multiNetComm;
    if (m_connector.ReadPreSendData(link.sock, link.pre, &m_bListenerStopping)) return ServeCaller(link, info);
    YLOG(YLOG_WARN, "%s: called, but sent no valid first block", CallerText(info).c_str());
    return 0;
}

int CNetDeviceMan::ServeCaller(LINK& link, const CLIENT_SOCK_INFO& info) {
    const auto session = std::make_shared<NET_DEVICE_RES>();
    CopyText(session->sDeviceIP, CallerText(info).c_str());
    session->wDevicePort = info.nPort;  // as accepted, in network order
    session->lRegisterID = static_cast<int>(link.pre.dwID);
    session->bAutoRegisterMode = 1;
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
    session->pNetDevice->SetAutoRegisterMode(1);
    return bKnown ? LoginCaller(session) : RefuseCaller(session);
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

int CNetDeviceMan::LoginCaller(const Session& session) {
    HLX_DEVICEINFO deviceInfo{};
    if (!LoginAsCaller(session, deviceInfo)) {
        DropSession(session);
        GiveBackDeviceID(session->lHandle);
        return 0;
    }
    const auto [fRegister, pUser] = m_registerCallback.Get();
    const CApplicationCall call;
    if (fRegister) fRegister(session->lHandle, session->lRegisterID, &deviceInfo, pUser);
    return 1;
}

/// The login of a device that called in; a listener that is being stopped ends it.
bool CNetDeviceMan::LoginAsCaller(const Session& session, HLX_DEVICEINFO& deviceInfo) {
    const CThreadState::OwnNumber ownNumber;
    SetCaller(session);
    const bool bDone = !m_bListenerStopping && LoginSession(session, &deviceInfo, 0);
    SetCaller(nullptr);
    return bDone;
}

void CNetDeviceMan::SetCaller(const Session& session) {
    std::lock_guard guard(m_listenerLock);
    m_caller = session;
}

/// Tells that an unknown device called in, then lets it go; its user id is used again.
int CNetDeviceMan::RefuseCaller(const Session& session) {
    HLX_DEVICEINFO empty{};
    const auto [fUnRegister, pUser] = m_unRegisterCallback.Get();
    if (fUnRegister) {
        const CApplicationCall call;
        fUnRegister(session->lHandle, session->lRegisterID, &empty, pUser);
    }
    DropSession(session);
    GiveBackDeviceID(session->lHandle);
    return 0;
}
