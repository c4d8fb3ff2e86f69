#include "main_utility/config/ConfigMan.h"

#include "sdk_common/ThreadState.h"

LONG CConfigMan::EnterDVRConfig(LONG) { return Failure(HLX_NOSUPPORT, LONG{-4}); }
BOOL CConfigMan::ExitDVRConfig(LONG) { return Failure(HLX_NOSUPPORT); }
BOOL CConfigMan::GetDVRConfig(LONG, DWORD, LONG, LPVOID, DWORD, LPDWORD, BOOL) { return Failure(HLX_NOSUPPORT); }
BOOL CConfigMan::GetDVRConfig_SubStreamEncodeInfo(LONG, DWORD, LONG, LPVOID, DWORD, LPDWORD, BOOL) {
    return Failure(HLX_NOSUPPORT);
}
BOOL CConfigMan::SetDVRConfig(LONG, DWORD, LONG, LPVOID, DWORD) { return Failure(HLX_NOSUPPORT); }
BOOL CConfigMan::SetDVRConfig_SubStreamEncodeInfo(LONG, LONG, LPVOID, DWORD) { return Failure(HLX_NOSUPPORT); }
BOOL CConfigMan::GetAlarmStatus(LONG, LPVOID, DWORD, LPVOID, LPDWORD, int*, BOOL) { return Failure(HLX_NOSUPPORT); }
