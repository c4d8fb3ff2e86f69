// Address settings of a device by multicast.
#pragma once

#include "HLX.h"

/// The change is refused with HLX_NOSUPPORT.
class CModifyDeviceNetInfo {
public:
    bool Initial() { return true; }
    void Quit() {}

    BOOL ModifyDevNetInfo(const HLX_DEVICE_IP_INFO* pDeviceIPInfo);
};
