// Exported functions: smart functions and pass-through.
#include "main_utility/api/Wrappers.h"

BOOL HLX_GetIVMRuleConfig(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpOutBuffer, DWORD dwOutBufferSize,
                          LPDWORD lpBytesReturned) {
    return UntimedWrapper(BOOL{0}, &CSDKImpl::GetIVMRuleConfig, lUserID, dwCommand, lChannel, lpOutBuffer,
                          dwOutBufferSize, lpBytesReturned);
}
BOOL HLX_SetIVMRuleConfig(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpInBuffer, DWORD dwInBufferSize) {
    return UntimedWrapper(BOOL{0}, &CSDKImpl::SetIVMRuleConfig, lUserID, dwCommand, lChannel, lpInBuffer,
                          dwInBufferSize);
}
BOOL HLX_SetSubscribCallBack(SUBSCRIBE_CALLBACK fSubscribCallBack, void* pUser) {
    return UntimedWrapper(BOOL{0}, &CSDKImpl::SetSubscribCallBack, fSubscribCallBack, pUser);
}
BOOL HLX_SmartSubscrib(LONG lUserID, DWORD dwCommand, LONG lChannel, NET_DVR_SUBSCRIBE_REPLY* pReply) {
    return UntimedWrapper(BOOL{0}, &CSDKImpl::SmartSubscrib, lUserID, dwCommand, lChannel, pReply);
}
BOOL HLX_UnSmartSubscrib(LONG lUserID, DWORD dwCommand, LONG lChannel, char* pServerAddress, int* pResult) {
    return UntimedWrapper(BOOL{0}, &CSDKImpl::UnSmartSubscrib, lUserID, dwCommand, lChannel, pServerAddress, pResult);
}
BOOL HLX_FaceMatchOperate(LONG lUserID, DWORD dwCommand, LPVOID lpInBuffer, DWORD dwInBufferSize, LPVOID lpOutBuffer,
                          DWORD dwOutBufferSize, LPDWORD lpBytesReturned) {
    return UntimedWrapper(BOOL{0}, &CSDKImpl::FaceMatchOperate, lUserID, dwCommand, lpInBuffer, dwInBufferSize,
                          lpOutBuffer, dwOutBufferSize, lpBytesReturned);
}
BOOL HLX_ApiInterface(LONG lUserID, char* sXml, char* sUrl, LPVOID lpOutBuffer, DWORD dwOutBufferSize,
                      LPDWORD lpBytesReturned) {
    return UntimedWrapper(BOOL{0}, &CSDKImpl::ApiInterface, lUserID, sXml, sUrl, lpOutBuffer, dwOutBufferSize,
                          lpBytesReturned);
}
BOOL HLX_TransparentConfig(LONG lUserID, char* sXml, char* sCommand, LPVOID lpOutBuffer, DWORD dwOutBufferSize,
                           LPDWORD lpBytesReturned) {
    return UntimedWrapper(BOOL{0}, &CSDKImpl::TransparentConfig, lUserID, sXml, sCommand, lpOutBuffer, dwOutBufferSize,
                          lpBytesReturned);
}
