#include "main_utility/upkeep/UpgradeMan.h"

#include "sdk_common/ThreadState.h"

POINTERHANDLE CUpgradeMan::Update(LONG, const char*, int) { return Failure(HLX_NOSUPPORT, POINTERHANDLE{-1}); }
POINTERHANDLE CUpgradeMan::UpdateIPC(LONG, const char*, int) { return Failure(HLX_NOSUPPORT, POINTERHANDLE{-1}); }
int CUpgradeMan::GetUpgradeState(POINTERHANDLE) { return Failure(HLX_NOSUPPORT, 0); }
int CUpgradeMan::GetUpdataProgress(POINTERHANDLE) { return Failure(HLX_NOSUPPORT, 0); }
BOOL CUpgradeMan::StopUpgrade(POINTERHANDLE) { return Failure(HLX_NOSUPPORT); }
