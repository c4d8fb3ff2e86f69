// Exported functions: configuration.
#include "main_utility/api/Wrappers.h"

namespace {

// The sub stream's encoder settings in the short and the long form.
constexpr DWORD ITEM_SUB_STREAM = 1029;
constexpr DWORD ITEM_SUB_STREAM_EX = 62469;

}  // namespace

LONG HLX_EnterDVRConfig(LONG lUserID) { return FullWrapper(__func__, LONG{-4}, &CSDKImpl::EnterDVRConfig, lUserID); }
BOOL HLX_GetDVRConfig(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpOutBuffer, DWORD dwOutBufferSize,
                      LPDWORD lpBytesReturned, BOOL bDefault) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetDVRConfig, lUserID, dwCommand, lChannel, lpOutBuffer,
                       dwOutBufferSize, lpBytesReturned, bDefault);
}
BOOL HLX_GetDVRConfig_SubStreamEncodeInfo(LONG lUserID, DWORD, LONG lChannel, LPVOID lpOutBuffer, DWORD dwOutBufferSize,
                                          LPDWORD lpBytesReturned, BOOL bDefault) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetDVRConfig_SubStreamEncodeInfo, lUserID, ITEM_SUB_STREAM,
                       lChannel, lpOutBuffer, dwOutBufferSize, lpBytesReturned, bDefault);
}
BOOL HLX_GetDVRConfig_SubStreamEncodeInfo_Ex(LONG lUserID, DWORD, LONG lChannel, LPVOID lpOutBuffer,
                                             DWORD dwOutBufferSize, LPDWORD lpBytesReturned, BOOL bDefault) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetDVRConfig_SubStreamEncodeInfo, lUserID, ITEM_SUB_STREAM_EX,
                       lChannel, lpOutBuffer, dwOutBufferSize, lpBytesReturned, bDefault);
}
BOOL HLX_SetDVRConfig(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpInBuffer, DWORD dwInBufferSize) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SetDVRConfig, lUserID, dwCommand, lChannel, lpInBuffer,
                       dwInBufferSize);
}
BOOL HLX_SetDVRConfig_SubStreamEncodeInfo(LONG lUserID, LONG lChannel, LPVOID lpInBuffer, DWORD dwInBufferSize) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SetDVRConfig_SubStreamEncodeInfo, lUserID, lChannel, lpInBuffer,
                       dwInBufferSize);
}
BOOL HLX_ExitDVRConfig(LONG lUserID) { return FullWrapper(__func__, BOOL{0}, &CSDKImpl::ExitDVRConfig, lUserID); }
BOOL HLX_RestoreConfig(LONG lUserID) { return FullWrapper(__func__, BOOL{0}, &CSDKImpl::RestoreConfig, lUserID); }
BOOL HLX_SaveConfig(LONG lUserID) { return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SaveConfig, lUserID); }
BOOL HLX_ShutDownDVR(LONG lUserID) { return FullWrapper(__func__, BOOL{0}, &CSDKImpl::ShutDownDVR, lUserID); }
BOOL HLX_SetPlayerBufNumber(POINTERHANDLE lLiveHandle, DWORD dwBufNum) {
    return SilentWrapper(__func__, BOOL{0}, &CSDKImpl::SetPlayerBufNumber, lLiveHandle, dwBufNum);
}
BOOL HLX_SetVideoEffect(LONG lUserID, LONG lChannel, DWORD dwBrightValue, DWORD dwContrastValue,
                        DWORD dwSaturationValue, DWORD dwHueValue) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SetVideoEffect, lUserID, lChannel, dwBrightValue, dwContrastValue,
                       dwSaturationValue, dwHueValue);
}
BOOL HLX_GetVideoEffect(LONG lUserID, LONG lChannel, LPDWORD pBrightValue, LPDWORD pContrastValue,
                        LPDWORD pSaturationValue, LPDWORD pHueValue) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetVideoEffect, lUserID, lChannel, pBrightValue, pContrastValue,
                       pSaturationValue, pHueValue);
}
BOOL HLX_GetVideoEffect_Ex(LONG lUserID, LONG lChannel, HLX_IMAGE_EFFECT_T* pBrightValue,
                           HLX_IMAGE_EFFECT_T* pContrastValue, HLX_IMAGE_EFFECT_T* pSaturationValue,
                           HLX_IMAGE_EFFECT_T* pHueValue) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetVideoEffect_Ex, lUserID, lChannel, pBrightValue, pContrastValue,
                       pSaturationValue, pHueValue);
}
BOOL HLX_SetVideoEffect_Ex(LONG lUserID, LONG lChannel, DWORD dwBrightValue, DWORD dwContrastValue,
                           DWORD dwSaturationValue, DWORD dwHueValue) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SetVideoEffect_Ex, lUserID, lChannel, dwBrightValue,
                       dwContrastValue, dwSaturationValue, dwHueValue);
}
BOOL HLX_SaveVideoEffect(LONG lUserID, LONG lChannel, DWORD dwBrightValue, DWORD dwContrastValue,
                         DWORD dwSaturationValue, DWORD dwHueValue) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SaveVideoEffect, lUserID, lChannel, dwBrightValue, dwContrastValue,
                       dwSaturationValue, dwHueValue);
}
BOOL HLX_GetDefaultVideoEffect(LONG lUserID, LPDWORD pBrightValue, LPDWORD pContrastValue, LPDWORD pSaturationValue,
                               LPDWORD pHueValue) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetDefaultVideoEffect, lUserID, pBrightValue, pContrastValue,
                       pSaturationValue, pHueValue);
}
BOOL HLX_GetConfigFile(LONG lUserID, const char* sFileName) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetConfigFile, lUserID, sFileName);
}
BOOL HLX_SetConfigFile(LONG lUserID, const char* sFileName) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SetConfigFile, lUserID, sFileName);
}
