// Translation of configuration items between the public side and one device family.
#pragma once

#include "config/ConfigItemID.h"
#include "HLX.h"
#include "protocol/LinkFrame.h"

/// Each device object that has configuration has one. Called with the device manager's m_deviceCommLock held.
class CConfigParser {
public:
    CConfigParser() = default;
    virtual ~CConfigParser() = default;
    CConfigParser(const CConfigParser&) = delete;
    CConfigParser& operator=(const CConfigParser&) = delete;

    virtual void SetVideoInputNum(int local, int net) = 0;
    virtual void SetSensorInNum(int num) = 0;
    virtual void SetDiskNum(int num) = 0;

    /// Writes the request for `item` to `pOut`. Returns its length, 0 or less for an item that needs no request.
    virtual int GetCfgRequestParam(DD_CONFIG_ITEM_ID item, void* pOut, int outLen) = 0;

    /// Device block to public block, whole or for one channel. Returns the bytes written, below 1 on failure.
    virtual int CfgDevice2CfgSDK(void* pDevData, int devLen, void* pOut, int outLen) = 0;
    virtual int CfgDevice2CfgSDKEx(void* pDevData, int devLen, void* pOut, int outLen) = 0;

    /// Public block to device block; result likewise.
    virtual int CfgSDK2CfgDevice(void* pSdkData, int sdkLen, void* pOut, int outLen) = 0;

    /// Copies the facts of the device after a login. The spelling is the interface's.
    virtual void SetDeivceInfo(LPHLX_DEVICEINFO lpDeviceInfo) = 0;
    virtual void SetEncryptInfo(PRE_SEND_DATA&) {}
};
