// Search for devices on the local network.
#pragma once

#include "HLX.h"

/// The search is refused with HLX_NOSUPPORT and finds no device. One call at a time.
class CDiscoverDevice {
public:
    bool Initial() { return true; }
    void Quit() {}

    /// The number of records written to `pDeviceInfo`, at most `bufNum`.
    int Discover(HLX_DEVICE_DISCOVERY_INFO* pDeviceInfo, int bufNum, int waitSeconds);
};
