// Session root: upgrade, disks, messages, device control, talk, configuration, discovery, pass-through.
#include "main_utility/api/SDKImpl.h"
#include "main_utility/device/NetDeviceMan.h"
#include "main_utility/discovery/GetAddrByName.h"
#include "main_utility/upkeep/ImportExportCfg.h"

namespace {

/// False on a stream's, a talk's or the listener's thread inside a callback: a message callback may be waiting for that
/// thread.
bool MayWaitForMessages() {
    return !CSDKImpl::InFrameCallback() && !CTalkTransMan::InTalkCallback() && !CTalkbackMan::InTalkCallback() &&
           !CNetDeviceMan::InRegisterCallback();
}

}  // namespace

POINTERHANDLE CSDKImpl::Upgrade(LONG lUserID, const char* sFileName, int fileType) {
    return Given(sFileName) ? m_upgradeMan.Update(lUserID, sFileName, fileType) : -1;
}
POINTERHANDLE CSDKImpl::UpgradeIPC(LONG lUserID, const char* sFileName, int fileType) {
    return Given(sFileName) ? m_upgradeMan.UpdateIPC(lUserID, sFileName, fileType) : -1;
}
int CSDKImpl::GetUpgradeState(POINTERHANDLE lUpgradeHandle) { return m_upgradeMan.GetUpgradeState(lUpgradeHandle); }
int CSDKImpl::GetUpgradeProgress(POINTERHANDLE lUpgradeHandle) {
    return m_upgradeMan.GetUpdataProgress(lUpgradeHandle);
}
BOOL CSDKImpl::CloseUpgradeHandle(POINTERHANDLE lUpgradeHandle) { return m_upgradeMan.StopUpgrade(lUpgradeHandle); }

POINTERHANDLE CSDKImpl::FindDisk(LONG lUserID) { return m_diskMan.FindDisk(lUserID); }
BOOL CSDKImpl::GetNextDiskInfo(POINTERHANDLE lDiskHandle, HLX_DISK_INFO* pDiskInfo) {
    return Given(pDiskInfo) && m_diskMan.GetNextDiskInfo(lDiskHandle, pDiskInfo);
}
BOOL CSDKImpl::FindDiskClose(POINTERHANDLE lDiskHandle) { return m_diskMan.FindDiskClose(lDiskHandle); }
BOOL CSDKImpl::ChangeDiskProperty(LONG lUserID, LONG lDiskNumber, short newProperty) {
    return m_diskMan.ChangeDiskProperty(lUserID, lDiskNumber, newProperty);
}
POINTERHANDLE CSDKImpl::FormatDisk(LONG lUserID, LONG lDiskNumber) {
    return m_diskMan.FormatDisk(lUserID, lDiskNumber);
}
BOOL CSDKImpl::GetFormatProgress(POINTERHANDLE lFormatHandle, LONG* pCurrentFormatDisk, LONG* pCurrentDiskPos,
                                 LONG* pFormatStatic) {
    return Given(pCurrentFormatDisk, pCurrentDiskPos, pFormatStatic) &&
           m_diskMan.GetFormatProgress(lFormatHandle, pCurrentFormatDisk, pCurrentDiskPos, pFormatStatic);
}
BOOL CSDKImpl::CloseFormatHandle(POINTERHANDLE lFormatHandle) { return m_diskMan.StopFormatDisk(lFormatHandle); }

BOOL CSDKImpl::SetDVRMessageCallBack(NET_MESSAGE_CALLBACK fMessageCallBack, void* pUser) {
    return m_deviceMsgMan.SetDVRMessageCallBack(fMessageCallBack, pUser, MayWaitForMessages());
}
BOOL CSDKImpl::SetDVRMessageCallBackEx(NET_MESSAGE_CALLBACK_EX fMessageCallBack, void* pUser) {
    return m_deviceMsgMan.SetDVRMessageCallBackEx(fMessageCallBack, pUser, MayWaitForMessages());
}
POINTERHANDLE CSDKImpl::SetupAlarmChan(LONG lUserID) { return m_deviceMsgMan.SetupAlarmChan(lUserID); }
BOOL CSDKImpl::CloseAlarmChan(POINTERHANDLE lAlarmHandle) {
    return m_deviceMsgMan.CloseAlarmChan(lAlarmHandle, MayWaitForMessages());
}
BOOL CSDKImpl::GetAlarmStatus(LONG lUserID, LPVOID lpOutBuffer, DWORD dwOutBufferSize, LPVOID lpReplyBuffer,
                              LPDWORD lpReplySize, int* pAlarmNum, BOOL bEx) {
    if (lpReplyBuffer && !Given(lpReplySize)) return 0;
    return Given(lpOutBuffer, pAlarmNum) && m_configMan.GetAlarmStatus(lUserID, lpOutBuffer, dwOutBufferSize,
                                                                       lpReplyBuffer, lpReplySize, pAlarmNum, bEx);
}
BOOL CSDKImpl::SetDeviceManualAlarm(LONG lUserID, LONG* pAlarmOut, LONG* pValue, LONG* pAlarmNum, BOOL bAlarmOpen) {
    return Given(pAlarmOut, pValue, pAlarmNum) &&
           m_pDeviceMan->SetDeviceAlarm(lUserID, pAlarmOut, pValue, pAlarmNum, bAlarmOpen);
}
BOOL CSDKImpl::StartDVRRecord(LONG lUserID, LONG lChannel, LONG lRecordType) {
    return m_pDeviceMan->StartDVRRecord(lUserID, lChannel, lRecordType);
}
BOOL CSDKImpl::StopDVRRecord(LONG lUserID, LONG lChannel) { return m_pDeviceMan->StopDVRRecord(lUserID, lChannel); }
BOOL CSDKImpl::RebootDVR(LONG lUserID) { return m_pDeviceMan->RebootDVR(lUserID); }
BOOL CSDKImpl::ChangTime(LONG lUserID, UINT time) { return m_pDeviceMan->ChangTime(lUserID, time); }

POINTERHANDLE CSDKImpl::StartVoiceCom(LONG lUserID, BOOL bNeedCBNoEncData, TALK_DATA_CALLBACK fVoiceDataCallBack,
                                      void* pUser) {
    return m_talkbackMan.StartTalk(lUserID, bNeedCBNoEncData, fVoiceDataCallBack, pUser);
}
BOOL CSDKImpl::SetVoiceComClientVolume(POINTERHANDLE lVoiceComHandle, WORD wVolume) {
    return m_talkbackMan.SetVoiceComClientVolume(lVoiceComHandle, wVolume);
}
POINTERHANDLE CSDKImpl::StartVoiceCom_MR(LONG lUserID, BOOL bNeedNoEncodeData, TALK_DATA_CALLBACK fVoiceDataCallBack,
                                         void* pUser) {
    return m_talkTransMan.Start(lUserID, bNeedNoEncodeData, fVoiceDataCallBack, pUser);
}
BOOL CSDKImpl::VoiceComSendData(POINTERHANDLE lVoiceComHandle, const char* pSendBuf, DWORD dwBufSize) {
    return Given(pSendBuf) && m_talkTransMan.SendTalkData(lVoiceComHandle, pSendBuf, dwBufSize);
}
BOOL CSDKImpl::GetAudioInfo(POINTERHANDLE lVoiceComHandle, LPVOID pAudioInfo, LONG infoLen) {
    if (!Given(pAudioInfo)) return 0;
    if (infoLen < LONG{sizeof(WAVEFORMATEX)}) return Failure(HLX_PARAMETER_ERROR);
    return m_talkbackMan.Knows(lVoiceComHandle) ? m_talkbackMan.GetAudioInfo(lVoiceComHandle, pAudioInfo, infoLen)
                                                : m_talkTransMan.GetAudioInfo(lVoiceComHandle, pAudioInfo, infoLen);
}
BOOL CSDKImpl::StopVoiceCom(POINTERHANDLE lVoiceComHandle) {
    return m_talkbackMan.Knows(lVoiceComHandle) ? m_talkbackMan.StopTalk(lVoiceComHandle)
                                                : m_talkTransMan.Stop(lVoiceComHandle, !InFrameCallback());
}

LONG CSDKImpl::EnterDVRConfig(LONG lUserID) { return m_configMan.EnterDVRConfig(lUserID); }
BOOL CSDKImpl::GetDVRConfig(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpOutBuffer, DWORD dwOutBufferSize,
                            LPDWORD lpBytesReturned, BOOL bDefault) {
    return Given(lpOutBuffer, lpBytesReturned) && m_configMan.GetDVRConfig(lUserID, dwCommand, lChannel, lpOutBuffer,
                                                                           dwOutBufferSize, lpBytesReturned, bDefault);
}
BOOL CSDKImpl::GetDVRConfig_SubStreamEncodeInfo(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpOutBuffer,
                                                DWORD dwOutBufferSize, LPDWORD lpBytesReturned, BOOL bDefault) {
    return Given(lpOutBuffer, lpBytesReturned) &&
           m_configMan.GetDVRConfig_SubStreamEncodeInfo(lUserID, dwCommand, lChannel, lpOutBuffer, dwOutBufferSize,
                                                        lpBytesReturned, bDefault);
}
BOOL CSDKImpl::SetDVRConfig(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpInBuffer, DWORD dwInBufferSize) {
    return Given(lpInBuffer) && m_configMan.SetDVRConfig(lUserID, dwCommand, lChannel, lpInBuffer, dwInBufferSize);
}
BOOL CSDKImpl::SetDVRConfig_SubStreamEncodeInfo(LONG lUserID, LONG lChannel, LPVOID lpInBuffer, DWORD dwInBufferSize) {
    return Given(lpInBuffer) &&
           m_configMan.SetDVRConfig_SubStreamEncodeInfo(lUserID, lChannel, lpInBuffer, dwInBufferSize);
}
BOOL CSDKImpl::ExitDVRConfig(LONG lUserID) { return m_configMan.ExitDVRConfig(lUserID); }

BOOL CSDKImpl::SetVideoEffect(LONG lUserID, LONG lChannel, DWORD dwBrightValue, DWORD dwContrastValue,
                              DWORD dwSaturationValue, DWORD dwHueValue) {
    return m_pDeviceMan->SetVideoColor(lUserID, lChannel, dwBrightValue, dwContrastValue, dwSaturationValue,
                                       dwHueValue);
}
BOOL CSDKImpl::GetVideoEffect(LONG lUserID, LONG lChannel, LPDWORD pBrightValue, LPDWORD pContrastValue,
                              LPDWORD pSaturationValue, LPDWORD pHueValue) {
    return Given(pBrightValue, pContrastValue, pSaturationValue, pHueValue) &&
           m_pDeviceMan->GetVideoColor(lUserID, lChannel, pBrightValue, pContrastValue, pSaturationValue, pHueValue);
}
BOOL CSDKImpl::GetVideoEffect_Ex(LONG lUserID, LONG lChannel, HLX_IMAGE_EFFECT_T* pBrightValue,
                                 HLX_IMAGE_EFFECT_T* pContrastValue, HLX_IMAGE_EFFECT_T* pSaturationValue,
                                 HLX_IMAGE_EFFECT_T* pHueValue) {
    return Given(pBrightValue, pContrastValue, pSaturationValue, pHueValue) &&
           m_pDeviceMan->GetVideoColor_Ex(lUserID, lChannel, pBrightValue, pContrastValue, pSaturationValue, pHueValue);
}
BOOL CSDKImpl::SetVideoEffect_Ex(LONG lUserID, LONG lChannel, DWORD dwBrightValue, DWORD dwContrastValue,
                                 DWORD dwSaturationValue, DWORD dwHueValue) {
    return m_pDeviceMan->SetVideoColor_Ex(lUserID, lChannel, dwBrightValue, dwContrastValue, dwSaturationValue,
                                          dwHueValue);
}
BOOL CSDKImpl::SaveVideoEffect(LONG lUserID, LONG lChannel, DWORD dwBrightValue, DWORD dwContrastValue,
                               DWORD dwSaturationValue, DWORD dwHueValue) {
    return m_pDeviceMan->SaveVideoColor(lUserID, lChannel, dwBrightValue, dwContrastValue, dwSaturationValue,
                                        dwHueValue);
}
BOOL CSDKImpl::GetDefaultVideoEffect(LONG lUserID, LPDWORD pBrightValue, LPDWORD pContrastValue,
                                     LPDWORD pSaturationValue, LPDWORD pHueValue) {
    return Given(pBrightValue, pContrastValue, pSaturationValue, pHueValue) &&
           m_pDeviceMan->GetDefaultVideoColor(lUserID, pBrightValue, pContrastValue, pSaturationValue, pHueValue);
}
BOOL CSDKImpl::GetConfigFile(LONG lUserID, const char* sFileName) {
    return Given(sFileName) && m_pImportExortCfg->ExportConfig(static_cast<int>(lUserID), sFileName);
}
BOOL CSDKImpl::SetConfigFile(LONG lUserID, const char* sFileName) {
    return Given(sFileName) && m_pImportExortCfg->ImportConfig(static_cast<int>(lUserID), sFileName);
}

int CSDKImpl::DiscoverDevice(HLX_DEVICE_DISCOVERY_INFO* pDeviceInfo, int bufNum, int waitSeconds) {
    if (!Given(pDeviceInfo)) return 0;
    if (bufNum < 1) return Failure(HLX_PARAMETER_ERROR, 0);
    return m_discoverDevice.Discover(pDeviceInfo, bufNum, waitSeconds);
}
BOOL CSDKImpl::ModifyDeviceNetInfo(const HLX_DEVICE_IP_INFO* pDeviceIPInfo) {
    return Given(pDeviceIPInfo) && m_modifyDevNetInfo.ModifyDevNetInfo(pDeviceIPInfo);
}
BOOL CSDKImpl::GetDeviceIPByName(const char* sServerAddr, DWORD dwPort, const char* sName, char* sDVRIP) {
    return Given(sServerAddr, sName, sDVRIP) && CGetAddrByName::GetDvrIPByName(sServerAddr, dwPort, sName, sDVRIP);
}

BOOL CSDKImpl::GetIVMRuleConfig(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpOutBuffer, DWORD dwOutBufferSize,
                                LPDWORD lpBytesReturned) {
    if (!Given(lpOutBuffer, lpBytesReturned)) return 0;
    const auto session = m_pDeviceMan->GetDeviceResByUserID(lUserID);
    if (!session) return Failure(HLX_PARAMETER_ERROR);
    return m_pDeviceMan->GetIVMRuleConfig(lUserID, session->sDeviceIP, dwCommand, lChannel, lpOutBuffer,
                                          dwOutBufferSize, lpBytesReturned);
}
BOOL CSDKImpl::SetIVMRuleConfig(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpInBuffer, DWORD dwInBufferSize) {
    if (!Given(lpInBuffer)) return 0;
    const auto session = m_pDeviceMan->GetDeviceResByUserID(lUserID);
    if (!session) return Failure(HLX_PARAMETER_ERROR);
    return m_pDeviceMan->SetIVMRuleConfig(lUserID, session->sDeviceIP, dwCommand, lChannel, lpInBuffer, dwInBufferSize);
}
BOOL CSDKImpl::SetSubscribCallBack(SUBSCRIBE_CALLBACK fSubscribCallBack, void* pUser) {
    return m_pDeviceMan->SetSubscribCallBack(fSubscribCallBack, pUser);
}
BOOL CSDKImpl::SmartSubscrib(LONG lUserID, DWORD dwCommand, LONG lChannel, NET_DVR_SUBSCRIBE_REPLY* pReply) {
    return Given(pReply) && m_pDeviceMan->SmartSubscrib(lUserID, dwCommand, lChannel, pReply);
}
BOOL CSDKImpl::UnSmartSubscrib(LONG lUserID, DWORD dwCommand, LONG lChannel, char* pServerAddress, int* pResult) {
    return Given(pServerAddress, pResult) &&
           m_pDeviceMan->UnSmartSubscrib(lUserID, dwCommand, lChannel, pServerAddress, pResult);
}
BOOL CSDKImpl::FaceMatchOperate(LONG lUserID, DWORD dwCommand, LPVOID lpInBuffer, DWORD dwInBufferSize,
                                LPVOID lpOutBuffer, DWORD dwOutBufferSize, LPDWORD lpBytesReturned) {
    const DWORD dwInSize = lpInBuffer ? dwInBufferSize : 0;
    return Given(lpOutBuffer, lpBytesReturned) &&
           m_pDeviceMan->FaceMatchOperate(lUserID, dwCommand, lpInBuffer, dwInSize, lpOutBuffer, dwOutBufferSize,
                                          lpBytesReturned);
}
BOOL CSDKImpl::ApiInterface(LONG lUserID, char* sXml, char* sUrl, LPVOID lpOutBuffer, DWORD dwOutBufferSize,
                            LPDWORD lpBytesReturned) {
    return Given(sXml, sUrl, lpOutBuffer, lpBytesReturned) &&
           m_pDeviceMan->ApiInterface(lUserID, sXml, sUrl, lpOutBuffer, dwOutBufferSize, lpBytesReturned);
}
BOOL CSDKImpl::TransparentConfig(LONG lUserID, char* sXml, char* sCommand, LPVOID lpOutBuffer, DWORD dwOutBufferSize,
                                 LPDWORD lpBytesReturned) {
    return Given(sXml, sCommand, lpOutBuffer, lpBytesReturned) &&
           m_pDeviceMan->TransparentConfig(lUserID, sXml, sCommand, lpOutBuffer, dwOutBufferSize, lpBytesReturned);
}
