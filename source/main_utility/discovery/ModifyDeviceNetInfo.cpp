#include "main_utility/discovery/ModifyDeviceNetInfo.h"

#include "sdk_common/ThreadState.h"

BOOL CModifyDeviceNetInfo::ModifyDevNetInfo(const HLX_DEVICE_IP_INFO*) { return Failure(HLX_NOSUPPORT); }
