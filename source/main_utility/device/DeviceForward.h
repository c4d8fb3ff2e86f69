// The operations of a device by user id.
#pragma once

#include <mutex>
#include <new>
#include <utility>

#include "main_utility/device/DeviceTable.h"
#include "sdk_common/ThreadState.h"

/// One shape for all: under m_deviceCommLock find the session, call the operation of its device, give its result back.
/// So one device's slow request holds up every forwarded call. An unknown user id sets HLX_PARAMETER_ERROR and gives
/// the failure value: 0, -1 where the result is a count, other values where they stand. Where memory is short the
/// number is HLX_ALLOC_RESOURCE_ERROR; nothing is thrown. What the arguments mean stands with CNetDevice and the
/// exported functions.
class CDeviceForward {
public:
    int GetDeviceStatus(LONG lUserID) {
        return Forward(int{NET_DEVICE_STATUS_DISCONNECT}, &CNetDevice::GetDeviceStatus, lUserID);
    }
    BOOL StartLiveChannel(LONG lUserID, LONG lChannel, BOOL bFirstStream, unsigned int bufid, unsigned int streamType) {
        return Forward(BOOL{0}, &CNetDevice::StartLiveChannel, lUserID, lChannel, bFirstStream, bufid, streamType);
    }
    BOOL HasStreamCapability(LONG lUserID) { return Forward(BOOL{0}, &CNetDevice::HasStreamCapability, lUserID); }
    BOOL StopLiveChannel(LONG lUserID, LONG lChannel, BOOL bFirstStream, unsigned int streamType) {
        return Forward(BOOL{0}, &CNetDevice::StopLiveChannel, lUserID, lChannel, bFirstStream, streamType);
    }
    BOOL StopLiveHandle(LONG lUserID, LONG lChannel, BOOL bFirstStream, unsigned int bufid) {
        return Forward(BOOL{0}, &CNetDevice::StopLiveHandle, lUserID, lChannel, bFirstStream, bufid);
    }
    BOOL RequestKeyFrame(LONG lUserID, LONG lChannel, BOOL bFirstStream, unsigned int streamType) {
        return Forward(BOOL{0}, &CNetDevice::RequestKeyFrame, lUserID, lChannel, bFirstStream, streamType);
    }
    BOOL StartJpegStream(LONG lUserID, LONG lChannel) {
        return Forward(BOOL{0}, &CNetDevice::StartJpegStream, lUserID, lChannel);
    }
    BOOL StopJpegStream(LONG lUserID, LONG lChannel) {
        return Forward(BOOL{0}, &CNetDevice::StopJpegStream, lUserID, lChannel);
    }
    BOOL CapturePicture(LONG lUserID, LONG lChannel, LONG lQuality, char* pBuffer, DWORD dwSize, LPDWORD pReturned) {
        return Forward(BOOL{0}, &CNetDevice::CapturePicture, lUserID, lChannel, lQuality, pBuffer, dwSize, pReturned);
    }
    BOOL CaptureJPEGData_V2(LONG lUserID, const char* sDeviceIP, WORD wPort, LONG lChannel, char* pBuffer, DWORD dwSize,
                            LPDWORD pReturned) {
        return Forward(BOOL{0}, &CNetDevice::CaptureJPEGData_V2, lUserID, sDeviceIP, wPort, lChannel, pBuffer, dwSize,
                       pReturned);
    }
    BOOL SearchPictures(LONG lUserID, HLX_IMAGE_SREACH search, LONG lMaxNum, HLX_IMAGE* pImages, LONG* pImageNum) {
        return Forward(BOOL{0}, &CNetDevice::SearchPictures, lUserID, search, lMaxNum, pImages, pImageNum);
    }
    BOOL RemoteSnap(LONG lUserID, int iChannel) { return Forward(BOOL{0}, &CNetDevice::RemoteSnap, lUserID, iChannel); }
    BOOL ViewPicture(LONG lUserID, const char* sDeviceIP, HLX_IMAGE image, HLX_IMAGE_INFO* pInfo, char* pBuffer,
                     unsigned int uSize) {
        return Forward(BOOL{0}, &CNetDevice::ViewPicture, lUserID, sDeviceIP, image, pInfo, pBuffer, uSize);
    }
    BOOL SearchRecDate(LONG lUserID, std::list<DD_DATE>& dateList) {
        return Forward(BOOL{0}, &CNetDevice::SearchRecDate, lUserID, dateList);
    }
    BOOL SearchRecTime(LONG lUserID, LONG lChannel, DWORD dwType, const DD_TIME& start, const DD_TIME& stop,
                       std::list<HLX_REC_TIME>& timeList) {
        return Forward(BOOL{0}, &CNetDevice::SearchRecTime, lUserID, lChannel, dwType, start, stop, timeList);
    }
    BOOL SearchRecFile(LONG lUserID, LONG lChannel, DWORD dwType, const DD_TIME& start, const DD_TIME& stop,
                       std::list<HLX_REC_FILE>& fileList) {
        return Forward(BOOL{0}, &CNetDevice::SearchRecFile, lUserID, lChannel, dwType, start, stop, fileList);
    }
    BOOL SearchRecEvent(LONG lUserID, LONG lChannel, DWORD dwType, const DD_TIME& start, const DD_TIME& stop,
                        std::list<HLX_REC_EVENT>& eventList) {
        return Forward(BOOL{0}, &CNetDevice::SearchRecEvent, lUserID, lChannel, dwType, start, stop, eventList);
    }
    BOOL SearchDVRLog(LONG lUserID, DWORD dwType, const DD_TIME& start, const DD_TIME& stop,
                      std::list<HLX_LOG>& logList) {
        return Forward(BOOL{0}, &CNetDevice::SearchDVRLog, lUserID, dwType, start, stop, logList);
    }
    BOOL SearchDVREvent(LONG lUserID, DWORD dwType, ULONGLONG ullChannels, const DD_TIME& start, const DD_TIME& stop,
                        std::list<HLX_EVENT>& eventList) {
        return Forward(BOOL{0}, &CNetDevice::SearchDVREvent, lUserID, dwType, ullChannels, start, stop, eventList);
    }
    BOOL DeleteRecFile(LONG lUserID, HLX_REC_FILE* pFiles, LONG lFileNum) {
        return Forward(BOOL{0}, &CNetDevice::DeleteRecFile, lUserID, pFiles, lFileNum);
    }
    BOOL LockFile(LONG lUserID, HLX_REC_FILE* pFiles, LONG lFileNum) {
        return Forward(BOOL{0}, &CNetDevice::LockRecFile, lUserID, pFiles, lFileNum);
    }
    BOOL UnlockFile(LONG lUserID, HLX_REC_FILE* pFiles, LONG lFileNum) {
        return Forward(BOOL{0}, &CNetDevice::UnlockRecFile, lUserID, pFiles, lFileNum);
    }
    BOOL PlaybackByTime(LONG lUserID, LONG* pChannels, LONG lChannelNum, const DD_TIME& start, const DD_TIME& stop,
                        DWORD dwStreamID, BOOL bFirstStream) {
        return Forward(BOOL{0}, &CNetDevice::PlaybackByTime, lUserID, pChannels, lChannelNum, start, stop, dwStreamID,
                       bFirstStream);
    }
    BOOL NotifyPlayIndex(LONG lUserID, LONG lStreamID, LONG lFrameIndex, int iChannel) {
        return ForwardAtOnce(BOOL{0}, &CNetDevice::NotifyPlayIndex, lUserID, lStreamID, lFrameIndex, iChannel);
    }
    void NotifyPlayIndex_IPC(LONG lUserID, LONG lStreamID, LONG lFrameIndex) {
        if (const auto session = m_table.Pin(lUserID)) session->pNetDevice->NotifyPlayIndex_IPC(lStreamID, lFrameIndex);
    }
    BOOL StopPlayback(LONG lUserID, DWORD dwStreamID) {
        return ForwardAtOnce(BOOL{0}, &CNetDevice::StopPlayback, lUserID, dwStreamID);
    }
    BOOL PlaybackCtrl(LONG lUserID, DWORD dwStreamID, DWORD dwCommand, DWORD dwValue) {
        return ForwardAtOnce(BOOL{0}, &CNetDevice::PlaybackCtrl, lUserID, dwStreamID, dwCommand, dwValue);
    }
    BOOL PlaybackSetTime(LONG lUserID, LONG* pChannels, LONG lChannelNum, const DD_TIME& start, const DD_TIME& stop,
                         DWORD dwStreamID) {
        return Forward(BOOL{0}, &CNetDevice::PlaybackSetTime, lUserID, pChannels, lChannelNum, start, stop, dwStreamID);
    }
    void NeedJumpForward(LONG lUserID) {
        if (const auto session = m_table.Pin(lUserID)) session->pNetDevice->NeedJumpForward();
    }
    int GetMaxPlayBackNum(LONG lUserID) { return ForwardAtOnce(int{1}, &CNetDevice::GetMaxPlayBackNum, lUserID); }
    BOOL DownLoadByTime(LONG lUserID, LONG lChannel, BOOL bFirstStream, const DD_TIME& start, const DD_TIME& stop) {
        return Forward(BOOL{0}, &CNetDevice::DownLoadByTime, lUserID, lChannel, bFirstStream, start, stop);
    }
    BOOL StopDownLoad(LONG lUserID, LONG lChannel) {
        return ForwardAtOnce(BOOL{0}, &CNetDevice::StopDownLoad, lUserID, lChannel);
    }
    BOOL SaveFileToUsbByTime(LONG lUserID, HLX_REC_FILE* pFile, USB_BACKUP_FORMAT eFormat) {
        return Forward(BOOL{0}, &CNetDevice::SaveFileToUsbByTime, lUserID, pFile, eFormat);
    }
    BOOL GetSaveFileToUsbProcess(LONG lUserID, HLX_USB_BACKUP_PROCESS_EX* pProcess, unsigned int uMaxNum,
                                 unsigned int* pNum) {
        return Forward(BOOL{0}, &CNetDevice::GetSaveFileToUsbProcess, lUserID, pProcess, uMaxNum, pNum);
    }
    BOOL StartDVRRecord(LONG lUserID, LONG lChannel, LONG lRecordType) {
        return Forward(BOOL{0}, &CNetDevice::StartDVRRecord, lUserID, lChannel, lRecordType);
    }
    BOOL StopDVRRecord(LONG lUserID, LONG lChannel) {
        return Forward(BOOL{0}, &CNetDevice::StopDVRRecord, lUserID, lChannel);
    }
    BOOL GetVideoColor(LONG lUserID, LONG lChannel, DWORD* pBrightness, DWORD* pContrast, DWORD* pSaturation,
                       DWORD* pHue) {
        return Forward(BOOL{0}, &CNetDevice::GetVideoColor, lUserID, lChannel, pBrightness, pContrast, pSaturation,
                       pHue);
    }
    BOOL SetVideoColor(LONG lUserID, LONG lChannel, DWORD dwBrightness, DWORD dwContrast, DWORD dwSaturation,
                       DWORD dwHue) {
        return Forward(BOOL{0}, &CNetDevice::SetVideoColor, lUserID, lChannel, dwBrightness, dwContrast, dwSaturation,
                       dwHue);
    }
    BOOL GetVideoColor_Ex(LONG lUserID, LONG lChannel, HLX_IMAGE_EFFECT_T* pBrightness, HLX_IMAGE_EFFECT_T* pContrast,
                          HLX_IMAGE_EFFECT_T* pSaturation, HLX_IMAGE_EFFECT_T* pHue) {
        return Forward(BOOL{0}, &CNetDevice::GetVideoColor_Ex, lUserID, lChannel, pBrightness, pContrast, pSaturation,
                       pHue);
    }
    BOOL SetVideoColor_Ex(LONG lUserID, LONG lChannel, DWORD dwBrightness, DWORD dwContrast, DWORD dwSaturation,
                          DWORD dwHue) {
        return Forward(BOOL{0}, &CNetDevice::SetVideoColor_Ex, lUserID, lChannel, dwBrightness, dwContrast,
                       dwSaturation, dwHue);
    }
    BOOL SaveVideoColor(LONG lUserID, LONG lChannel, DWORD dwBrightness, DWORD dwContrast, DWORD dwSaturation,
                        DWORD dwHue) {
        return Forward(BOOL{0}, &CNetDevice::SaveVideoColor, lUserID, lChannel, dwBrightness, dwContrast, dwSaturation,
                       dwHue);
    }
    BOOL GetDefaultVideoColor(LONG lUserID, DWORD* pBrightness, DWORD* pContrast, DWORD* pSaturation, DWORD* pHue) {
        return Forward(BOOL{0}, &CNetDevice::GetDefaultVideoColor, lUserID, pBrightness, pContrast, pSaturation, pHue);
    }
    BOOL SetDeviceAlarm(LONG lUserID, LONG* pChannels, LONG* pValues, LONG* pNum, BOOL bOn) {
        return Forward(BOOL{0}, &CNetDevice::SetDeviceAlarm, lUserID, pChannels, pValues, pNum, bOn);
    }
    BOOL ChangTime(LONG lUserID, unsigned int uTime) {
        return Forward(BOOL{0}, &CNetDevice::ChangTime, lUserID, uTime);
    }
    BOOL RebootDVR(LONG lUserID) { return Forward(BOOL{0}, &CNetDevice::RebootDVR, lUserID); }
    BOOL ShutDownDVR(LONG lUserID) { return Forward(BOOL{0}, &CNetDevice::ShutDownDVR, lUserID); }
    BOOL GetDvrCurrentTime(LONG lUserID, const char* sDeviceIP, DD_TIME* pTime) {
        return Forward(BOOL{0}, &CNetDevice::GetDvrCurrentTime, lUserID, sDeviceIP, pTime);
    }
    BOOL GetPTZConfig(LONG lUserID, LONG lChannel, DWORD dwCommand, LPVOID pIn, DWORD dwInSize, LPVOID pOut,
                      DWORD dwOutSize, LPDWORD pReturned) {
        return Forward(BOOL{0}, &CNetDevice::GetPTZConfig, lUserID, lChannel, dwCommand, pIn, dwInSize, pOut, dwOutSize,
                       pReturned);
    }
    BOOL PTZControl(LONG lUserID, LONG lChannel, DWORD dwPTZCommand, DWORD dwValue, DWORD dwSpeed, BOOL bFlag,
                    BOOL bFirstStream) {
        return Forward(BOOL{0}, &CNetDevice::PTZControl, lUserID, lChannel, dwPTZCommand, dwValue, dwSpeed, bFlag,
                       bFirstStream);
    }
    BOOL PTZSetCruise(LONG lUserID, LONG lChannel, BYTE byCruise, DD_CRUISE_POINT_INFO* pPoints, WORD wPointNum,
                      BOOL bFlag) {
        return Forward(BOOL{0}, &CNetDevice::PTZSetCruise, lUserID, lChannel, byCruise, pPoints, wPointNum, bFlag);
    }
    BOOL PTZControl_3D(LONG lUserID, LONG lChannel, PTZ_3D_POINT_INFO* pPoint) {
        return Forward(BOOL{0}, &CNetDevice::PTZControl_3D, lUserID, lChannel, pPoint);
    }
    BOOL GetPTZCameraType(LONG lUserID, HLX_CAMERA_TYPE* pType) {
        return Forward(BOOL{0}, &CNetDevice::GetPTZCameraType, lUserID, pType);
    }
    BOOL GetSupportPtzList(LONG lUserID, int iMaxNum, HLX_CHANNEL_PTZ* pList, int* pNum) {
        return Forward(BOOL{0}, &CNetDevice::GetSupportPtzList, lUserID, iMaxNum, pList, pNum);
    }
    BOOL SearchDiskInfo(LONG lUserID, DVR_DISK_INFO* pDisks, unsigned int uMaxNum, unsigned int& uDiskNum) {
        return Forward(BOOL{0}, &CNetDevice::SearchDiskInfo, lUserID, pDisks, uMaxNum, uDiskNum);
    }
    BOOL ChangeDiskProperty(LONG lUserID, DVR_DISK_INFO* pDisk) {
        return Forward(BOOL{0}, &CNetDevice::ChangeDiskProperty, lUserID, pDisk);
    }
    LONG FormatDisk(LONG lUserID, DVR_DISK_INFO* pDisk) {
        return Forward(LONG{-1}, &CNetDevice::FormatDisk, lUserID, pDisk);
    }
    BOOL GetFormatProgress(LONG lUserID, LONG* pDiskNumber, LONG* pProgress) {
        return Forward(BOOL{0}, &CNetDevice::GetFormatProgress, lUserID, pDiskNumber, pProgress);
    }
    BOOL CloseFormatHandle(LONG lUserID) { return Forward(BOOL{0}, &CNetDevice::CloseFomatHandle, lUserID); }
    BOOL ChangeAudioChannel(LONG lUserID, ULONGLONG ullChannels, unsigned int uStreamID) {
        return Forward(BOOL{0}, &CNetDevice::ChangeAudioChannel, lUserID, ullChannels, uStreamID);
    }
    BOOL StartTalk(LONG lUserID) { return Forward(BOOL{0}, &CNetDevice::StartTalkback, lUserID); }
    BOOL StopTalk(LONG lUserID) { return Forward(BOOL{0}, &CNetDevice::StopTalkback, lUserID); }
    BOOL SendTalkData(LONG lUserID, unsigned char* pData, unsigned int uLength) {
        return ForwardAtOnce(BOOL{0}, &CNetDevice::SendTalkData, lUserID, pData, uLength);
    }
    /// These two ask nothing of the device and do not wait for requests of others: sound is not held up by a device
    /// that does not answer.
    BOOL GetTalkFrame(LONG lUserID, FRAME_INFO_EX& frame) {
        const CDeviceTable::Session session = m_table.Pin(lUserID);
        return session && session->pNetDevice->GetTalkFrame(frame);
    }
    /// A frame may outlive its session.
    void ReleaseTalkBuf(LONG lUserID, const FRAME_INFO_EX& frame) {
        const CDeviceTable::Session session = m_table.Pin(lUserID);
        session ? session->pNetDevice->ReleaseTalkBuf(frame) : CNetDevice::FreeTalkBuf(frame);
    }
    BOOL RequestUpdata(LONG lUserID, char* sFileName) {
        return Forward(BOOL{0}, &CNetDevice::RequestUpdata, lUserID, sFileName);
    }
    LONG SendUpdataData(LONG lUserID, void* pData, unsigned int uLength) {
        return Forward(LONG{-1}, &CNetDevice::SendUpdataData, lUserID, pData, uLength);
    }
    BOOL CloseUpgrade(LONG lUserID) { return Forward(BOOL{0}, &CNetDevice::CloseUpgrade, lUserID); }
    BOOL StartUpdata(LONG lUserID) { return Forward(BOOL{0}, &CNetDevice::StartUpdata, lUserID); }
    LONG EnterDVRConfig(LONG lUserID) { return Forward(LONG{-4}, &CNetDevice::RequestEnterConfig, lUserID); }
    BOOL ExitDVRConfig(LONG lUserID) { return Forward(BOOL{0}, &CNetDevice::RequestExitConfig, lUserID); }
    BOOL SetConfigToDev(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID pData, DWORD dwSize) {
        return Forward(BOOL{0}, &CNetDevice::SetConfigToDev, lUserID, dwCommand, lChannel, pData, dwSize);
    }
    BOOL ImportConfig(LONG lUserID, void* pData, unsigned int uLength) {
        return Forward(BOOL{0}, &CNetDevice::ImportConfig, lUserID, pData, uLength);
    }
    BOOL ExportConfig(LONG lUserID, char* pBuffer, unsigned int* pLength) {
        return Forward(BOOL{0}, &CNetDevice::ExportConfig, lUserID, pBuffer, pLength);
    }
    BOOL ApiInterface(LONG lUserID, char* sRequest, char* sUrl, LPVOID pOut, DWORD dwOutSize, LPDWORD pReturned) {
        return Forward(BOOL{0}, &CNetDevice::ApiInterface, lUserID, sRequest, sUrl, pOut, dwOutSize, pReturned);
    }
    BOOL TransparentConfig(LONG lUserID, char* sRequest, char* sUrl, LPVOID pOut, DWORD dwOutSize, LPDWORD pReturned) {
        return Forward(BOOL{0}, &CNetDevice::TransparentConfig, lUserID, sRequest, sUrl, pOut, dwOutSize, pReturned);
    }
    BOOL GetVehicleConfig(LONG lUserID) { return Forward(BOOL{0}, &CNetDevice::GetVehicleConfig, lUserID); }
    LONG GetDeviceTypeName(LONG lUserID, char* sName, LONG lLength) {
        return Forward(LONG{0}, &CNetDevice::GetDeviceTypeName, lUserID, sName, lLength);
    }
    LONG GetAlarmInfo(LONG lUserID, HLX_ALARMINFO* pInfo, LONG lMaxNum) {
        return Forward(LONG{-1}, &CNetDevice::GetAlarmInfo, lUserID, pInfo, lMaxNum);
    }
    LONG GetAlarmInfoEx(LONG lUserID, HLX_ALARMINFO_EX* pInfo, LONG lMaxNum) {
        return Forward(LONG{-1}, &CNetDevice::GetAlarmInfoEx, lUserID, pInfo, lMaxNum);
    }
    LONG GetRecordStatus(LONG lUserID, HLX_RECORD_STATUS* pStatus, LONG lMaxNum) {
        return Forward(LONG{-1}, &CNetDevice::GetRecordStatus, lUserID, pStatus, lMaxNum);
    }
    LONG GetRecordStatusEx(LONG lUserID, HLX_RECORD_STATUS_EX* pStatus, LONG lMaxNum) {
        return Forward(LONG{-1}, &CNetDevice::GetRecordStatusEx, lUserID, pStatus, lMaxNum);
    }
    LONG GetIVMRuleStatus(LONG lUserID, char* pStatus, LONG lLength) {
        return Forward(LONG{-1}, &CNetDevice::GetIVMRuleStatus, lUserID, pStatus, lLength);
    }
    BOOL GetDeviceIPCInfo(LONG lUserID, HLX_IPC_DEVICE_INFO* pInfo, LONG lMaxNum, LONG* pNum) {
        return Forward(BOOL{0}, &CNetDevice::GetDeviceIPCInfo, lUserID, pInfo, lMaxNum, pNum);
    }
    BOOL GetDeviceCHStatus(LONG lUserID, HLX_CH_DEVICE_STATUS* pStatus, LONG lMaxNum, LONG* pNum) {
        return Forward(BOOL{0}, &CNetDevice::GetDeviceCHStatus, lUserID, pStatus, lMaxNum, pNum);
    }
    BOOL GetDeviceCHSupportFunction(LONG lUserID, HLX_CH_DEVICE_SUPPORT* pSupport, LONG lMaxNum, LONG* pNum) {
        return Forward(BOOL{0}, &CNetDevice::GetDeviceCHSupportFunction, lUserID, pSupport, lMaxNum, pNum);
    }
    BOOL GetAlarmStatus(LONG lUserID, void* pIn, unsigned int uInLen, void* pOut, unsigned int* pOutLen, int* pNum,
                        BOOL bEx) {
        return Forward(BOOL{0}, &CNetDevice::GetAlarmStatus, lUserID, pIn, uInLen, pOut, pOutLen, pNum, bEx);
    }
    BOOL GetDeviceSupportFunction(LONG lUserID, HLX_DEV_SUPPORT* pSupport) {
        return Forward(BOOL{0}, &CNetDevice::GetDeviceSupportFunction, lUserID, pSupport);
    }
    BOOL GetIVMRuleConfig(LONG lUserID, const char* sDeviceIP, DWORD dwCommand, LONG lChannel, LPVOID pOut,
                          DWORD dwOutSize, LPDWORD pReturned) {
        return Forward(BOOL{0}, &CNetDevice::GetIVMRuleConfig, lUserID, sDeviceIP, dwCommand, lChannel, pOut, dwOutSize,
                       pReturned);
    }
    BOOL SetIVMRuleConfig(LONG lUserID, const char* sDeviceIP, DWORD dwCommand, LONG lChannel, LPVOID pIn,
                          DWORD dwInSize) {
        return Forward(BOOL{0}, &CNetDevice::SetIVMRuleConfig, lUserID, sDeviceIP, dwCommand, lChannel, pIn, dwInSize);
    }
    BOOL SmartSubscrib(LONG lUserID, DWORD dwCommand, LONG lChannel, NET_DVR_SUBSCRIBE_REPLY* pReply) {
        return Forward(BOOL{0}, &CNetDevice::SmartSubscrib, lUserID, dwCommand, lChannel, pReply);
    }
    BOOL UnSmartSubscrib(LONG lUserID, DWORD dwCommand, LONG lChannel, char* sAddress, int* pResult) {
        return Forward(BOOL{0}, &CNetDevice::UnSmartSubscrib, lUserID, dwCommand, lChannel, sAddress, pResult);
    }
    BOOL FaceMatchOperate(LONG lUserID, DWORD dwCommand, LPVOID pIn, DWORD dwInSize, LPVOID pOut, DWORD dwOutSize,
                          LPDWORD pReturned) {
        return Forward(BOOL{0}, &CNetDevice::FaceMatchOperate, lUserID, dwCommand, pIn, dwInSize, pOut, dwOutSize,
                       pReturned);
    }

protected:
    template <class Result, class... Params, class... Args>
    Result Forward(Result failure, Result (CNetDevice::*operation)(Params...), LONG lUserID, Args&&... args) {
        std::lock_guard guard(m_table.m_deviceCommLock);
        return ForwardAtOnce(failure, operation, lUserID, std::forward<Args>(args)...);
    }

    /// Without m_deviceCommLock, for operations that wait for nothing: one device's slow request does not hold them up.
    template <class Result, class... Params, class... Args>
    Result ForwardAtOnce(Result failure, Result (CNetDevice::*operation)(Params...), LONG lUserID, Args&&... args) {
        const CDeviceTable::Session session = m_table.Pin(lUserID);
        if (!session) return Failure(HLX_PARAMETER_ERROR, failure);
        try {
            return (session->pNetDevice.get()->*operation)(std::forward<Args>(args)...);
        } catch (const std::bad_alloc&) {
            return Failure(HLX_ALLOC_RESOURCE_ERROR, failure);
        }
    }

    template <class... Params, class... Args>
    void ForwardVoid(void (CNetDevice::*operation)(Params...), LONG lUserID, Args&&... args) {
        std::lock_guard guard(m_table.m_deviceCommLock);
        const CDeviceTable::Session session = m_table.Pin(lUserID);
        if (!session) return CThreadState::Instance()->SetLastError(HLX_PARAMETER_ERROR);
        try {
            (session->pNetDevice.get()->*operation)(std::forward<Args>(args)...);
        } catch (const std::bad_alloc&) {
            CThreadState::Instance()->SetLastError(HLX_ALLOC_RESOURCE_ERROR);
        }
    }

    CDeviceTable m_table;
};
