#include "main_utility/upkeep/DeviceMsgMan.h"

#include "sdk_common/ThreadState.h"

POINTERHANDLE CDeviceMsgMan::SetupAlarmChan(LONG) { return Failure(HLX_NOSUPPORT, POINTERHANDLE{0}); }
BOOL CDeviceMsgMan::CloseAlarmChan(POINTERHANDLE) { return Failure(HLX_NOSUPPORT); }
BOOL CDeviceMsgMan::SetDVRMessageCallBack(NET_MESSAGE_CALLBACK, void*) { return Failure(HLX_NOSUPPORT); }
BOOL CDeviceMsgMan::SetDVRMessageCallBackEx(NET_MESSAGE_CALLBACK_EX, void*) { return Failure(HLX_NOSUPPORT); }
