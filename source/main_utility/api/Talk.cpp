// Exported functions: talk and audio codecs.
#include "main_utility/api/Wrappers.h"

POINTERHANDLE HLX_StartVoiceCom(LONG lUserID, BOOL bNeedCBNoEncData, TALK_DATA_CALLBACK fVoiceDataCallBack,
                                void* pUser) {
    return FullWrapper(__func__, POINTERHANDLE{0}, &CSDKImpl::StartVoiceCom, lUserID, bNeedCBNoEncData,
                       fVoiceDataCallBack, pUser);
}
BOOL HLX_SetVoiceComClientVolume(POINTERHANDLE lVoiceComHandle, WORD wVolume) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::SetVoiceComClientVolume, lVoiceComHandle, wVolume);
}
POINTERHANDLE HLX_StartVoiceCom_MR(LONG lUserID, BOOL bNeedNoEncodeData, TALK_DATA_CALLBACK fVoiceDataCallBack,
                                   void* pUser) {
    return FullWrapper(__func__, POINTERHANDLE{0}, &CSDKImpl::StartVoiceCom_MR, lUserID, bNeedNoEncodeData,
                       fVoiceDataCallBack, pUser);
}
BOOL HLX_VoiceComSendData(POINTERHANDLE lVoiceComHandle, const char* pSendBuf, DWORD dwBufSize) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::VoiceComSendData, lVoiceComHandle, pSendBuf, dwBufSize);
}
BOOL HLX_GetAudioInfo(POINTERHANDLE lVoiceComHandle, LPVOID pAudioInfo, LONG infoLen) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::GetAudioInfo, lVoiceComHandle, pAudioInfo, infoLen);
}
BOOL HLX_StopVoiceCom(POINTERHANDLE lVoiceComHandle) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::StopVoiceCom, lVoiceComHandle);
}
POINTERHANDLE HLX_InitAudioDecoder(const void* pAudioInfo, LONG infoLen) {
    return CodecWrapper(POINTERHANDLE{-1}, &CAudioCodecMan::OpenAudioCodec, pAudioInfo, infoLen);
}
BOOL HLX_DecodeAudioFrame(POINTERHANDLE lAudioHandle, const BYTE* pInBuf, LONG inLen, BYTE* pOutBuf, LONG* pOutLen) {
    return CodecWrapper(BOOL{0}, &CAudioCodecMan::DecodeAudioFrame, lAudioHandle, pInBuf, inLen, pOutBuf, pOutLen);
}
BOOL HLX_ReleaseAudioDecoder(POINTERHANDLE lAudioHandle) {
    return CodecWrapper(BOOL{0}, &CAudioCodecMan::CloseAudioCodec, lAudioHandle);
}
POINTERHANDLE HLX_InitAudioEncoder(const void* pAudioInfo, LONG infoLen) {
    return CodecWrapper(POINTERHANDLE{-1}, &CAudioCodecMan::OpenAudioCodec, pAudioInfo, infoLen);
}
BOOL HLX_EncodeAudioFrame(POINTERHANDLE lAudioHandle, const BYTE* pInBuf, LONG inLen, BYTE* pOutBuf, LONG* pOutLen) {
    return CodecWrapper(BOOL{0}, &CAudioCodecMan::EncodeAudioFrame, lAudioHandle, pInBuf, inLen, pOutBuf, pOutLen);
}
BOOL HLX_ReleaseAudioEncoder(POINTERHANDLE lAudioHandle) {
    return CodecWrapper(BOOL{0}, &CAudioCodecMan::CloseAudioCodec, lAudioHandle);
}
