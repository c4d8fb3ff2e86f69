#include "ApiTestSupport.h"

#include "sdk_common/ThreadState.h"

namespace {

/// Calls a function with a zero for every argument.
template <class Result, class... Params>
LONG CallWithZeroes(Result (*function)(Params...)) {
    return static_cast<LONG>(function(Params{}...));
}

/// Rows for functions of one form; `pNames` holds their names with commas between.
template <class... Functions>
void Append(std::vector<EXPORT_ROW>& rows, FORM form, LONG noRoot, const char* pNames, Functions... functions) {
    std::istringstream names(pNames);
    const auto append = [&](auto function) {
        std::string sName;
        std::getline(names >> std::ws, sName, ',');
        rows.push_back({sName, form, noRoot, [function] { return CallWithZeroes(function); }});
    };
    (append(functions), ...);
}

#define NAMED(...) #__VA_ARGS__, __VA_ARGS__

std::vector<EXPORT_ROW> MakeRows() {
    std::vector<EXPORT_ROW> rows;
    Append(rows, FORM::FULL, -1,
           NAMED(HLX_Login, HLX_LoginEx, HLX_FindRecDate, HLX_FindFile, HLX_FindEvent, HLX_FindTime,
                 HLX_FindNextRecDate, HLX_FindNextFile, HLX_FindNextEvent, HLX_FindNextTime));
    Append(
        rows, FORM::FULL, 0,
        NAMED(HLX_Logout, HLX_SetReconnect, HLX_SetSDKMessageCallBack, HLX_SetNat2Addr, HLX_SetRegisterPort,
              HLX_AddRegisterDeviceInfo, HLX_SetRegisterCallback, HLX_SetUnRegisterCallback, HLX_GetDeviceInfo,
              HLX_GetDeviceTypeName, HLX_GetDeviceIPCInfo, HLX_GetDeviceCHStatus, HLX_GetDeviceCHSupportFunction,
              HLX_GetDeviceSupportFunction, HLX_GetRtspUrl, HLX_GetSha1Encrypt, HLX_GetVehicleConfig, HLX_LivePlay,
              HLX_LivePlayEx, HLX_StopLivePlay, HLX_SetLiveDataCallBack, HLX_SetLiveDataCallBackEx,
              HLX_StopSaveLiveData, HLX_CapturePicture_Other, HLX_CaptureJPEGPicture, HLX_MakeKeyFrame,
              HLX_MakeKeyFrameSub, HLX_MakeKeyFrameEx, HLX_GetDeviceTime, HLX_RefreshPlay, HLX_CaptureJpeg,
              HLX_CaptureJPEGData_V2, HLX_CaptureJPEGFile_V2, HLX_SearchPictures, HLX_RemoteSnap, HLX_DownLoadPicture,
              HLX_PTZControl, HLX_PTZControl_3D, HLX_PTZPreset, HLX_PTZCruise, HLX_PTZTrack, HLX_PTZAutoScan,
              HLX_PTZSetCruise, HLX_PTZControl_Other, HLX_PTZControl_3D_Ex, HLX_PTZPreset_Other, HLX_PTZCruise_Other,
              HLX_PTZTrack_Other, HLX_PTZAutoScan_Other, HLX_PTZSetCruise_Other, HLX_GetPTZConfig, HLX_GetPTZCameraType,
              HLX_GetSupportPtzList, HLX_FindRecDateClose, HLX_FindClose, HLX_FindEventClose, HLX_FindTimeClose,
              HLX_LockFile, HLX_UnlockFile, HLX_DeleteRecFile, HLX_FindDVRLog, HLX_FindNextLog, HLX_FindLogClose,
              HLX_FindEventInfo, HLX_FindNextEventInfo, HLX_FindEventInfoClose, HLX_PlayBackByTime,
              HLX_PlayBackByTimeEx, HLX_PlayBackByTimeSync, HLX_PlayBackControl, HLX_PlayBackControlSync,
              HLX_StopPlayBack, HLX_StopPlayBackSync, HLX_SetPlayDataCallBack, HLX_StopGetFile, HLX_GetDownloadPos,
              HLX_GetSaveFileToUsbProcess, HLX_Upgrade, HLX_UpgradeEx, HLX_UpgradeIPC, HLX_GetUpgradeState,
              HLX_GetUpgradeProgress, HLX_CloseUpgradeHandle, HLX_FindDisk, HLX_GetNextDiskInfo, HLX_FindDiskClose,
              HLX_ChangeDiskProperty, HLX_FormatDisk, HLX_GetFormatProgress, HLX_CloseFormatHandle,
              HLX_SetDVRMessageCallBack, HLX_SetDVRMessageCallBackEx, HLX_SetupAlarmChan, HLX_CloseAlarmChan,
              HLX_GetAlarmStatus, HLX_GetAlarmStatusEx, HLX_SetDeviceManualAlarm, HLX_StartDVRRecord, HLX_StopDVRRecord,
              HLX_RebootDVR, HLX_ChangTime, HLX_StartVoiceCom, HLX_SetVoiceComClientVolume, HLX_StartVoiceCom_MR,
              HLX_VoiceComSendData, HLX_GetAudioInfo, HLX_StopVoiceCom, HLX_GetDVRConfig,
              HLX_GetDVRConfig_SubStreamEncodeInfo, HLX_GetDVRConfig_SubStreamEncodeInfo_Ex, HLX_SetDVRConfig,
              HLX_SetDVRConfig_SubStreamEncodeInfo, HLX_ExitDVRConfig, HLX_RestoreConfig, HLX_SaveConfig,
              HLX_ShutDownDVR, HLX_SetVideoEffect, HLX_GetVideoEffect, HLX_GetVideoEffect_Ex, HLX_SetVideoEffect_Ex,
              HLX_SaveVideoEffect, HLX_GetDefaultVideoEffect, HLX_GetConfigFile, HLX_SetConfigFile,
              HLX_GetDeviceIPByName, HLX_GetIVMRuleConfig, HLX_SetIVMRuleConfig, HLX_SetSubscribCallBack,
              HLX_SmartSubscrib, HLX_UnSmartSubscrib, HLX_FaceMatchOperate, HLX_ApiInterface, HLX_TransparentConfig));
    Append(rows, FORM::SILENT, 0,
           NAMED(HLX_GetDeviceFirmwareType, HLX_RegisterDrawFun, HLX_SetYUVCallBack, HLX_SetPlayerBufNumber,
                 HLX_OpenSound, HLX_CloseSound, HLX_Volume, HLX_SaveLiveData, HLX_CapturePicture, HLX_PlayBackSaveData,
                 HLX_StopPlayBackSave, HLX_PlayBackCaptureFile, HLX_SupportStreamNum));
    Append(rows, FORM::KEEP_ERROR, 0,
           NAMED(HLX_SetConnectTime, HLX_GetPlayBackOsdTime, HLX_GetFileByTime, HLX_GetFileByTimeEx));
    Append(rows, FORM::DIRECT, 0,
           NAMED(HLX_DiscoverDevice, HLX_ModifyDeviceNetInfo, HLX_GetProductSubID, HLX_GetFileByTimeExV2,
                 HLX_SaveFileToUsbByTime));
    Append(rows, FORM::CODEC, -1,
           NAMED(HLX_InitAudioDecoder, HLX_DecodeAudioFrame, HLX_InitAudioEncoder, HLX_EncodeAudioFrame));
    Append(rows, FORM::FULL, -4, NAMED(HLX_EnterDVRConfig));
    return rows;
}

}  // namespace

const std::vector<EXPORT_ROW>& ExportRows() {
    static const std::vector<EXPORT_ROW> rows = MakeRows();
    return rows;
}

LONG StoredError() {
    LONG error = -1;
    HLX_GetErrorMsg(&error);
    return error;
}

void StoreError(DWORD error) { CThreadState::Instance()->SetLastError(error); }
