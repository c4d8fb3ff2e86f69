#include "main_utility/discovery/DiscoverDevice.h"

#include "sdk_common/ThreadState.h"

int CDiscoverDevice::Discover(HLX_DEVICE_DISCOVERY_INFO*, int, int) { return Failure(HLX_NOSUPPORT, 0); }
