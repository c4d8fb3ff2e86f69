// Exported functions: start, stop, version, last error, time.
#include <new>

#include "main_utility/api/Wrappers.h"
#include "main_utility/device/NetDeviceMan.h"
#include "sdk_common/PubTime.h"

namespace {

void DropRoot() {
    delete g_pSdkImpl;
    g_pSdkImpl = nullptr;
}

}  // namespace

BOOL HLX_Init(void) try {
    if (g_pSdkImpl) return 1;
    CThreadState::Instance()->SetLastError(HLX_SUCCESS);
    g_pSdkImpl = new CSDKImpl(YLog4C::GetInstance());
    if (g_pSdkImpl->Init()) return 1;
    DropRoot();
    return 0;
} catch (const std::bad_alloc&) {
    return Failure(HLX_ALLOC_RESOURCE_ERROR);
}

BOOL HLX_Cleanup(void) {
    CThreadState::Instance()->SetLastError(HLX_SUCCESS);
    if (!g_pSdkImpl) return 1;
    const bool bOnOwnThread = CSDKImpl::InFrameCallback() || CDeviceMsgMan::InMessageCallback() ||
                              CNetDeviceMan::InCallback() || CTalkTransMan::InTalkCallback() ||
                              CTalkbackMan::InTalkCallback();
    if (bOnOwnThread) return Failure(HLX_OPER_NOPERMIT);
    // Once cleanup has run, the last error reads as not initialised.
    CThreadState::Instance()->SetLastError(HLX_NOINIT);
    g_pSdkImpl->Quit();
    DropRoot();
    return 1;
}

DWORD HLX_GetSDKVersion(void) { return SilentWrapper(__func__, DWORD{0}, &CSDKImpl::GetSDKVersion); }
DWORD HLX_GetSDKBuildVersion(void) { return SilentWrapper(__func__, DWORD{0}, &CSDKImpl::GetSDKBuildVersion); }
DWORD HLX_GetLastError(void) { return g_pSdkImpl ? CThreadState::Instance()->GetLastError() : DWORD{HLX_NOINIT}; }
char* HLX_GetErrorMsg(LONG* pErrorNo) { return CThreadState::Instance()->GetErrorMsg(pErrorNo); }
BOOL HLX_SetLogToFile(BOOL bLogEnable, const char* strLogDir, BOOL bAutoDel, int logLevel) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SetLogToFile, bLogEnable, strLogDir, bAutoDel, logLevel);
}

BOOL HLX_FormatTime(LONGLONG intTime, DD_TIME* lpTime) {
    if (!lpTime) return 0;
    DVRTimeToDDTime(intTime, *lpTime);
    return 1;
}
