// Exported functions: login, session, auto-register, device facts.
#include "main_utility/api/Wrappers.h"

LONG HLX_Login(const char* sDVRIP, WORD wDVRPort, const char* sUserName, const char* sPassword,
               LPHLX_DEVICEINFO lpDeviceInfo) {
    return FullWrapper(__func__, LONG{-1}, &CSDKImpl::Login, sDVRIP, wDVRPort, sUserName, sPassword, lpDeviceInfo,
                       LONG{HLX_CONNECT_TCP}, "");
}
LONG HLX_LoginEx(const char* sDVRIP, WORD wDVRPort, const char* sUserName, const char* sPassword,
                 LPHLX_DEVICEINFO lpDeviceInfo, LONG lConnectType, const char* sDevSN) {
    return FullWrapper(__func__, LONG{-1}, &CSDKImpl::Login, sDVRIP, wDVRPort, sUserName, sPassword, lpDeviceInfo,
                       lConnectType, sDevSN);
}
BOOL HLX_Logout(LONG lUserID) { return FullWrapper(__func__, BOOL{0}, &CSDKImpl::Logout, lUserID); }
BOOL HLX_SetConnectTime(DWORD dwWaitTime, DWORD dwTryTimes) {
    return KeepErrorWrapper(__func__, BOOL{0}, &CSDKImpl::SetConnectTime, dwWaitTime, dwTryTimes);
}
BOOL HLX_SetReconnect(DWORD dwInterval, BOOL bEnableRecon) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SetReconnect, dwInterval, bEnableRecon);
}
BOOL HLX_SetSDKMessageCallBack(UINT nMessage, HWND hWnd, EXCEPTION_CALLBACK fExceptionCallBack, void* pUser) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SetSDKMessageCallBack, nMessage, hWnd, fExceptionCallBack, pUser);
}
BOOL HLX_SetNat2Addr(const char* sServerAddr, WORD wDVRPort) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SetNat2Addr, sServerAddr, wDVRPort);
}
void HLX_SetIsWifi(bool bIsWifi) {
    if (g_pSdkImpl) g_pSdkImpl->SetIsWifi(bIsWifi);
}
LONG HLX_GetProductSubID(const char* sDVRIP, WORD wDVRPort) {
    return DirectWrapper(LONG{0}, &CSDKImpl::GetProductSubID, sDVRIP, wDVRPort);
}
BOOL HLX_SetRegisterPort(WORD wRegisterPort, const REG_LOGIN_INFO* pLoginInfo, DWORD deviceNum) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SetRegisterPort, wRegisterPort, pLoginInfo, deviceNum);
}
BOOL HLX_AddRegisterDeviceInfo(const REG_LOGIN_INFO* pLoginInfo, DWORD deviceNum) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::AddRegisterDeviceInfo, pLoginInfo, deviceNum);
}
BOOL HLX_SetRegisterCallback(ACCEPT_REGISTER_CALLBACK fRegisterCallBack, void* pUser) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SetRegisterCallback, fRegisterCallBack, pUser);
}
BOOL HLX_SetUnRegisterCallback(ACCEPT_UNREGISTER_CALLBACK fUnRegisterCallBack, void* pUser) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SetUnRegisterCallback, fUnRegisterCallBack, pUser);
}
BOOL HLX_GetDeviceInfo(LONG lUserID, LPHLX_DEVICEINFO lpDeviceInfo) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetDeviceInfo, lUserID, lpDeviceInfo);
}
LONG HLX_GetDeviceFirmwareType(LONG lUserID) {
    return SilentWrapper(__func__, LONG{0}, &CSDKImpl::GetDeviceFirmwareType, lUserID);
}
LONG HLX_GetDeviceTypeName(LONG lUserID, char* sTypeName, LONG lLen) {
    return FullWrapper(__func__, LONG{0}, &CSDKImpl::GetDeviceTypeName, lUserID, sTypeName, lLen);
}
BOOL HLX_GetDeviceIPCInfo(LONG lUserID, HLX_IPC_DEVICE_INFO* pIPCInfo, LONG lMaxNum, LONG* pIPCNum) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetDeviceIPCInfo, lUserID, pIPCInfo, lMaxNum, pIPCNum);
}
BOOL HLX_GetDeviceCHStatus(LONG lUserID, HLX_CH_DEVICE_STATUS* pStatus, LONG lMaxNum, LONG* pNum) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetDeviceCHStatus, lUserID, pStatus, lMaxNum, pNum);
}
BOOL HLX_GetDeviceCHSupportFunction(LONG lUserID, HLX_CH_DEVICE_SUPPORT* pSupport, LONG lMaxNum, LONG* pNum) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetDeviceCHSupportFunction, lUserID, pSupport, lMaxNum, pNum);
}
BOOL HLX_GetDeviceSupportFunction(LONG lUserID, HLX_DEV_SUPPORT* pSupport) {
    return UntimedWrapper(BOOL{0}, &CSDKImpl::GetDeviceSupportFunction, lUserID, pSupport);
}
DWORD HLX_SupportStreamNum(LONG lUserID, LONG lChannel) {
    return SilentWrapper(__func__, DWORD{0}, &CSDKImpl::SupportStreamNum, lUserID, lChannel);
}
BOOL HLX_GetRtspUrl(LONG lUserID, LONG lChannel, LONG lStreamType, char* sRtspUrl) {
    return UntimedWrapper(BOOL{0}, &CSDKImpl::GetRtspUrl, lUserID, lChannel, lStreamType, sRtspUrl);
}
int HLX_GetSha1Encrypt(LONG lUserID, const void* pIn, int inLen, void* pOut, int outLen, int* pOutLen) {
    return FullWrapper(__func__, int{0}, &CSDKImpl::GetSha1Encrypt, lUserID, pIn, inLen, pOut, outLen, pOutLen);
}
BOOL HLX_GetVehicleConfig(LONG lUserID) { return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetVehicleConfig, lUserID); }
