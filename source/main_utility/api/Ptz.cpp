// Exported functions: PTZ.
#include "main_utility/api/Wrappers.h"

BOOL HLX_PTZControl(POINTERHANDLE lLiveHandle, DWORD dwPTZCommand, DWORD dwSpeed) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::PTZControl, lLiveHandle, dwPTZCommand, dwSpeed);
}
BOOL HLX_PTZControl_3D(POINTERHANDLE lLiveHandle, const PTZ_3D_POINT_INFO* pPoint) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::PTZControl_3D, lLiveHandle, pPoint);
}
BOOL HLX_PTZPreset(POINTERHANDLE lLiveHandle, DWORD dwPTZPresetCmd, DWORD dwPresetIndex) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::PTZPreset, lLiveHandle, dwPTZPresetCmd, dwPresetIndex);
}
BOOL HLX_PTZCruise(POINTERHANDLE lLiveHandle, DWORD dwPTZCruiseCmd, BYTE byCruiseRoute) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::PTZCruise, lLiveHandle, dwPTZCruiseCmd, byCruiseRoute);
}
BOOL HLX_PTZTrack(POINTERHANDLE lLiveHandle, DWORD dwPTZTrackCmd) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::PTZTrack, lLiveHandle, dwPTZTrackCmd);
}
BOOL HLX_PTZAutoScan(POINTERHANDLE lLiveHandle, DWORD dwPTZAutoScanCmd, DWORD dwSpeed, BOOL bIsAutoScan) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::PTZAutoScan, lLiveHandle, dwPTZAutoScanCmd, dwSpeed, bIsAutoScan);
}
BOOL HLX_PTZSetCruise(POINTERHANDLE lLiveHandle, BYTE byCruiseRoute, const DD_CRUISE_POINT_INFO* pCruisePoint,
                      WORD pointNum) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::PTZSetCruise, lLiveHandle, byCruiseRoute, pCruisePoint, pointNum);
}
BOOL HLX_PTZControl_Other(LONG lUserID, LONG lChannel, DWORD dwPTZCommand, DWORD dwSpeed) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::PTZControl_Other, lUserID, lChannel, dwPTZCommand, dwSpeed);
}
BOOL HLX_PTZControl_3D_Ex(LONG lUserID, LONG lChannel, const PTZ_3D_POINT_INFO* pPoint) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::PTZControl_3D_Ex, lUserID, lChannel, pPoint);
}
BOOL HLX_PTZPreset_Other(LONG lUserID, LONG lChannel, DWORD dwPTZPresetCmd, DWORD dwPresetIndex) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::PTZPreset_Other, lUserID, lChannel, dwPTZPresetCmd, dwPresetIndex);
}
BOOL HLX_PTZCruise_Other(LONG lUserID, LONG lChannel, DWORD dwPTZCruiseCmd, BYTE byCruiseRoute) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::PTZCruise_Other, lUserID, lChannel, dwPTZCruiseCmd, byCruiseRoute);
}
BOOL HLX_PTZTrack_Other(LONG lUserID, LONG lChannel, DWORD dwPTZTrackCmd) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::PTZTrack_Other, lUserID, lChannel, dwPTZTrackCmd);
}
BOOL HLX_PTZAutoScan_Other(LONG lUserID, LONG lChannel, DWORD dwPTZAutoScanCmd, DWORD dwSpeed, BOOL bIsAutoScan) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::PTZAutoScan_Other, lUserID, lChannel, dwPTZAutoScanCmd, dwSpeed,
                       bIsAutoScan);
}
BOOL HLX_PTZSetCruise_Other(LONG lUserID, LONG lChannel, BYTE byCruiseRoute, const DD_CRUISE_POINT_INFO* pCruisePoint,
                            WORD pointNum) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::PTZSetCruise_Other, lUserID, lChannel, byCruiseRoute, pCruisePoint,
                       pointNum);
}
BOOL HLX_GetPTZConfig(LONG lUserID, LONG lChannel, DWORD dwCommand, LPVOID lpInBuffer, DWORD dwInBufferSize,
                      LPVOID lpOutBuffer, DWORD dwOutBufferSize, LPDWORD lpBytesReturned) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetPTZConfig, lUserID, lChannel, dwCommand, lpInBuffer,
                       dwInBufferSize, lpOutBuffer, dwOutBufferSize, lpBytesReturned);
}
BOOL HLX_GetPTZCameraType(LONG lUserID, HLX_CAMERA_TYPE* pCameraType) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetPTZCameraType, lUserID, pCameraType);
}
BOOL HLX_GetSupportPtzList(LONG lUserID, int listNum, HLX_CHANNEL_PTZ* pChnPTZ, int* pNum) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetSupportPtzList, lUserID, listNum, pChnPTZ, pNum);
}
