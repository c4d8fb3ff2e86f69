// Exported functions: discovery on the local network.
#include "main_utility/api/Wrappers.h"

int HLX_DiscoverDevice(HLX_DEVICE_DISCOVERY_INFO* pDeviceInfo, int bufNum, int waitSeconds) {
    return DirectWrapper(int{0}, &CSDKImpl::DiscoverDevice, pDeviceInfo, bufNum, waitSeconds);
}
BOOL HLX_ModifyDeviceNetInfo(HLX_DEVICE_IP_INFO* pDeviceIPInfo) {
    return DirectWrapper(BOOL{0}, &CSDKImpl::ModifyDeviceNetInfo, pDeviceIPInfo);
}
BOOL HLX_GetDeviceIPByName(const char* sServerAddr, DWORD dwPort, const char* sName, char* sDVRIP) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetDeviceIPByName, sServerAddr, dwPort, sName, sDVRIP);
}
