#include "main_utility/device/NetDeviceMan.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

#include "sdk_common/WireReader.h"
#include "sdk_common/YLog4C.h"

namespace {

constexpr int LINK_SEND_BUFFER = 262144;  // bytes
constexpr int MAX_DEVICE_ID = 2097144;    // the id behind it is 1 again
constexpr int RTSP_URL_SIZE = 256;        // bytes that GetRtspUrl may write

int LastError() { return static_cast<int>(CThreadState::Instance()->GetLastError()); }

/// A text that the session keeps for a reconnect must fit whole.
bool FitsSession(const char* pText) { return pText && std::strlen(pText) < sizeof(NET_DEVICE_RES::sUserName); }

}  // namespace

int CNetDeviceMan::s_deviceID = 1;

CNetDeviceMan* CNetDeviceMan::Instance() {
    static CNetDeviceMan instance;
    return &instance;
}

bool CNetDeviceMan::Initial() {
    m_connector.Interrupt(false);
    if (m_multiNetComm.Init(LINK_SEND_BUFFER)) return true;
    return Failure(errno == ENOMEM ? HLX_ALLOC_RESOURCE_ERROR : HLX_PROGRAM_EXCEPTION);
}

bool CNetDeviceMan::Start() {
    m_connector.Interrupt(false);
    if (!StartHealing()) return Failure(HLX_PROGRAM_EXCEPTION);
    StartListener();
    return true;
}

void CNetDeviceMan::Stop() {
    m_connector.Interrupt(true);
    StopListener();
    StopHealing();
    {
        std::lock_guard guard(m_LoginInfoLock);
        m_pRegLoginInfo.clear();
    }
    SetReconnectCallback(nullptr, nullptr);  // these lead to the session root, which may go now
    SetRegisterCallback(nullptr, nullptr);
    SetUnRegisterCallback(nullptr, nullptr);
    SetExceptionCallback(0, nullptr, nullptr, nullptr);  // and the application may go with it
    SetSubscribCallBack(nullptr, nullptr);
}

/// Sessions whose link stands are logged out; the engine writes that as it closes their links.
void CNetDeviceMan::Quit() {
    for (const Session& session : m_table.Snapshot()) {
        if (session->pNetDevice->GetDeviceStatus() != NET_DEVICE_STATUS_DISCONNECT) session->pNetDevice->Logout();
    }
    m_multiNetComm.Destroy();
    m_table.TakeAll();
}

BOOL CNetDeviceMan::SetConnectTime(DWORD dwWaitTime, DWORD dwTryTimes) {
    if (dwWaitTime == 0 || dwTryTimes == 0) return Failure(HLX_PARAMETER_ERROR);
    m_connector.SetConnectTime(dwWaitTime, dwTryTimes);
    return 1;
}

BOOL CNetDeviceMan::SetReconnect(DWORD dwInterval, BOOL bEnableRecon) {
    m_dwReconnInterval = dwInterval;
    m_bEnableReconn = bEnableRecon;
    m_bReconnectSet = true;  // the pause under way is the old one
    m_crew.Wake();
    return 1;
}

void CNetDeviceMan::SetReconnectCallback(RECONNECT_CALLBACK pfnReconnCBFun, void* pUser) {
    m_reconnectCallback.Set(pfnReconnCBFun, pUser);
}

BOOL CNetDeviceMan::SetExceptionCallback(UINT nMessage, HWND hWnd, EXCEPTION_CALLBACK pfnExceptionCBFun, void* pUser) {
    m_exceptionMsg = nMessage;
    m_exceptionHwnd = hWnd;
    m_exceptionCallback.Set(pfnExceptionCBFun, pUser);
    return 1;
}

BOOL CNetDeviceMan::SetSubscribCallBack(SUBSCRIBE_CALLBACK fSubscribCallBack, void* pUser) {
    m_subscribCallback.Set(fSubscribCallBack, pUser);
    return 1;
}

BOOL CNetDeviceMan::SetNat2Addr(const char*, WORD) { return Failure(HLX_NOSUPPORT); }

LONG CNetDeviceMan::AddDevice(const char* sDVRIP, WORD wDVRPort, const char* sUserName, const char* sPassWord,
                              LPHLX_DEVICEINFO lpDeviceInfo, LONG lConnectType, const char* sDevSN, LONG luserId) {
    const char* pSerial = sDevSN ? sDevSN : "";
    if (!FitsSession(sDVRIP) || !FitsSession(sUserName) || !FitsSession(sPassWord) || !FitsSession(pSerial))
        return Failure(HLX_PARAMETER_ERROR, LONG{-1});
    LINK link;
    if (!ConnectDevice(sDVRIP, wDVRPort, lConnectType, link)) {
        YLOG(YLOG_ERROR, "%s port %d: no connection, number %d", sDVRIP, int{wDVRPort}, LastError());
        return -1;
    }
    YLOG(YLOG_INFO, "%s port %d: connected, family %u, protocol %u", sDVRIP, int{wDVRPort}, link.pre.dwDevType,
         link.pre.dwProtocolVer);
    return LoginOverLink(link, MakeSession(sDVRIP, wDVRPort, sUserName, sPassWord, pSerial), lpDeviceInfo, luserId);
}

CNetDeviceMan::Session CNetDeviceMan::MakeSession(const char* sDVRIP, WORD wDVRPort, const char* sUserName,
                                                  const char* sPassWord, const char* sDevSN) {
    auto session = std::make_shared<NET_DEVICE_RES>();
    session->wDevicePort = wDVRPort;
    CopyText(session->sDeviceIP, sDVRIP);
    CopyText(session->sUserName, sUserName);
    CopyText(session->sPassword, sPassWord);
    CopyText(session->sDevSN, sDevSN);
    return session;
}

LONG CNetDeviceMan::LoginOverLink(LINK& link, const Session& session, LPHLX_DEVICEINFO lpDeviceInfo, LONG luserId) {
    if (!EnterSession(link, session, luserId)) {
        YLOG(YLOG_ERROR, "%s: no session, number %d", session->sDeviceIP, LastError());
        return -1;
    }
    ENTERED_SESSION entered(*this, session);
    HLX_DEVICEINFO deviceInfo{};
    entered.bLoggedIn = LoginSession(session, &deviceInfo, luserId);
    if (!entered.bLoggedIn) return -1;
    if (lpDeviceInfo) *lpDeviceInfo = deviceInfo;
    return session->lHandle;
}

/// NAT connects and their engines come with their own part of the library; until then such a device cannot be reached.
bool CNetDeviceMan::ConnectDevice(const char* sDVRIP, WORD wDVRPort, LONG lConnectType, LINK& link,
                                  const std::atomic<bool>* pbGone) {
    if (lConnectType < HLX_CONNECT_TCP || lConnectType >= HLX_CONNECT_END) return Failure(HLX_PARAMETER_ERROR);
    if (lConnectType != HLX_CONNECT_TCP) return Failure(HLX_NETWORK_FAIL_CONNECT);
    link.pEngine = &m_multiNetComm;
    if (m_connector.ConnectServerUseTCP(sDVRIP, wDVRPort, link.sock, link.pre, pbGone)) return true;
    return Failure(HLX_NETWORK_FAIL_CONNECT);
}

/// Makes the device behind a link and enters it in the table; the engine then owns the socket.
bool CNetDeviceMan::EnterSession(LINK& link, const Session& session, LONG luserId) {
    std::lock_guard loginGuard(m_LoignFunLock);
    if (!m_fMakeDevice(link.pre, *session)) return Failure(HLX_VERSION_NOMATCH);
    while (m_table.Pin(s_deviceID)) AdvanceDeviceID();  // behind the wrap an old session may still have it
    session->lHandle = s_deviceID;
    session->lConnectType = link.resultType;
    session->lProtocolVer = static_cast<int>(link.pre.dwProtocolVer);
    CNetDevice& device = *session->pNetDevice;
    device.SetEncryptInfo(link.pre);
    if (session->pConfigParser) session->pConfigParser->SetEncryptInfo(link.pre);
    device.SetNetHandle(link.pEngine);
    device.SetDeviceID(session->lHandle);
    device.SetDeviceIp(session->sDeviceIP);
    if (session->bAutoRegisterMode) device.SetAutoRegisterMode(1);
    if (!m_table.Append(session, luserId)) return Failure(HLX_PARAMETER_ERROR);
    AdvanceDeviceID();
    if (HandLinkToEngine(*session, link)) return true;
    m_table.Take(session);  // a link that the id may have is not this session's
    m_table.ForgetExtra(session->lHandle);
    return Failure(HLX_ALLOC_RESOURCE_ERROR);
}

/// The link's serial travels as the callback's parameter, so that what an older link of the session still says, or one
/// of an id that was given back, reaches nobody.
bool CNetDeviceMan::HandLinkToEngine(NET_DEVICE_RES& session, LINK& link) {
    if (link.pEngine->AddNewComm(session.lHandle, link.sock) != 0) return false;
    link.sock = -1;
    session.linkSerial = ++m_lastLinkSerial;
    void* pSerial = reinterpret_cast<void*>(session.linkSerial.load());
    link.pEngine->SetAutoRecvCallback(session.lHandle, MultiNetCommCallback, pSerial);
    link.pEngine->SetRecvMode(session.lHandle, true);
    return true;
}

void CNetDeviceMan::AdvanceDeviceID() {
    if (++s_deviceID > MAX_DEVICE_ID) s_deviceID = 1;
}

/// An id that came to nothing is used again, unless another was taken behind it.
void CNetDeviceMan::GiveBackDeviceID(int lHandle) {
    std::lock_guard loginGuard(m_LoignFunLock);
    const int next = lHandle == MAX_DEVICE_ID ? 1 : lHandle + 1;
    if (s_deviceID == next) s_deviceID = lHandle;
}

/// The login itself and what keeps its facts. Without memory it fails like another.
bool CNetDeviceMan::LoginDevice(NET_DEVICE_RES& session, LPHLX_DEVICEINFO lpDeviceInfo) try {
    if (!session.pNetDevice->Login(session.sUserName, session.sPassword, lpDeviceInfo)) return false;
    lpDeviceInfo->devicePort = session.wDevicePort;
    if (session.pConfigParser) session.pConfigParser->SetDeivceInfo(lpDeviceInfo);
    return true;
} catch (const std::bad_alloc&) {
    return Failure(HLX_ALLOC_RESOURCE_ERROR);
}

/// Logs in with no lock held, so that logins to different devices overlap.
bool CNetDeviceMan::LoginSession(const Session& session, LPHLX_DEVICEINFO lpDeviceInfo, LONG luserId) {
    if (!LoginDevice(*session, lpDeviceInfo)) {
        YLOG(YLOG_ERROR, "user %d, %s: login refused, number %d", session->lHandle, session->sDeviceIP, LastError());
        return false;
    }
    std::lock_guard loginGuard(m_LoignFunLock);
    if (m_table.Confirm(session, luserId)) {
        YLOG(YLOG_INFO, "user %d, %s: logged in, %d channels", session->lHandle, session->sDeviceIP,
             int{lpDeviceInfo->videoInputNum});
        return true;
    }
    YLOG(YLOG_WARN, "user %d: gone before its login was through", session->lHandle);
    session->pNetDevice->Logout();
    return Failure(HLX_NETWORK_NOT_CONNECT);
}

/// Takes back a session whose login failed. The last error stays as the login left it. A caller's id is used again.
void CNetDeviceMan::DropSession(const Session& session) {
    m_table.Take(session);
    m_table.ForgetExtra(session->lHandle);
    m_multiNetComm.RemoveComm(session->lHandle);
    if (session->bAutoRegisterMode) GiveBackDeviceID(session->lHandle);
}

BOOL CNetDeviceMan::RemoveDevice(LONG lHandle) {
    bool bRemoved = RemoveDevice_Ex(lHandle);
    while (const LONG extra = m_table.TakeExtra(lHandle)) bRemoved = RemoveDevice_Ex(extra) || bRemoved;
    return bRemoved || Failure(HLX_PARAMETER_ERROR);
}

bool CNetDeviceMan::RemoveDevice_Ex(LONG lHandle) {
    const Session session = m_table.TakeLoggedIn(lHandle);
    if (!session) return false;
    YLOG(YLOG_INFO, "user %d, %s: logged out", session->lHandle, session->sDeviceIP);
    m_table.ForgetExtra(lHandle);
    if (session->gate.BeginRemoval())
        EndSession(*session);
    else
        m_table.TellBroken(*session);  // wakes the reconnect, which then ends the session
    return true;
}

void CNetDeviceMan::EndSession(NET_DEVICE_RES& session) {
    if (session.pNetDevice->GetDeviceStatus() != NET_DEVICE_STATUS_DISCONNECT) session.pNetDevice->Logout();
    m_multiNetComm.RemoveComm(session.lHandle);
}

int CNetDeviceMan::MultiNetCommCallback(int deviceID, void* pParam, const char* pBuf, int iLen) {
    return Instance()->OnLinkData(deviceID, reinterpret_cast<tuint64>(pParam), pBuf, iLen) ? 0 : -1;
}

/// All messages of all links, on the engine's thread.
bool CNetDeviceMan::OnLinkData(int deviceID, tuint64 linkSerial, const char* pBuf, int iLen) {
    CDeviceTable::CallbackGuard guard(m_table);
    NET_DEVICE_RES* pRes = m_table.Find(deviceID);
    return pRes && pRes->linkSerial == linkSerial && pRes->pNetDevice->OnReceiveData(pBuf, iLen);
}

int CNetDeviceMan::GetCustomID(const char* sDVRIP, WORD wDVRPort) try {
    if (!FitsSession(sDVRIP)) return Failure(HLX_PARAMETER_ERROR, -1);
    LINK link;
    if (m_connector.ConnectServerUseTCP(sDVRIP, wDVRPort, link.sock, link.pre)) return link.pre.wProductSubID;
    YLOG(YLOG_ERROR, "%s port %d: no custom id, number %d", sDVRIP, int{wDVRPort}, LastError());
    return -1;
} catch (const std::bad_alloc&) {
    return Failure(HLX_ALLOC_RESOURCE_ERROR, -1);
}

BOOL CNetDeviceMan::GetRtspUrl(LONG lUserID, LONG lChannel, LONG lStreamType, char* sRtspUrl) {
    if (!sRtspUrl) return Failure(HLX_PARAMETER_ERROR);
    const auto session = GetDeviceResByUserID(lUserID);
    std::snprintf(sRtspUrl, RTSP_URL_SIZE, "rtsp://%s:554/chID=%d&streamType=%s", session ? session->sDeviceIP : "",
                  static_cast<int>(lChannel), lStreamType ? "sub" : "main");
    return 1;
}

BOOL CNetDeviceMan::GetDeviceInfo(LONG lUserID, LPHLX_DEVICEINFO lpDeviceInfo) {
    const Session session = m_table.Pin(lUserID);
    if (!session || !lpDeviceInfo) return Failure(HLX_PARAMETER_ERROR);
    if (!session->pNetDevice->GetDeviceInfo(lpDeviceInfo)) return 0;
    lpDeviceInfo->devicePort = session->wDevicePort;
    return 1;
}

unsigned int CNetDeviceMan::SupportStreamNum(LONG lUserID, LONG lChannel) {
    const Session session = m_table.Pin(lUserID);
    return session ? session->pNetDevice->SupportStreamNum(lChannel) : Failure(HLX_PARAMETER_ERROR, 0U);
}

int CNetDeviceMan::GetSha1Encrypt(LONG lUserID, const void* pIn, int iInLen, void* pOut, int iOutLen, int* pReturned) {
    const Session session = m_table.Pin(lUserID);
    if (!session) return Failure(HLX_PARAMETER_ERROR, -1);
    return session->pNetDevice->GetSha1Encrypt(pIn, iInLen, pOut, iOutLen, pReturned);
}

int CNetDeviceMan::GetDeviceFirmwareType(LONG lUserID) {
    const auto session = GetDeviceResByUserID(lUserID);
    if (!session) return Failure(HLX_PARAMETER_ERROR, static_cast<int>(HLX_DEVICE_FIRMWARE_OTHER));
    switch (session->eDVRVer) {
        case DVR_VER_V3:
            return HLX_DEVICE_FIRMWARE_V3;
        case IPC_VER_V3:
            return HLX_DEVICE_FIRMWARE_IPC;
        case NVR_VER_K7700:
            return HLX_DEVICE_FIRMWARE_QOSM_V1;
        default:
            return HLX_DEVICE_FIRMWARE_OTHER;
    }
}
