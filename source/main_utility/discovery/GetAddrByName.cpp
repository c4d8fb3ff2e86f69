#include "main_utility/discovery/GetAddrByName.h"

#include "sdk_common/ThreadState.h"

BOOL CGetAddrByName::GetDvrIPByName(const char*, DWORD, const char*, char*) { return Failure(HLX_NOSUPPORT); }
