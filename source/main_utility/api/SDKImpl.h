// The session root: owns the managers, starts and stops them, and hands each exported operation to one of them.
#pragma once

#include "main_utility/config/ConfigMan.h"
#include "main_utility/discovery/DiscoverDevice.h"
#include "main_utility/discovery/ModifyDeviceNetInfo.h"
#include "main_utility/media/DownloadMan.h"
#include "main_utility/media/LiveMan.h"
#include "main_utility/media/PlaybackMan.h"
#include "main_utility/media/TalkbackMan.h"
#include "main_utility/media/TalkTransMan.h"
#include "main_utility/search/DataSearchMan.h"
#include "main_utility/upkeep/DeviceMsgMan.h"
#include "main_utility/upkeep/DiskMan.h"
#include "main_utility/upkeep/UpgradeMan.h"
#include "sdk_common/CallbackPair.h"
#include "sdk_common/PubLock.h"
#include "sdk_common/PubThread.h"
#include "sdk_common/ThreadState.h"
#include "sdk_common/YLog4C.h"

class CNetDeviceMan;
class CAudioCodecMan;
class CImportExportCfg;

/// True if no pointer is null; else HLX_PARAMETER_ERROR is set.
template <class... Pointers>
bool Given(const Pointers*... pointers) {
    return (... && (pointers != nullptr)) || Failure(HLX_PARAMETER_ERROR);
}

/// One life of the library, from HLX_Init to HLX_Cleanup. The operations are those of the exported functions of the
/// same name: HLX.h tells their arguments, results, numbers and times. They check what the managers do not check. Any
/// thread, but Init and Quit.
class CSDKImpl {
public:
    /// Switches the log off until SetLogToFile.
    explicit CSDKImpl(YLog4C* pLog);
    /// Switches it off again and closes it.
    ~CSDKImpl();
    CSDKImpl(const CSDKImpl&) = delete;
    CSDKImpl& operator=(const CSDKImpl&) = delete;

    /// Starts everything in its order. On failure all is stopped again, and the last error is that of the failed step.
    bool Init();
    void Quit();

    // Procedures that the device manager calls, with the root as user value.
    static void OnReconnect(LONG lLoginID, void* pUser, BOOL bIsK7KChannel, LONG channel, WORD videoInputNum);
    static void AcceptRegisterProc(LONG lUserID, LONG lRegisterID, LPHLX_DEVICEINFO pDeviceInfo, void* pUser);
    static void AcceptUnRegisterProc(LONG lUserID, LONG lRegisterID, LPHLX_DEVICEINFO pDeviceInfo, void* pUser);

    /// True on a thread that is inside a frame callback of a live stream, a playback or a download.
    static bool InFrameCallback() {
        return CLiveMan::InFrameCallback() || CPlaybackMan::InFrameCallback() || CDownloadMan::InDataCallback();
    }

    /// False with HLX_OPER_NOPERMIT inside a download's callback, which may do nothing that waits for a callback of a
    /// playback: that may be waiting for this one.
    static bool OutsideDownload() { return !CDownloadMan::InDataCallback() || Failure(HLX_OPER_NOPERMIT); }

    /// The playback manager with its entry per device.
    CPlaybackMan& Playback() { return m_playbackMan; }

    // Root and session
    DWORD GetSDKVersion();
    DWORD GetSDKBuildVersion();
    BOOL SetLogToFile(BOOL bLogEnable, const char* strLogDir, BOOL bAutoDel, int logLevel);
    LONG Login(const char* sDVRIP, WORD wDVRPort, const char* sUserName, const char* sPassword,
               LPHLX_DEVICEINFO lpDeviceInfo, LONG lConnectType, const char* sDevSN);
    BOOL Logout(LONG lUserID);
    BOOL SetConnectTime(DWORD dwWaitTime, DWORD dwTryTimes);
    BOOL SetReconnect(DWORD dwInterval, BOOL bEnableRecon);
    BOOL SetSDKMessageCallBack(UINT nMessage, HWND hWnd, EXCEPTION_CALLBACK fExceptionCallBack, void* pUser);
    BOOL SetNat2Addr(const char* sServerAddr, WORD wDVRPort);
    void SetIsWifi(bool bIsWifi);
    LONG GetProductSubID(const char* sDVRIP, WORD wDVRPort);
    BOOL SetRegisterPort(WORD wRegisterPort, const REG_LOGIN_INFO* pLoginInfo, DWORD deviceNum);
    BOOL AddRegisterDeviceInfo(const REG_LOGIN_INFO* pLoginInfo, DWORD deviceNum);
    BOOL SetRegisterCallback(ACCEPT_REGISTER_CALLBACK fRegisterCallBack, void* pUser);
    BOOL SetUnRegisterCallback(ACCEPT_UNREGISTER_CALLBACK fUnRegisterCallBack, void* pUser);

    // Device facts
    BOOL GetDeviceInfo(LONG lUserID, LPHLX_DEVICEINFO lpDeviceInfo);
    LONG GetDeviceFirmwareType(LONG lUserID);
    LONG GetDeviceTypeName(LONG lUserID, char* sTypeName, LONG lLen);
    BOOL GetDeviceIPCInfo(LONG lUserID, HLX_IPC_DEVICE_INFO* pIPCInfo, LONG lMaxNum, LONG* pIPCNum);
    BOOL GetDeviceCHStatus(LONG lUserID, HLX_CH_DEVICE_STATUS* pStatus, LONG lMaxNum, LONG* pNum);
    BOOL GetDeviceCHSupportFunction(LONG lUserID, HLX_CH_DEVICE_SUPPORT* pSupport, LONG lMaxNum, LONG* pNum);
    BOOL GetDeviceSupportFunction(LONG lUserID, HLX_DEV_SUPPORT* pSupport);
    DWORD SupportStreamNum(LONG lUserID, LONG lChannel);
    BOOL GetRtspUrl(LONG lUserID, LONG lChannel, LONG lStreamType, char* sRtspUrl);
    int GetSha1Encrypt(LONG lUserID, const void* pIn, int inLen, void* pOut, int outLen, int* pOutLen);
    BOOL GetVehicleConfig(LONG lUserID);

    // Live
    POINTERHANDLE LivePlay(LONG lUserID, const HLX_CLIENTINFO* lpClientInfo, LIVE_DATA_CALLBACK fLiveDataCallBack,
                           void* pUser);
    POINTERHANDLE LivePlayEx(LONG lUserID, const HLX_CLIENTINFO* lpClientInfo, LIVE_DATA_CALLBACK_EX fLiveDataCallBack,
                             void* pUser);
    BOOL StopLivePlay(POINTERHANDLE lLiveHandle);
    BOOL SetLiveDataCallBack(POINTERHANDLE lLiveHandle, LIVE_DATA_CALLBACK fLiveDataCallBack, void* pUser);
    BOOL SetLiveDataCallBackEx(POINTERHANDLE lLiveHandle, LIVE_DATA_CALLBACK_EX fLiveDataCallBack, void* pUser);
    BOOL SetYUVCallBack(POINTERHANDLE lLiveHandle, YUV_DATA_CALLBACK fYUVCallBack, void* pUser);
    BOOL OpenSound(POINTERHANDLE lLiveHandle);
    BOOL CloseSound();
    BOOL Volume(POINTERHANDLE lLiveHandle, WORD wVolume);
    BOOL SaveLiveData(POINTERHANDLE lLiveHandle, const char* sFileName);
    BOOL StopSaveLiveData(POINTERHANDLE lLiveHandle);
    BOOL MakeKeyFrame(LONG lUserID, LONG lChannel);
    BOOL MakeKeyFrameSub(LONG lUserID, LONG lChannel);
    BOOL MakeKeyFrameEx(LONG lUserID, LONG lChannel, LONG lStreamType);
    BOOL GetDeviceTime(LONG lUserID, DD_TIME* lpTime);
    BOOL RegisterDrawFun(POINTERHANDLE lHandle, DRAW_FUN_CALLBACK fDrawFun, void* pUser);
    BOOL RefreshPlay(POINTERHANDLE lHandle);

    // Pictures
    BOOL CapturePicture(POINTERHANDLE lLiveHandle, const char* sPicFileName);
    BOOL CapturePicture_Other(LONG lUserID, LONG lChannel, const char* sPicFileName);
    BOOL CaptureJPEGPicture(LONG lUserID, LONG lChannel, char* sJpegPicBuffer, DWORD dwPicSize, LPDWORD lpSizeReturned);
    BOOL CaptureJpeg(LONG lUserID, LONG lChannel, LONG lResolution, char* sJpegPicBuffer, DWORD dwPicSize,
                     LPDWORD lpSizeReturned);
    BOOL CaptureJPEGData_V2(LONG lUserID, LONG lChannel, char* sJpegPicBuffer, DWORD dwPicSize, LPDWORD lpSizeReturned);
    BOOL CaptureJPEGFile_V2(LONG lUserID, LONG lChannel, const char* sPicFileName);
    BOOL SearchPictures(LONG lUserID, const HLX_IMAGE_SREACH& search, LONG lMaxNum, HLX_IMAGE* pImages, LONG* pNum);
    BOOL RemoteSnap(LONG lUserID, LONG lChannel);
    BOOL DownLoadPicture(LONG lUserID, const HLX_IMAGE& image, HLX_IMAGE_INFO* pImageInfo, char* pBuffer, DWORD dwSize);

    // PTZ
    BOOL PTZControl(POINTERHANDLE lLiveHandle, DWORD dwPTZCommand, DWORD dwSpeed);
    BOOL PTZControl_3D(POINTERHANDLE lLiveHandle, const PTZ_3D_POINT_INFO* pPoint);
    BOOL PTZPreset(POINTERHANDLE lLiveHandle, DWORD dwPTZPresetCmd, DWORD dwPresetIndex);
    BOOL PTZCruise(POINTERHANDLE lLiveHandle, DWORD dwPTZCruiseCmd, BYTE byCruiseRoute);
    BOOL PTZTrack(POINTERHANDLE lLiveHandle, DWORD dwPTZTrackCmd);
    BOOL PTZAutoScan(POINTERHANDLE lLiveHandle, DWORD dwPTZAutoScanCmd, DWORD dwSpeed, BOOL bIsAutoScan);
    BOOL PTZSetCruise(POINTERHANDLE lLiveHandle, BYTE byCruiseRoute, const DD_CRUISE_POINT_INFO* pCruisePoint,
                      WORD pointNum);
    BOOL PTZControl_Other(LONG lUserID, LONG lChannel, DWORD dwPTZCommand, DWORD dwSpeed);
    BOOL PTZControl_3D_Ex(LONG lUserID, LONG lChannel, const PTZ_3D_POINT_INFO* pPoint);
    BOOL PTZPreset_Other(LONG lUserID, LONG lChannel, DWORD dwPTZPresetCmd, DWORD dwPresetIndex);
    BOOL PTZCruise_Other(LONG lUserID, LONG lChannel, DWORD dwPTZCruiseCmd, BYTE byCruiseRoute);
    BOOL PTZTrack_Other(LONG lUserID, LONG lChannel, DWORD dwPTZTrackCmd);
    BOOL PTZAutoScan_Other(LONG lUserID, LONG lChannel, DWORD dwPTZAutoScanCmd, DWORD dwSpeed, BOOL bIsAutoScan);
    BOOL PTZSetCruise_Other(LONG lUserID, LONG lChannel, BYTE byCruiseRoute, const DD_CRUISE_POINT_INFO* pCruisePoint,
                            WORD pointNum);
    BOOL GetPTZConfig(LONG lUserID, LONG lChannel, DWORD dwCommand, LPVOID lpInBuffer, DWORD dwInBufferSize,
                      LPVOID lpOutBuffer, DWORD dwOutBufferSize, LPDWORD lpBytesReturned);
    BOOL GetPTZCameraType(LONG lUserID, HLX_CAMERA_TYPE* pCameraType);
    BOOL GetSupportPtzList(LONG lUserID, int listNum, HLX_CHANNEL_PTZ* pChnPTZ, int* pNum);

    // Search
    POINTERHANDLE FindRecDate(LONG lUserID);
    LONG FindNextRecDate(POINTERHANDLE lFindHandle, DD_DATE* lpRecDate);
    BOOL FindRecDateClose(POINTERHANDLE lFindHandle);
    POINTERHANDLE FindFile(LONG lUserID, LONG lChannel, const DD_TIME* lpStartTime, const DD_TIME* lpStopTime);
    LONG FindNextFile(POINTERHANDLE lFindHandle, HLX_REC_FILE* lpFindData);
    BOOL FindClose(POINTERHANDLE lFindHandle);
    POINTERHANDLE FindEvent(LONG lUserID, LONG lChannel, DWORD dwRecType, const DD_TIME* lpStartTime,
                            const DD_TIME* lpStopTime);
    LONG FindNextEvent(POINTERHANDLE lFindHandle, HLX_REC_EVENT* lpFindData);
    BOOL FindEventClose(POINTERHANDLE lFindHandle);
    POINTERHANDLE FindTime(LONG lUserID, LONG lChannel, const DD_TIME* lpStartTime, const DD_TIME* lpStopTime);
    LONG FindNextTime(POINTERHANDLE lFindHandle, HLX_REC_TIME* lpFindData);
    BOOL FindTimeClose(POINTERHANDLE lFindHandle);
    POINTERHANDLE FindDVRLog(LONG lUserID, DWORD dwType, const DD_TIME* lpStartTime, const DD_TIME* lpStopTime);
    LONG FindNextLog(POINTERHANDLE lLogHandle, LPHLX_LOG lpLogData);
    BOOL FindLogClose(POINTERHANDLE lLogHandle);
    POINTERHANDLE FindEventInfo(LONG lUserID, DWORD dwType, ULONGLONG channlMask, const DD_TIME* lpStartTime,
                                const DD_TIME* lpStopTime);
    LONG FindNextEventInfo(POINTERHANDLE lEventHandle, LPHLX_EVENT lpEventData);
    BOOL FindEventInfoClose(POINTERHANDLE lEventHandle);
    BOOL LockFile(LONG lUserID, const HLX_REC_FILE* pFileToLock, LONG fileNum);
    BOOL UnlockFile(LONG lUserID, const HLX_REC_FILE* pFileToUnlock, LONG fileNum);
    BOOL DeleteRecFile(LONG lUserID, const HLX_REC_FILE* pFileToDelete, LONG fileNum);

    // Playback and download
    POINTERHANDLE PlayBackByTime(LONG lUserID, const LONG* pChannels, LONG channelNum, const DD_TIME* lpStartTime,
                                 const DD_TIME* lpStopTime, const HWND* hWnds, BOOL bFirstStream);
    POINTERHANDLE PlayBackByTimeSync(LONG lUserID, const LONG* pChannels, LONG channelNum, const DD_TIME* lpStartTime,
                                     const DD_TIME* lpStopTime, const HWND* hWnds, BOOL bFirstStream);
    BOOL PlayBackControl(POINTERHANDLE lPlayHandle, DWORD dwControlCode, DWORD dwInValue, LPDWORD lpOutValue);
    BOOL PlayBackControlSync(DWORD dwControlCode, DWORD dwInValue, LPDWORD lpOutValue);
    BOOL StopPlayBack(POINTERHANDLE lPlayHandle);
    BOOL StopPlayBackSync();
    BOOL SetPlayDataCallBack(POINTERHANDLE lPlayHandle, PLAY_DATA_CALLBACK fPlayDataCallBack, void* pUser);
    BOOL PlayBackSaveData(POINTERHANDLE lPlayHandle, LONG lChannel, const char* sFileName);
    BOOL StopPlayBackSave(POINTERHANDLE lPlayHandle, LONG lChannel);
    BOOL GetPlayBackOsdTime(POINTERHANDLE lPlayHandle, DD_TIME* lpOsdTime);
    BOOL PlayBackCaptureFile(POINTERHANDLE lPlayHandle, LONG lChannel, const char* sFileName);
    POINTERHANDLE GetFileByTime(LONG lUserID, LONG lChannel, const DD_TIME* lpStartTime, const DD_TIME* lpStopTime,
                                const char* sSavedFileName, int recFormat, BOOL bUseCallBack,
                                BACKUP_DATA_CALLBACK fBackupDataCallBack, void* pUser, BOOL bFirstStream);
    BOOL StopGetFile(POINTERHANDLE lFileHandle);
    int GetDownloadPos(POINTERHANDLE lFileHandle);
    BOOL SaveFileToUsbByTime(LONG lUserID, const HLX_REC_FILE* pRecFile, USB_BACKUP_FORMAT eFormat);
    BOOL GetSaveFileToUsbProcess(LONG lUserID, HLX_USB_BACKUP_PROCESS_EX* pProcess, DWORD dwMaxNum, LPDWORD pNum);

    // Upgrade and disks
    POINTERHANDLE Upgrade(LONG lUserID, const char* sFileName, int fileType);
    POINTERHANDLE UpgradeIPC(LONG lUserID, const char* sFileName, int fileType);
    int GetUpgradeState(POINTERHANDLE lUpgradeHandle);
    int GetUpgradeProgress(POINTERHANDLE lUpgradeHandle);
    BOOL CloseUpgradeHandle(POINTERHANDLE lUpgradeHandle);
    POINTERHANDLE FindDisk(LONG lUserID);
    BOOL GetNextDiskInfo(POINTERHANDLE lDiskHandle, HLX_DISK_INFO* pDiskInfo);
    BOOL FindDiskClose(POINTERHANDLE lDiskHandle);
    BOOL ChangeDiskProperty(LONG lUserID, LONG lDiskNumber, short newProperty);
    POINTERHANDLE FormatDisk(LONG lUserID, LONG lDiskNumber);
    BOOL GetFormatProgress(POINTERHANDLE lFormatHandle, LONG* pCurrentFormatDisk, LONG* pCurrentDiskPos,
                           LONG* pFormatStatic);
    BOOL CloseFormatHandle(POINTERHANDLE lFormatHandle);

    // Messages, alarms, device control
    BOOL SetDVRMessageCallBack(NET_MESSAGE_CALLBACK fMessageCallBack, void* pUser);
    BOOL SetDVRMessageCallBackEx(NET_MESSAGE_CALLBACK_EX fMessageCallBack, void* pUser);
    POINTERHANDLE SetupAlarmChan(LONG lUserID);
    BOOL CloseAlarmChan(POINTERHANDLE lAlarmHandle);
    BOOL GetAlarmStatus(LONG lUserID, LPVOID lpOutBuffer, DWORD dwOutBufferSize, LPVOID lpReplyBuffer,
                        LPDWORD lpReplySize, int* pAlarmNum, BOOL bEx);
    BOOL SetDeviceManualAlarm(LONG lUserID, LONG* pAlarmOut, LONG* pValue, LONG* pAlarmNum, BOOL bAlarmOpen);
    BOOL StartDVRRecord(LONG lUserID, LONG lChannel, LONG lRecordType);
    BOOL StopDVRRecord(LONG lUserID, LONG lChannel);
    BOOL RebootDVR(LONG lUserID);
    BOOL ChangTime(LONG lUserID, UINT time);

    // Talk
    POINTERHANDLE StartVoiceCom(LONG lUserID, BOOL bNeedCBNoEncData, TALK_DATA_CALLBACK fVoiceDataCallBack,
                                void* pUser);
    BOOL SetVoiceComClientVolume(POINTERHANDLE lVoiceComHandle, WORD wVolume);
    POINTERHANDLE StartVoiceCom_MR(LONG lUserID, BOOL bNeedNoEncodeData, TALK_DATA_CALLBACK fVoiceDataCallBack,
                                   void* pUser);
    BOOL VoiceComSendData(POINTERHANDLE lVoiceComHandle, const char* pSendBuf, DWORD dwBufSize);
    BOOL GetAudioInfo(POINTERHANDLE lVoiceComHandle, LPVOID pAudioInfo, LONG infoLen);
    BOOL StopVoiceCom(POINTERHANDLE lVoiceComHandle);

    // Configuration
    LONG EnterDVRConfig(LONG lUserID);
    BOOL GetDVRConfig(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpOutBuffer, DWORD dwOutBufferSize,
                      LPDWORD lpBytesReturned, BOOL bDefault);
    BOOL GetDVRConfig_SubStreamEncodeInfo(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpOutBuffer,
                                          DWORD dwOutBufferSize, LPDWORD lpBytesReturned, BOOL bDefault);
    BOOL SetDVRConfig(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpInBuffer, DWORD dwInBufferSize);
    BOOL SetDVRConfig_SubStreamEncodeInfo(LONG lUserID, LONG lChannel, LPVOID lpInBuffer, DWORD dwInBufferSize);
    BOOL ExitDVRConfig(LONG lUserID);
    BOOL RestoreConfig(LONG lUserID);
    BOOL SaveConfig(LONG lUserID);
    BOOL ShutDownDVR(LONG lUserID);
    BOOL SetPlayerBufNumber(POINTERHANDLE lLiveHandle, DWORD dwBufNum);
    BOOL SetVideoEffect(LONG lUserID, LONG lChannel, DWORD dwBrightValue, DWORD dwContrastValue,
                        DWORD dwSaturationValue, DWORD dwHueValue);
    BOOL GetVideoEffect(LONG lUserID, LONG lChannel, LPDWORD pBrightValue, LPDWORD pContrastValue,
                        LPDWORD pSaturationValue, LPDWORD pHueValue);
    BOOL GetVideoEffect_Ex(LONG lUserID, LONG lChannel, HLX_IMAGE_EFFECT_T* pBrightValue,
                           HLX_IMAGE_EFFECT_T* pContrastValue, HLX_IMAGE_EFFECT_T* pSaturationValue,
                           HLX_IMAGE_EFFECT_T* pHueValue);
    BOOL SetVideoEffect_Ex(LONG lUserID, LONG lChannel, DWORD dwBrightValue, DWORD dwContrastValue,
                           DWORD dwSaturationValue, DWORD dwHueValue);
    BOOL SaveVideoEffect(LONG lUserID, LONG lChannel, DWORD dwBrightValue, DWORD dwContrastValue,
                         DWORD dwSaturationValue, DWORD dwHueValue);
    BOOL GetDefaultVideoEffect(LONG lUserID, LPDWORD pBrightValue, LPDWORD pContrastValue, LPDWORD pSaturationValue,
                               LPDWORD pHueValue);
    BOOL GetConfigFile(LONG lUserID, const char* sFileName);
    BOOL SetConfigFile(LONG lUserID, const char* sFileName);

    // Discovery
    int DiscoverDevice(HLX_DEVICE_DISCOVERY_INFO* pDeviceInfo, int bufNum, int waitSeconds);
    BOOL ModifyDeviceNetInfo(const HLX_DEVICE_IP_INFO* pDeviceIPInfo);
    BOOL GetDeviceIPByName(const char* sServerAddr, DWORD dwPort, const char* sName, char* sDVRIP);

    // Smart and XML pass-through
    BOOL GetIVMRuleConfig(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpOutBuffer, DWORD dwOutBufferSize,
                          LPDWORD lpBytesReturned);
    BOOL SetIVMRuleConfig(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpInBuffer, DWORD dwInBufferSize);
    BOOL SetSubscribCallBack(SUBSCRIBE_CALLBACK fSubscribCallBack, void* pUser);
    BOOL SmartSubscrib(LONG lUserID, DWORD dwCommand, LONG lChannel, NET_DVR_SUBSCRIBE_REPLY* pReply);
    BOOL UnSmartSubscrib(LONG lUserID, DWORD dwCommand, LONG lChannel, char* pServerAddress, int* pResult);
    BOOL FaceMatchOperate(LONG lUserID, DWORD dwCommand, LPVOID lpInBuffer, DWORD dwInBufferSize, LPVOID lpOutBuffer,
                          DWORD dwOutBufferSize, LPDWORD lpBytesReturned);
    BOOL ApiInterface(LONG lUserID, char* sXml, char* sUrl, LPVOID lpOutBuffer, DWORD dwOutBufferSize,
                      LPDWORD lpBytesReturned);
    BOOL TransparentConfig(LONG lUserID, char* sXml, char* sCommand, LPVOID lpOutBuffer, DWORD dwOutBufferSize,
                           LPDWORD lpBytesReturned);

private:
    struct INIT_STEP;
    static const INIT_STEP INIT_STEPS[];

    bool RunInitStep(const INIT_STEP& entry);
    bool StartMonitor();
    void Rollback();
    void QuitManagers();
    void TellCaller(ACCEPT_REGISTER_CALLBACK fCallback, LONG lUserID, LONG lRegisterID, LPHLX_DEVICEINFO pDeviceInfo);
    void SwitchLogOff();
    static void* MonitorTimeThread(void* pParam);

    CThreadState* m_pThreadState = nullptr;
    CNetDeviceMan* m_pDeviceMan = nullptr;
    CAudioCodecMan* m_pAudioCodecMan = nullptr;
    CImportExportCfg* m_pImportExortCfg = nullptr;  // spelled so
    CLiveMan m_liveMan;
    CConfigMan m_configMan;
    CDataSearchMan m_dataSearchMan;
    CPlaybackMan m_playbackMan;
    CDownloadMan m_downloadMan;
    CUpgradeMan m_upgradeMan;
    CTalkbackMan m_talkbackMan;
    CTalkTransMan m_talkTransMan;
    CDeviceMsgMan m_deviceMsgMan;
    CDiskMan m_diskMan;
    CDiscoverDevice m_discoverDevice;
    CModifyDeviceNetInfo m_modifyDevNetInfo;
    PUB_thread_t m_hMonitorTime = 0;
    bool m_bMonitoring = false;  // run flag of the monitor thread
    CWaitEvent m_monitorEnd;     // closed at Quit

    CCallbackPair<ACCEPT_REGISTER_CALLBACK> m_acceptRegister;
    CCallbackPair<ACCEPT_UNREGISTER_CALLBACK> m_acceptUnRegister;

    CPUB_Lock m_liveLock;  // one start or stop of a live stream at a time; taken before any manager's lock
    YLog4C* mYlog;
};

/// The session root; null while the library is not initialised. Only HLX_Init and HLX_Cleanup change it, and nothing
/// else may run beside them.
extern CSDKImpl* g_pSdkImpl;
