// Firmware upgrades.
#pragma once

#include "HLX.h"

/// Upgrades are refused with HLX_NOSUPPORT: -1 for handles. Any thread.
class CUpgradeMan {
public:
    POINTERHANDLE Update(LONG lUserID, const char* sFileName, int fileType);
    POINTERHANDLE UpdateIPC(LONG lUserID, const char* sFileName, int fileType);
    int GetUpgradeState(POINTERHANDLE lUpgradeHandle);
    int GetUpdataProgress(POINTERHANDLE lUpgradeHandle);
    BOOL StopUpgrade(POINTERHANDLE lUpgradeHandle);
};
