#include "ApiTestSupport.h"

#include "sdk_common/ThreadState.h"

namespace {

/// Calls a function with a zero for every argument.
template <class Result, class... Params>
LONG CallWithZeroes(Result (*function)(Params...)) {
    return static_cast<LONG>(function(Params{}...));
}

struct CALL {
    const char* pName;
    std::function<LONG()> call;
};

#define ROW(function)                                      \
    {                                                      \
#function, [] { return CallWithZeroes(function); } \
    }

void Append(std::vector<EXPORT_ROW>& rows, FORM form, LONG noRoot, const std::vector<CALL>& calls) {
    for (const CALL& entry : calls) rows.push_back({entry.pName, form, noRoot, entry.call});
}

std::vector<EXPORT_ROW> MakeRows() {
    std::vector<EXPORT_ROW> rows;
    // clang-format off
    Append(rows, FORM::FULL, -1, {
        ROW(HLX_Login), ROW(HLX_LoginEx), ROW(HLX_FindRecDate), ROW(HLX_FindFile), ROW(HLX_FindEvent),
        ROW(HLX_FindTime), ROW(HLX_FindNextRecDate), ROW(HLX_FindNextFile), ROW(HLX_FindNextEvent),
        ROW(HLX_FindNextTime),
    });
    Append(rows, FORM::FULL, 0, {
        ROW(HLX_Logout), ROW(HLX_SetReconnect), ROW(HLX_SetSDKMessageCallBack), ROW(HLX_SetNat2Addr),
        ROW(HLX_SetRegisterPort), ROW(HLX_AddRegisterDeviceInfo), ROW(HLX_SetRegisterCallback),
        ROW(HLX_SetUnRegisterCallback), ROW(HLX_GetDeviceInfo), ROW(HLX_GetDeviceTypeName),
        ROW(HLX_GetDeviceIPCInfo), ROW(HLX_GetDeviceCHStatus), ROW(HLX_GetDeviceCHSupportFunction),
        ROW(HLX_GetDeviceSupportFunction), ROW(HLX_GetRtspUrl), ROW(HLX_GetSha1Encrypt), ROW(HLX_GetVehicleConfig),
        ROW(HLX_LivePlay), ROW(HLX_LivePlayEx), ROW(HLX_StopLivePlay), ROW(HLX_SetLiveDataCallBack),
        ROW(HLX_SetLiveDataCallBackEx), ROW(HLX_StopSaveLiveData), ROW(HLX_CapturePicture_Other),
        ROW(HLX_CaptureJPEGPicture), ROW(HLX_MakeKeyFrame), ROW(HLX_MakeKeyFrameSub), ROW(HLX_MakeKeyFrameEx),
        ROW(HLX_GetDeviceTime), ROW(HLX_RefreshPlay), ROW(HLX_CaptureJpeg), ROW(HLX_CaptureJPEGData_V2),
        ROW(HLX_CaptureJPEGFile_V2), ROW(HLX_SearchPictures), ROW(HLX_RemoteSnap), ROW(HLX_DownLoadPicture),
        ROW(HLX_PTZControl), ROW(HLX_PTZControl_3D), ROW(HLX_PTZPreset), ROW(HLX_PTZCruise), ROW(HLX_PTZTrack),
        ROW(HLX_PTZAutoScan), ROW(HLX_PTZSetCruise), ROW(HLX_PTZControl_Other), ROW(HLX_PTZControl_3D_Ex),
        ROW(HLX_PTZPreset_Other), ROW(HLX_PTZCruise_Other), ROW(HLX_PTZTrack_Other), ROW(HLX_PTZAutoScan_Other),
        ROW(HLX_PTZSetCruise_Other), ROW(HLX_GetPTZConfig), ROW(HLX_GetPTZCameraType), ROW(HLX_GetSupportPtzList),
        ROW(HLX_FindRecDateClose), ROW(HLX_FindClose), ROW(HLX_FindEventClose), ROW(HLX_FindTimeClose),
        ROW(HLX_LockFile), ROW(HLX_UnlockFile), ROW(HLX_DeleteRecFile), ROW(HLX_FindDVRLog), ROW(HLX_FindNextLog),
        ROW(HLX_FindLogClose), ROW(HLX_FindEventInfo), ROW(HLX_FindNextEventInfo), ROW(HLX_FindEventInfoClose),
        ROW(HLX_PlayBackByTime), ROW(HLX_PlayBackByTimeEx), ROW(HLX_PlayBackByTimeSync), ROW(HLX_PlayBackControl),
        ROW(HLX_PlayBackControlSync), ROW(HLX_StopPlayBack), ROW(HLX_StopPlayBackSync), ROW(HLX_SetPlayDataCallBack),
        ROW(HLX_StopGetFile), ROW(HLX_GetDownloadPos), ROW(HLX_GetSaveFileToUsbProcess), ROW(HLX_Upgrade),
        ROW(HLX_UpgradeEx), ROW(HLX_UpgradeIPC), ROW(HLX_GetUpgradeState), ROW(HLX_GetUpgradeProgress),
        ROW(HLX_CloseUpgradeHandle), ROW(HLX_FindDisk), ROW(HLX_GetNextDiskInfo), ROW(HLX_FindDiskClose),
        ROW(HLX_ChangeDiskProperty), ROW(HLX_FormatDisk), ROW(HLX_GetFormatProgress), ROW(HLX_CloseFormatHandle),
        ROW(HLX_SetDVRMessageCallBack), ROW(HLX_SetDVRMessageCallBackEx), ROW(HLX_SetupAlarmChan),
        ROW(HLX_CloseAlarmChan), ROW(HLX_GetAlarmStatus), ROW(HLX_GetAlarmStatusEx), ROW(HLX_SetDeviceManualAlarm),
        ROW(HLX_StartDVRRecord), ROW(HLX_StopDVRRecord), ROW(HLX_RebootDVR), ROW(HLX_ChangTime),
        ROW(HLX_StartVoiceCom), ROW(HLX_SetVoiceComClientVolume), ROW(HLX_StartVoiceCom_MR),
        ROW(HLX_VoiceComSendData), ROW(HLX_GetAudioInfo), ROW(HLX_StopVoiceCom), ROW(HLX_GetDVRConfig),
        ROW(HLX_GetDVRConfig_SubStreamEncodeInfo), ROW(HLX_GetDVRConfig_SubStreamEncodeInfo_Ex),
        ROW(HLX_SetDVRConfig), ROW(HLX_SetDVRConfig_SubStreamEncodeInfo), ROW(HLX_ExitDVRConfig),
        ROW(HLX_RestoreConfig), ROW(HLX_SaveConfig), ROW(HLX_ShutDownDVR), ROW(HLX_SetVideoEffect),
        ROW(HLX_GetVideoEffect), ROW(HLX_GetVideoEffect_Ex), ROW(HLX_SetVideoEffect_Ex), ROW(HLX_SaveVideoEffect),
        ROW(HLX_GetDefaultVideoEffect), ROW(HLX_GetConfigFile), ROW(HLX_SetConfigFile), ROW(HLX_GetDeviceIPByName),
        ROW(HLX_GetIVMRuleConfig), ROW(HLX_SetIVMRuleConfig), ROW(HLX_SetSubscribCallBack), ROW(HLX_SmartSubscrib),
        ROW(HLX_UnSmartSubscrib), ROW(HLX_FaceMatchOperate), ROW(HLX_ApiInterface), ROW(HLX_TransparentConfig),
    });
    Append(rows, FORM::SILENT, 0, {
        ROW(HLX_GetDeviceFirmwareType), ROW(HLX_RegisterDrawFun), ROW(HLX_SetYUVCallBack),
        ROW(HLX_SetPlayerBufNumber), ROW(HLX_OpenSound), ROW(HLX_CloseSound), ROW(HLX_Volume), ROW(HLX_SaveLiveData),
        ROW(HLX_CapturePicture), ROW(HLX_PlayBackSaveData), ROW(HLX_StopPlayBackSave), ROW(HLX_PlayBackCaptureFile),
        ROW(HLX_SupportStreamNum),
    });
    Append(rows, FORM::KEEP_ERROR, 0, {
        ROW(HLX_SetConnectTime), ROW(HLX_GetPlayBackOsdTime), ROW(HLX_GetFileByTime), ROW(HLX_GetFileByTimeEx),
    });
    Append(rows, FORM::DIRECT, 0, {
        ROW(HLX_DiscoverDevice), ROW(HLX_ModifyDeviceNetInfo), ROW(HLX_GetProductSubID), ROW(HLX_GetFileByTimeExV2),
        ROW(HLX_SaveFileToUsbByTime),
    });
    Append(rows, FORM::CODEC, -1, {
        ROW(HLX_InitAudioDecoder), ROW(HLX_DecodeAudioFrame), ROW(HLX_InitAudioEncoder), ROW(HLX_EncodeAudioFrame),
    });
    // clang-format on
    Append(rows, FORM::FULL, -4, {ROW(HLX_EnterDVRConfig)});
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
