#include "device_base/NetDevice.h"

#include "protocol/ClassicProtocol.h"
#include "sdk_common/WireReader.h"

NET_MESSAGE_CALLBACK CNetDevice::m_pfnMessageCallback = nullptr;
NET_MESSAGE_CALLBACK_EX CNetDevice::m_pfnMessageCallbackEx = nullptr;
void* CNetDevice::m_pCallbackUser = nullptr;

BOOL CNetDevice::SetDVRMessageCallBack(NET_MESSAGE_CALLBACK fMessageCallBack, void* pUser) {
    m_pfnMessageCallback = fMessageCallBack;
    m_pCallbackUser = pUser;
    return 1;
}

BOOL CNetDevice::SetDVRMessageCallBackEx(NET_MESSAGE_CALLBACK_EX fMessageCallBack, void* pUser) {
    m_pfnMessageCallbackEx = fMessageCallBack;
    m_pCallbackUser = pUser;
    return 1;
}

BOOL CNetDevice::SetDeviceID(LONG lDeviceID) {
    m_deviceID = lDeviceID;
    return 1;
}

BOOL CNetDevice::SetDeviceIp(char* sDeviceIP) {
    if (sDeviceIP) CopyText(m_deviceIp, sDeviceIP);
    return 1;
}

void CNetDevice::FreeTalkBuf(const FRAME_INFO_EX& frame) { delete[] frame.pData; }
