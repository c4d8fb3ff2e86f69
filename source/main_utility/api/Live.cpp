// Exported functions: live streams and pictures.
#include "main_utility/api/Wrappers.h"

POINTERHANDLE HLX_LivePlay(LONG lUserID, const HLX_CLIENTINFO* lpClientInfo, LIVE_DATA_CALLBACK fLiveDataCallBack,
                           void* pUser) {
    return FullWrapper(__func__, POINTERHANDLE{0}, &CSDKImpl::LivePlay, lUserID, lpClientInfo, fLiveDataCallBack,
                       pUser);
}
POINTERHANDLE HLX_LivePlayEx(LONG lUserID, const HLX_CLIENTINFO* lpClientInfo, LIVE_DATA_CALLBACK_EX fLiveDataCallBack,
                             void* pUser) {
    return FullWrapper(__func__, POINTERHANDLE{0}, &CSDKImpl::LivePlayEx, lUserID, lpClientInfo, fLiveDataCallBack,
                       pUser);
}
BOOL HLX_StopLivePlay(POINTERHANDLE lLiveHandle) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::StopLivePlay, lLiveHandle);
}
BOOL HLX_SetLiveDataCallBack(POINTERHANDLE lLiveHandle, LIVE_DATA_CALLBACK fLiveDataCallBack, void* pUser) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SetLiveDataCallBack, lLiveHandle, fLiveDataCallBack, pUser);
}
BOOL HLX_SetLiveDataCallBackEx(POINTERHANDLE lLiveHandle, LIVE_DATA_CALLBACK_EX fLiveDataCallBack, void* pUser) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SetLiveDataCallBackEx, lLiveHandle, fLiveDataCallBack, pUser);
}
BOOL HLX_SetYUVCallBack(POINTERHANDLE lLiveHandle, YUV_DATA_CALLBACK fYUVCallBack, void* pUser) {
    return SilentWrapper(__func__, BOOL{0}, &CSDKImpl::SetYUVCallBack, lLiveHandle, fYUVCallBack, pUser);
}
BOOL HLX_OpenSound(POINTERHANDLE lLiveHandle) {
    return SilentWrapper(__func__, BOOL{0}, &CSDKImpl::OpenSound, lLiveHandle);
}
BOOL HLX_CloseSound() { return SilentWrapper(__func__, BOOL{0}, &CSDKImpl::CloseSound); }
BOOL HLX_Volume(POINTERHANDLE lLiveHandle, WORD wVolume) {
    return SilentWrapper(__func__, BOOL{0}, &CSDKImpl::Volume, lLiveHandle, wVolume);
}
BOOL HLX_SaveLiveData(POINTERHANDLE lLiveHandle, const char* sFileName) {
    return SilentWrapper(__func__, BOOL{0}, &CSDKImpl::SaveLiveData, lLiveHandle, sFileName);
}
BOOL HLX_StopSaveLiveData(POINTERHANDLE lLiveHandle) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::StopSaveLiveData, lLiveHandle);
}
BOOL HLX_CapturePicture(POINTERHANDLE lLiveHandle, const char* sPicFileName) {
    return SilentWrapper(__func__, BOOL{0}, &CSDKImpl::CapturePicture, lLiveHandle, sPicFileName);
}
BOOL HLX_CapturePicture_Other(LONG lUserID, LONG lChannel, const char* sPicFileName) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::CapturePicture_Other, lUserID, lChannel, sPicFileName);
}
BOOL HLX_CaptureJPEGPicture(LONG lUserID, LONG lChannel, const HLX_JPEGPARA*, char* sJpegPicBuffer, DWORD dwPicSize,
                            LPDWORD lpSizeReturned) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::CaptureJPEGPicture, lUserID, lChannel, sJpegPicBuffer, dwPicSize,
                       lpSizeReturned);
}
BOOL HLX_MakeKeyFrame(LONG lUserID, LONG lChannel) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::MakeKeyFrame, lUserID, lChannel);
}
BOOL HLX_MakeKeyFrameSub(LONG lUserID, LONG lChannel) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::MakeKeyFrameSub, lUserID, lChannel);
}
BOOL HLX_MakeKeyFrameEx(LONG lUserID, LONG lChannel, LONG lStreamType) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::MakeKeyFrameEx, lUserID, lChannel, lStreamType);
}
BOOL HLX_GetDeviceTime(LONG lUserID, DD_TIME* lpTime) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetDeviceTime, lUserID, lpTime);
}
BOOL HLX_RegisterDrawFun(POINTERHANDLE lHandle, DRAW_FUN_CALLBACK fDrawFun, void* pUser) {
    return SilentWrapper(__func__, BOOL{0}, &CSDKImpl::RegisterDrawFun, lHandle, fDrawFun, pUser);
}
BOOL HLX_RefreshPlay(POINTERHANDLE lHandle) { return FullWrapper(__func__, BOOL{0}, &CSDKImpl::RefreshPlay, lHandle); }
BOOL HLX_CaptureJpeg(LONG lUserID, LONG lChannel, LONG lResolution, char* sJpegPicBuffer, DWORD dwPicSize,
                     LPDWORD lpSizeReturned) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::CaptureJpeg, lUserID, lChannel, lResolution, sJpegPicBuffer,
                       dwPicSize, lpSizeReturned);
}
BOOL HLX_CaptureJPEGData_V2(LONG lUserID, LONG lChannel, char* sJpegPicBuffer, DWORD dwPicSize,
                            LPDWORD lpSizeReturned) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::CaptureJPEGData_V2, lUserID, lChannel, sJpegPicBuffer, dwPicSize,
                       lpSizeReturned);
}
BOOL HLX_CaptureJPEGFile_V2(LONG lUserID, LONG lChannel, const char* sPicFileName) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::CaptureJPEGFile_V2, lUserID, lChannel, sPicFileName);
}
BOOL HLX_SearchPictures(LONG lUserID, HLX_IMAGE_SREACH search, LONG lMaxNum, HLX_IMAGE* pImages, LONG* pNum) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SearchPictures, lUserID, search, lMaxNum, pImages, pNum);
}
BOOL HLX_RemoteSnap(LONG lUserID, LONG lChannel) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::RemoteSnap, lUserID, lChannel);
}
BOOL HLX_DownLoadPicture(LONG lUserID, HLX_IMAGE image, HLX_IMAGE_INFO* pImageInfo, char* pBuffer, DWORD dwSize) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::DownLoadPicture, lUserID, image, pImageInfo, pBuffer, dwSize);
}
