// Exported functions: upgrade, disks, messages, alarms, device control.
#include "main_utility/api/Wrappers.h"

POINTERHANDLE HLX_Upgrade(LONG lUserID, const char* sFileName) {
    return FullWrapper(__func__, POINTERHANDLE{0}, &CSDKImpl::Upgrade, lUserID, sFileName, 0);
}
POINTERHANDLE HLX_UpgradeEx(LONG lUserID, const char* sFileName) {
    return FullWrapper(__func__, POINTERHANDLE{0}, &CSDKImpl::Upgrade, lUserID, sFileName, 1);
}
POINTERHANDLE HLX_UpgradeIPC(LONG lUserID, const char* sFileName, int fileType) {
    return FullWrapper(__func__, POINTERHANDLE{0}, &CSDKImpl::UpgradeIPC, lUserID, sFileName, fileType);
}
int HLX_GetUpgradeState(POINTERHANDLE lUpgradeHandle) {
    return FullWrapper(__func__, int{0}, &CSDKImpl::GetUpgradeState, lUpgradeHandle);
}
int HLX_GetUpgradeProgress(POINTERHANDLE lUpgradeHandle) {
    return FullWrapper(__func__, int{0}, &CSDKImpl::GetUpgradeProgress, lUpgradeHandle);
}
BOOL HLX_CloseUpgradeHandle(POINTERHANDLE lUpgradeHandle) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::CloseUpgradeHandle, lUpgradeHandle);
}
POINTERHANDLE HLX_FindDisk(LONG lUserID) {
    return FullWrapper(__func__, POINTERHANDLE{0}, &CSDKImpl::FindDisk, lUserID);
}
BOOL HLX_GetNextDiskInfo(POINTERHANDLE lDiskHandle, HLX_DISK_INFO* pDiskInfo) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetNextDiskInfo, lDiskHandle, pDiskInfo);
}
BOOL HLX_FindDiskClose(POINTERHANDLE lDiskHandle) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::FindDiskClose, lDiskHandle);
}
BOOL HLX_ChangeDiskProperty(LONG lUserID, LONG lDiskNumber, short newProperty) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::ChangeDiskProperty, lUserID, lDiskNumber, newProperty);
}
POINTERHANDLE HLX_FormatDisk(LONG lUserID, LONG lDiskNumber) {
    return FullWrapper(__func__, POINTERHANDLE{0}, &CSDKImpl::FormatDisk, lUserID, lDiskNumber);
}
BOOL HLX_GetFormatProgress(POINTERHANDLE lFormatHandle, LONG* pCurrentFormatDisk, LONG* pCurrentDiskPos,
                           LONG* pFormatStatic) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetFormatProgress, lFormatHandle, pCurrentFormatDisk,
                       pCurrentDiskPos, pFormatStatic);
}
BOOL HLX_CloseFormatHandle(POINTERHANDLE lFormatHandle) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::CloseFormatHandle, lFormatHandle);
}
BOOL HLX_SetDVRMessageCallBack(NET_MESSAGE_CALLBACK fMessageCallBack, void* pUser) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SetDVRMessageCallBack, fMessageCallBack, pUser);
}
BOOL HLX_SetDVRMessageCallBackEx(NET_MESSAGE_CALLBACK_EX fMessageCallBack, void* pUser) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SetDVRMessageCallBackEx, fMessageCallBack, pUser);
}
POINTERHANDLE HLX_SetupAlarmChan(LONG lUserID) {
    return FullWrapper(__func__, POINTERHANDLE{0}, &CSDKImpl::SetupAlarmChan, lUserID);
}
BOOL HLX_CloseAlarmChan(POINTERHANDLE lAlarmHandle) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::CloseAlarmChan, lAlarmHandle);
}
BOOL HLX_GetAlarmStatus(LONG lUserID, LPVOID lpOutBuffer, DWORD dwOutBufferSize, LPVOID lpReplyBuffer,
                        LPDWORD lpReplySize) {
    int alarmNum = 0;
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetAlarmStatus, lUserID, lpOutBuffer, dwOutBufferSize,
                       lpReplyBuffer, lpReplySize, &alarmNum, false);
}
BOOL HLX_GetAlarmStatusEx(LONG lUserID, LPVOID lpOutBuffer, DWORD dwOutBufferSize, LPVOID lpReplyBuffer,
                          LPDWORD lpReplySize, int* pAlarmNum) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetAlarmStatus, lUserID, lpOutBuffer, dwOutBufferSize,
                       lpReplyBuffer, lpReplySize, pAlarmNum, true);
}
BOOL HLX_SetDeviceManualAlarm(LONG lUserID, LONG* pAlarmOut, LONG* pValue, LONG* pAlarmNum, BOOL bAlarmOpen) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SetDeviceManualAlarm, lUserID, pAlarmOut, pValue, pAlarmNum,
                       bAlarmOpen);
}
BOOL HLX_StartDVRRecord(LONG lUserID, LONG lChannel, LONG lRecordType) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::StartDVRRecord, lUserID, lChannel, lRecordType);
}
BOOL HLX_StopDVRRecord(LONG lUserID, LONG lChannel) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::StopDVRRecord, lUserID, lChannel);
}
BOOL HLX_RebootDVR(LONG lUserID) { return FullWrapper(__func__, BOOL{0}, &CSDKImpl::RebootDVR, lUserID); }
BOOL HLX_ChangTime(LONG lUserID, UINT time) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::ChangTime, lUserID, time);
}
