// Which device class and parser serve a device, by the first 64 bytes that it sends.
#pragma once

#include "device_base/NetDevice.h"

/// Makes the device and, where its family has one, the parser of `res` and sets `eDVRVer`. False for a family or
/// version that the library does not serve; throws std::bad_alloc without memory.
bool MakeDevice(const PRE_SEND_DATA& pre, NET_DEVICE_RES& res);

using MAKE_DEVICE = bool (*)(const PRE_SEND_DATA& pre, NET_DEVICE_RES& res);
