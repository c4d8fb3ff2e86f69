// Alarms and status of devices.
#pragma once

#include "HLX.h"

/// Reports are refused with HLX_NOSUPPORT. Any thread.
class CDeviceMsgMan {
public:
    bool Initial() { return true; }
    bool Start() { return true; }
    void Stop() {}
    void Quit() {}

    /// The alarm handle, or 0.
    POINTERHANDLE SetupAlarmChan(LONG lUserID);
    BOOL CloseAlarmChan(POINTERHANDLE lAlarmHandle);
    BOOL SetDVRMessageCallBack(NET_MESSAGE_CALLBACK fMessageCallBack, void* pUser);
    BOOL SetDVRMessageCallBackEx(NET_MESSAGE_CALLBACK_EX fMessageCallBack, void* pUser);
};
