// Exported functions: playback, download, USB backup.
#include "main_utility/api/Wrappers.h"

POINTERHANDLE HLX_PlayBackByTime(LONG lUserID, const LONG* pChannels, LONG channelNum, const DD_TIME* lpStartTime,
                                 const DD_TIME* lpStopTime, const HWND* hWnds) {
    return FullWrapper(__func__, POINTERHANDLE{0}, &CSDKImpl::PlayBackByTime, lUserID, pChannels, channelNum,
                       lpStartTime, lpStopTime, hWnds, true);
}
POINTERHANDLE HLX_PlayBackByTimeEx(LONG lUserID, const LONG* pChannels, LONG channelNum, const DD_TIME* lpStartTime,
                                   const DD_TIME* lpStopTime, const HWND* hWnds, BOOL bFirstStream) {
    return FullWrapper(__func__, POINTERHANDLE{0}, &CSDKImpl::PlayBackByTime, lUserID, pChannels, channelNum,
                       lpStartTime, lpStopTime, hWnds, bFirstStream);
}
POINTERHANDLE HLX_PlayBackByTimeSync(LONG lUserID, const LONG* pChannels, LONG channelNum, const DD_TIME* lpStartTime,
                                     const DD_TIME* lpStopTime, const HWND* hWnds, BOOL bFirstStream) {
    return FullWrapper(__func__, POINTERHANDLE{0}, &CSDKImpl::PlayBackByTimeSync, lUserID, pChannels, channelNum,
                       lpStartTime, lpStopTime, hWnds, bFirstStream);
}
BOOL HLX_PlayBackControl(POINTERHANDLE lPlayHandle, DWORD dwControlCode, DWORD dwInValue, LPDWORD lpOutValue) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::PlayBackControl, lPlayHandle, dwControlCode, dwInValue,
                       lpOutValue);
}
BOOL HLX_PlayBackControlSync(DWORD dwControlCode, DWORD dwInValue, LPDWORD lpOutValue) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::PlayBackControlSync, dwControlCode, dwInValue, lpOutValue);
}
BOOL HLX_StopPlayBack(POINTERHANDLE lPlayHandle) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::StopPlayBack, lPlayHandle);
}
BOOL HLX_StopPlayBackSync() { return FullWrapper(__func__, BOOL{0}, &CSDKImpl::StopPlayBackSync); }
BOOL HLX_SetPlayDataCallBack(POINTERHANDLE lPlayHandle, PLAY_DATA_CALLBACK fPlayDataCallBack, void* pUser) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SetPlayDataCallBack, lPlayHandle, fPlayDataCallBack, pUser);
}
BOOL HLX_PlayBackSaveData(POINTERHANDLE lPlayHandle, LONG lChannel, const char* sFileName) {
    return SilentWrapper(__func__, BOOL{0}, &CSDKImpl::PlayBackSaveData, lPlayHandle, lChannel, sFileName);
}
BOOL HLX_StopPlayBackSave(POINTERHANDLE lPlayHandle, LONG lChannel) {
    return SilentWrapper(__func__, BOOL{0}, &CSDKImpl::StopPlayBackSave, lPlayHandle, lChannel);
}
BOOL HLX_GetPlayBackOsdTime(POINTERHANDLE lPlayHandle, DD_TIME* lpOsdTime) {
    return KeepErrorWrapper(__func__, BOOL{0}, &CSDKImpl::GetPlayBackOsdTime, lPlayHandle, lpOsdTime);
}
BOOL HLX_PlayBackCaptureFile(POINTERHANDLE lPlayHandle, LONG lChannel, const char* sFileName) {
    return SilentWrapper(__func__, BOOL{0}, &CSDKImpl::PlayBackCaptureFile, lPlayHandle, lChannel, sFileName);
}
POINTERHANDLE HLX_GetFileByTime(LONG lUserID, LONG lChannel, const DD_TIME* lpStartTime, const DD_TIME* lpStopTime,
                                const char* sSavedFileName) {
    return KeepErrorWrapper(__func__, POINTERHANDLE{0}, &CSDKImpl::GetFileByTime, lUserID, lChannel, lpStartTime,
                            lpStopTime, sSavedFileName, 1, false, nullptr, nullptr, true);
}
POINTERHANDLE HLX_GetFileByTimeEx(LONG lUserID, LONG lChannel, const DD_TIME* lpStartTime, const DD_TIME* lpStopTime,
                                  const char* sSavedFileName, BOOL bCustomFormat, BOOL bUseCallBack,
                                  BACKUP_DATA_CALLBACK fBackupDataCallBack, void* pUser) {
    return KeepErrorWrapper(__func__, POINTERHANDLE{0}, &CSDKImpl::GetFileByTime, lUserID, lChannel, lpStartTime,
                            lpStopTime, sSavedFileName, bCustomFormat, bUseCallBack, fBackupDataCallBack, pUser, true);
}
POINTERHANDLE HLX_GetFileByTimeExV2(LONG lUserID, LONG lChannel, const DD_TIME* lpStartTime, const DD_TIME* lpStopTime,
                                    const char* sSavedFileName, int recFormat, BOOL bFirstStream, BOOL bUseCallBack,
                                    BACKUP_DATA_CALLBACK fBackupDataCallBack, void* pUser) {
    return DirectWrapper(POINTERHANDLE{0}, &CSDKImpl::GetFileByTime, lUserID, lChannel, lpStartTime, lpStopTime,
                         sSavedFileName, recFormat, bUseCallBack, fBackupDataCallBack, pUser, bFirstStream);
}
BOOL HLX_StopGetFile(POINTERHANDLE lFileHandle) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::StopGetFile, lFileHandle);
}
int HLX_GetDownloadPos(POINTERHANDLE lFileHandle) {
    return FullWrapper(__func__, int{0}, &CSDKImpl::GetDownloadPos, lFileHandle);
}
BOOL HLX_SaveFileToUsbByTime(LONG lUserID, const HLX_REC_FILE* pRecFile, USB_BACKUP_FORMAT eFormat) {
    return DirectWrapper(BOOL{0}, &CSDKImpl::SaveFileToUsbByTime, lUserID, pRecFile, eFormat);
}
BOOL HLX_GetSaveFileToUsbProcess(LONG lUserID, HLX_USB_BACKUP_PROCESS_EX* pProcess, DWORD dwMaxNum, LPDWORD pNum) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetSaveFileToUsbProcess, lUserID, pProcess, dwMaxNum, pNum);
}
BOOL HLX_StopSaveFileToUsb(LONG) { return 0; }
