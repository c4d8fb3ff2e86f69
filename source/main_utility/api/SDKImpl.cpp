// Life of the session root: start, stop, roll-back, and what it answers by itself.
#include "main_utility/api/SDKImpl.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "main_utility/api/BuildVersion.h"
#include "main_utility/device/NetDeviceMan.h"
#include "main_utility/media/AudioCodecMan.h"
#include "main_utility/upkeep/ImportExportCfg.h"
#include "netservice/LinkTrace.h"
#include "netservice/MultiNetDataBufferMan.h"
#include "netservice/SWLSocket.h"
#include "sdk_common/PubTime.h"
#include "sdk_common/RunFlag.h"

CSDKImpl* g_pSdkImpl = nullptr;

namespace {

constexpr DWORD SDK_VERSION = 0x00010002;
constexpr int LOG_FILE_SIZE = 0x7FFFFFFE;  // bytes

/// The record of what goes over the links, for a supporter.
void StartTrace() {
    const char* pFileName = secure_getenv("HLX_TRACE");
    if (!pFileName || !*pFileName || CLinkTrace::Instance().Start(pFileName)) return;
    std::fprintf(stderr, "HLX_TRACE: %s: %s\n", pFileName, std::strerror(errno));
}

}  // namespace

struct CSDKImpl::INIT_STEP {
    bool (*fStep)(CSDKImpl& root);
};

const CSDKImpl::INIT_STEP CSDKImpl::INIT_STEPS[] = {
    {[](CSDKImpl& root) { return root.m_pDeviceMan->Initial(); }},
    {[](CSDKImpl&) { return CMultiNetDataBufferMan::Instance()->Initial(); }},
    {[](CSDKImpl& root) { return root.m_liveMan.Initial(); }},
    {[](CSDKImpl& root) { return root.m_playbackMan.Initial(); }},
    {[](CSDKImpl& root) { return root.m_deviceMsgMan.Initial(); }},
    {[](CSDKImpl& root) { return root.m_pAudioCodecMan->Initial(); }},
    {[](CSDKImpl& root) { return root.m_talkbackMan.Initial(); }},
    {[](CSDKImpl& root) { return root.m_talkTransMan.Initial(); }},
    {[](CSDKImpl& root) {
        // A machine without a usable network interface can do without discovery.
        root.m_discoverDevice.Initial();
        root.m_modifyDevNetInfo.Initial();
        return root.m_downloadMan.Initial();
    }},
    {[](CSDKImpl& root) { return root.m_pDeviceMan->Start(); }},
    {[](CSDKImpl& root) { return root.m_liveMan.Start(); }},
    {[](CSDKImpl& root) { return root.m_playbackMan.Start(); }},
    {[](CSDKImpl& root) { return root.m_deviceMsgMan.Start(); }},
    {[](CSDKImpl& root) { return root.m_downloadMan.Start(); }},
    {[](CSDKImpl& root) {
        root.m_pDeviceMan->SetReconnectCallback(OnReconnect, &root);
        return root.StartMonitor();
    }},
};

CSDKImpl::CSDKImpl(YLog4C* pLog)
    : m_pThreadState(CThreadState::Instance()),
      m_pDeviceMan(CNetDeviceMan::Instance()),
      m_pAudioCodecMan(CAudioCodecMan::Instance()),
      m_pImportExortCfg(CImportExportCfg::Instance()),
      mYlog(pLog) {
    SwitchLogOff();
}

CSDKImpl::~CSDKImpl() { SwitchLogOff(); }

void CSDKImpl::SwitchLogOff() {
    mYlog->SetLog2Console(false);
    mYlog->SetLog2File(false);
    mYlog->CloseLog();
}

bool CSDKImpl::Init() {
    SWL_Init();
    StartTrace();
    for (const INIT_STEP& entry : INIT_STEPS) {
        if (RunInitStep(entry)) continue;
        Rollback();
        return false;
    }
    return true;
}

bool CSDKImpl::RunInitStep(const INIT_STEP& entry) {
    try {
        return entry.fStep(*this);
    } catch (const std::bad_alloc&) {
        return Failure(HLX_ALLOC_RESOURCE_ERROR);
    } catch (...) {
        return Failure(HLX_PROGRAM_EXCEPTION);
    }
}

bool CSDKImpl::StartMonitor() {
    m_monitorEnd.CreateWaitEvent();
    m_hMonitorTime = PUB_CreateThread(MonitorTimeThread, this, &m_bMonitoring);
    return m_hMonitorTime || Failure(HLX_PROGRAM_EXCEPTION);
}

/// Stops everything, started or not: each manager bears it.
void CSDKImpl::Rollback() {
    m_downloadMan.Stop();
    m_deviceMsgMan.Stop();
    m_liveMan.Stop();
    m_pDeviceMan->Stop();
    m_playbackMan.Stop();
    QuitManagers();
}

/// The device manager stops last, after all that use it.
void CSDKImpl::Quit() {
    SetRunFlag(m_bMonitoring, false);
    m_monitorEnd.Close();
    PUB_ExitThread(&m_hMonitorTime, &m_bMonitoring);
    m_deviceMsgMan.Stop();
    m_liveMan.Stop();
    m_playbackMan.Stop();
    m_downloadMan.Stop();
    m_pDeviceMan->Stop();
    m_liveMan.Stop();  // what an exception or register callback opened meanwhile; no such callback runs any more
    QuitManagers();
}

void CSDKImpl::QuitManagers() {
    m_downloadMan.Quit();
    m_talkbackMan.Quit();
    m_talkTransMan.Quit();
    m_deviceMsgMan.Quit();
    m_playbackMan.Quit();
    m_liveMan.Quit();
    CMultiNetDataBufferMan::Instance()->Quit();
    m_pDeviceMan->Quit();
    m_pAudioCodecMan->Quit();
    m_diskMan.Quit();
    m_discoverDevice.Quit();
    m_modifyDevNetInfo.Quit();
    CLinkTrace::Instance().Stop();
    SWL_Quit();
}

/// Idle watch: there is nothing to be done in it, so it waits for its end.
void* CSDKImpl::MonitorTimeThread(void* pParam) {
    auto& root = *static_cast<CSDKImpl*>(pParam);
    const auto ended = [&] { return !RunFlagSet(root.m_bMonitoring); };
    while (!ended()) root.m_monitorEnd.WaitForCond(CWaitEvent::WAIT_FOREVER, ended);
    return nullptr;
}

DWORD CSDKImpl::GetSDKVersion() { return SDK_VERSION; }
DWORD CSDKImpl::GetSDKBuildVersion() { return BuildVersion(BUILD_DATE); }

BOOL CSDKImpl::SetLogToFile(BOOL bLogEnable, const char* strLogDir, BOOL, int logLevel) {
    if (!bLogEnable) SwitchLogOff();
    if (strLogDir && *strLogDir) mYlog->SetLogPlace(strLogDir);
    mYlog->SetLog2MultiThread(true);
    mYlog->SetLogLevel(logLevel);
    mYlog->SetLogFileMaxcnt(YLog4C::MAX_FILE_COUNT);
    mYlog->SetLogMaxsize(LOG_FILE_SIZE);
    if (!bLogEnable) return 1;
    mYlog->SetLog2Console(true);
    mYlog->SetLog2File(true);
    YLOG(YLOG_INFO, "log begins, version %08x, build %u", SDK_VERSION, GetSDKBuildVersion());
    return 1;
}

BOOL CSDKImpl::RestoreConfig(LONG) { return Failure(HLX_NOSUPPORT); }
BOOL CSDKImpl::SaveConfig(LONG) { return Failure(HLX_NOSUPPORT); }
BOOL CSDKImpl::ShutDownDVR(LONG) { return Failure(HLX_NOSUPPORT); }
BOOL CSDKImpl::SetPlayerBufNumber(POINTERHANDLE, DWORD) { return Failure(HLX_NOSUPPORT); }
