// Session root: login, device facts, auto-register, reconnect.
#include <cstring>
#include <mutex>

#include "main_utility/api/SDKImpl.h"
#include "main_utility/device/NetDeviceMan.h"

namespace {

constexpr size_t ACCOUNT_TEXT_SIZE = 36;  // of a user name or password on every device, its zero byte included

bool FitsAccount(const char* pText) { return strnlen(pText, ACCOUNT_TEXT_SIZE) < ACCOUNT_TEXT_SIZE; }

}  // namespace

LONG CSDKImpl::Login(const char* sDVRIP, WORD wDVRPort, const char* sUserName, const char* sPassword,
                     LPHLX_DEVICEINFO lpDeviceInfo, LONG lConnectType, const char* sDevSN) {
    if (!Given(sDVRIP, sUserName, sPassword)) return -1;
    if (lConnectType != HLX_CONNECT_TCP && !Given(sDevSN)) return -1;
    if (!FitsAccount(sUserName) || !FitsAccount(sPassword)) return Failure(HLX_PARAMETER_ERROR, LONG{-1});
    const LONG lUserID =
        m_pDeviceMan->AddDevice(sDVRIP, wDVRPort, sUserName, sPassword, lpDeviceInfo, lConnectType, sDevSN, 0);
    if (lUserID < 1 || m_playbackMan.AddDevice(lUserID)) return lUserID;
    m_pDeviceMan->RemoveDevice(lUserID);
    return Failure(HLX_ALLOC_RESOURCE_ERROR, LONG{-1});
}

/// Streams are torn down before the link goes. Those of a device that called in may have outlived its session.
BOOL CSDKImpl::Logout(LONG lUserID) {
    if (lUserID < 1) return 0;
    if (CSDKImpl::InFrameCallback()) return Failure(HLX_OPER_NOPERMIT);
    m_playbackMan.RemoveDevice(lUserID);
    const BOOL bStreams = m_liveMan.RemoveDevice(lUserID);
    m_downloadMan.RemoveDevice(lUserID);
    const BOOL bDone = m_pDeviceMan->RemoveDevice(lUserID) || bStreams;
    m_liveMan.RemoveDevice(lUserID);  // a stream that was opened meanwhile by another thread
    m_downloadMan.RemoveDevice(lUserID);
    m_pThreadState->SetLastError(bDone ? HLX_SUCCESS : HLX_PARAMETER_ERROR);
    return bDone;
}

BOOL CSDKImpl::SetConnectTime(DWORD dwWaitTime, DWORD dwTryTimes) {
    return m_pDeviceMan->SetConnectTime(dwWaitTime, dwTryTimes);
}
BOOL CSDKImpl::SetReconnect(DWORD dwInterval, BOOL bEnableRecon) {
    return m_pDeviceMan->SetReconnect(dwInterval, bEnableRecon);
}
BOOL CSDKImpl::SetSDKMessageCallBack(UINT nMessage, HWND hWnd, EXCEPTION_CALLBACK fExceptionCallBack, void* pUser) {
    return m_pDeviceMan->SetExceptionCallback(nMessage, hWnd, fExceptionCallBack, pUser);
}
BOOL CSDKImpl::SetNat2Addr(const char* sServerAddr, WORD wDVRPort) {
    return Given(sServerAddr) && m_pDeviceMan->SetNat2Addr(sServerAddr, wDVRPort);
}
void CSDKImpl::SetIsWifi(bool bIsWifi) { m_pDeviceMan->SetIsWifi(bIsWifi); }
LONG CSDKImpl::GetProductSubID(const char* sDVRIP, WORD wDVRPort) {
    return Given(sDVRIP) ? m_pDeviceMan->GetCustomID(sDVRIP, wDVRPort) : -1;
}

BOOL CSDKImpl::SetRegisterPort(WORD wRegisterPort, const REG_LOGIN_INFO* pLoginInfo, DWORD deviceNum) {
    return m_pDeviceMan->SetRegisterPort(wRegisterPort, pLoginInfo, pLoginInfo ? deviceNum : 0);
}
BOOL CSDKImpl::AddRegisterDeviceInfo(const REG_LOGIN_INFO* pLoginInfo, DWORD deviceNum) {
    return Given(pLoginInfo) && m_pDeviceMan->AddRegisterDeviceInfo(pLoginInfo, deviceNum);
}

BOOL CSDKImpl::SetRegisterCallback(ACCEPT_REGISTER_CALLBACK fRegisterCallBack, void* pUser) {
    m_acceptRegister.Set(fRegisterCallBack, pUser);
    return m_pDeviceMan->SetRegisterCallback(AcceptRegisterProc, this);
}

BOOL CSDKImpl::SetUnRegisterCallback(ACCEPT_UNREGISTER_CALLBACK fUnRegisterCallBack, void* pUser) {
    m_acceptUnRegister.Set(fUnRegisterCallBack, pUser);
    return m_pDeviceMan->SetUnRegisterCallback(AcceptUnRegisterProc, this);
}

void CSDKImpl::OnReconnect(LONG lLoginID, void* pUser, BOOL bIsK7KChannel, LONG channel, WORD videoInputNum) {
    static_cast<CSDKImpl*>(pUser)->m_liveMan.ResumeOnReconnection(lLoginID, bIsK7KChannel, channel, videoInputNum);
}

void CSDKImpl::AcceptRegisterProc(LONG lUserID, LONG lRegisterID, LPHLX_DEVICEINFO pDeviceInfo, void* pUser) {
    auto& root = *static_cast<CSDKImpl*>(pUser);
    root.TellCaller(root.m_acceptRegister.Get().first, lUserID, lRegisterID, pDeviceInfo);
}

void CSDKImpl::AcceptUnRegisterProc(LONG lUserID, LONG lRegisterID, LPHLX_DEVICEINFO pDeviceInfo, void* pUser) {
    auto& root = *static_cast<CSDKImpl*>(pUser);
    root.TellCaller(root.m_acceptUnRegister.Get().first, lUserID, lRegisterID, pDeviceInfo);
}

/// By the interface the callback for unknown devices, too, gets a playback entry and the value given for the other
/// callback.
void CSDKImpl::TellCaller(ACCEPT_REGISTER_CALLBACK fCallback, LONG lUserID, LONG lRegisterID,
                          LPHLX_DEVICEINFO pDeviceInfo) {
    m_playbackMan.AddDevice(lUserID);
    if (fCallback) fCallback(lUserID, lRegisterID, pDeviceInfo, m_acceptRegister.Get().second);
}

BOOL CSDKImpl::GetDeviceInfo(LONG lUserID, LPHLX_DEVICEINFO lpDeviceInfo) {
    return Given(lpDeviceInfo) && m_pDeviceMan->GetDeviceInfo(lUserID, lpDeviceInfo);
}
LONG CSDKImpl::GetDeviceFirmwareType(LONG lUserID) { return m_pDeviceMan->GetDeviceFirmwareType(lUserID); }
LONG CSDKImpl::GetDeviceTypeName(LONG lUserID, char* sTypeName, LONG lLen) {
    if (!Given(sTypeName)) return 0;
    if (lLen < 1) return Failure(HLX_PARAMETER_ERROR, LONG{0});
    return m_pDeviceMan->GetDeviceTypeName(lUserID, sTypeName, lLen);
}
BOOL CSDKImpl::GetDeviceIPCInfo(LONG lUserID, HLX_IPC_DEVICE_INFO* pIPCInfo, LONG lMaxNum, LONG* pIPCNum) {
    return Given(pIPCInfo, pIPCNum) && m_pDeviceMan->GetDeviceIPCInfo(lUserID, pIPCInfo, lMaxNum, pIPCNum);
}
BOOL CSDKImpl::GetDeviceCHStatus(LONG lUserID, HLX_CH_DEVICE_STATUS* pStatus, LONG lMaxNum, LONG* pNum) {
    return Given(pStatus, pNum) && m_pDeviceMan->GetDeviceCHStatus(lUserID, pStatus, lMaxNum, pNum);
}
BOOL CSDKImpl::GetDeviceCHSupportFunction(LONG lUserID, HLX_CH_DEVICE_SUPPORT* pSupport, LONG lMaxNum, LONG* pNum) {
    return Given(pSupport, pNum) && m_pDeviceMan->GetDeviceCHSupportFunction(lUserID, pSupport, lMaxNum, pNum);
}
BOOL CSDKImpl::GetDeviceSupportFunction(LONG lUserID, HLX_DEV_SUPPORT* pSupport) {
    return Given(pSupport) && m_pDeviceMan->GetDeviceSupportFunction(lUserID, pSupport);
}
DWORD CSDKImpl::SupportStreamNum(LONG lUserID, LONG lChannel) {
    return m_pDeviceMan->SupportStreamNum(lUserID, lChannel);
}
BOOL CSDKImpl::GetRtspUrl(LONG lUserID, LONG lChannel, LONG lStreamType, char* sRtspUrl) {
    return Given(sRtspUrl) && m_pDeviceMan->GetRtspUrl(lUserID, lChannel, lStreamType, sRtspUrl);
}
int CSDKImpl::GetSha1Encrypt(LONG lUserID, const void* pIn, int inLen, void* pOut, int outLen, int* pOutLen) {
    if (!Given(pIn, pOut, pOutLen)) return -1;
    if (inLen < 0 || outLen < 0) return Failure(HLX_PARAMETER_ERROR, -1);
    return m_pDeviceMan->GetSha1Encrypt(lUserID, pIn, inLen, pOut, outLen, pOutLen);
}
BOOL CSDKImpl::GetVehicleConfig(LONG lUserID) { return m_pDeviceMan->GetVehicleConfig(lUserID); }
