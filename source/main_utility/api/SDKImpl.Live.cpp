// Session root: live streams, pictures, PTZ.
#include <cstdio>
#include <memory>
#include <mutex>
#include <new>
#include <vector>

#include "main_utility/api/SDKImpl.h"
#include "main_utility/device/NetDeviceMan.h"

namespace {

constexpr size_t PICTURE_SIZE = 2097152;            // bytes: no JPEG picture of a device is larger
constexpr DWORD NO_VALUE = static_cast<DWORD>(-1);  // the value of a PTZ command that takes none

/// Runs `action` under the live lock. From inside a frame callback it is refused before any lock: the thread that holds
/// the lock may be waiting for that callback to end, or for one that waits for the download's.
template <class Result, class Action>
Result WithLiveLock(CPUB_Lock& lock, Result failure, Action&& action) {
    if (CSDKImpl::InFrameCallback()) return Failure(HLX_OPER_NOPERMIT, failure);
    try {
        std::lock_guard guard(lock);
        return action();
    } catch (const std::bad_alloc&) {
        return Failure(HLX_ALLOC_RESOURCE_ERROR, failure);
    }
}

/// Takes a picture by `capture(buffer, size, pReturned)` and writes it to a file.
template <class Capture>
BOOL CaptureToFile(const char* sPicFileName, Capture&& capture) {
    std::vector<char> picture(PICTURE_SIZE);
    DWORD size = 0;
    if (!capture(picture.data(), static_cast<DWORD>(picture.size()), &size)) return 0;
    if (size > picture.size()) return Failure(HLX_NETWORK_ERRORDATA);
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(sPicFileName, "wb"), std::fclose);
    if (!file) return Failure(HLX_CREATEFILE_ERROR);
    const bool bWritten = std::fwrite(picture.data(), 1, size, file.get()) == size && std::fflush(file.get()) == 0;
    return bWritten || Failure(HLX_WRITEFILE_FAILED);
}

/// The stations of a cruise as a list of our own; empty for none.
std::vector<DD_CRUISE_POINT_INFO> CruisePoints(const DD_CRUISE_POINT_INFO* pCruisePoint, WORD pointNum) {
    if (!pCruisePoint) return {};
    return {pCruisePoint, pCruisePoint + pointNum};
}

}  // namespace

POINTERHANDLE CSDKImpl::LivePlay(LONG lUserID, const HLX_CLIENTINFO* lpClientInfo, LIVE_DATA_CALLBACK fLiveDataCallBack,
                                 void* pUser) {
    if (!Given(lpClientInfo)) return -1;
    return WithLiveLock(m_liveLock, POINTERHANDLE{-1},
                        [&] { return m_liveMan.LivePlay(lUserID, lpClientInfo, fLiveDataCallBack, nullptr, pUser); });
}
POINTERHANDLE CSDKImpl::LivePlayEx(LONG lUserID, const HLX_CLIENTINFO* lpClientInfo,
                                   LIVE_DATA_CALLBACK_EX fLiveDataCallBack, void* pUser) {
    if (!Given(lpClientInfo)) return -1;
    return WithLiveLock(m_liveLock, POINTERHANDLE{-1},
                        [&] { return m_liveMan.LivePlay(lUserID, lpClientInfo, nullptr, fLiveDataCallBack, pUser); });
}
BOOL CSDKImpl::StopLivePlay(POINTERHANDLE lLiveHandle) {
    return WithLiveLock(m_liveLock, BOOL{0}, [&] { return m_liveMan.StopLivePlay(lLiveHandle); });
}
BOOL CSDKImpl::GetDeviceTime(LONG lUserID, DD_TIME* lpTime) {
    if (!Given(lpTime)) return 0;
    return WithLiveLock(m_liveLock, BOOL{0}, [&] { return m_liveMan.GetDvrCurrentTime(lUserID, lpTime); });
}

BOOL CSDKImpl::SetLiveDataCallBack(POINTERHANDLE lLiveHandle, LIVE_DATA_CALLBACK fLiveDataCallBack, void* pUser) {
    return m_liveMan.SetLiveDataCallBack(lLiveHandle, fLiveDataCallBack, nullptr, pUser);
}
BOOL CSDKImpl::SetLiveDataCallBackEx(POINTERHANDLE lLiveHandle, LIVE_DATA_CALLBACK_EX fLiveDataCallBack, void* pUser) {
    return m_liveMan.SetLiveDataCallBack(lLiveHandle, nullptr, fLiveDataCallBack, pUser);
}
BOOL CSDKImpl::SetYUVCallBack(POINTERHANDLE lLiveHandle, YUV_DATA_CALLBACK fYUVCallBack, void* pUser) {
    return m_liveMan.SetYUVCallBack(lLiveHandle, fYUVCallBack, pUser);
}
BOOL CSDKImpl::OpenSound(POINTERHANDLE lLiveHandle) { return m_liveMan.OpenSound(lLiveHandle); }
BOOL CSDKImpl::CloseSound() { return m_liveMan.CloseSound(); }
BOOL CSDKImpl::Volume(POINTERHANDLE lLiveHandle, WORD wVolume) { return m_liveMan.Volume(lLiveHandle, wVolume); }
BOOL CSDKImpl::SaveLiveData(POINTERHANDLE lLiveHandle, const char* sFileName) {
    return Given(sFileName) && m_liveMan.SaveLiveData(lLiveHandle, sFileName);
}
BOOL CSDKImpl::StopSaveLiveData(POINTERHANDLE lLiveHandle) { return m_liveMan.StopSaveLiveData(lLiveHandle); }
BOOL CSDKImpl::MakeKeyFrame(LONG lUserID, LONG lChannel) { return m_liveMan.MakeKeyFrame(lUserID, lChannel); }
BOOL CSDKImpl::MakeKeyFrameSub(LONG lUserID, LONG lChannel) { return m_liveMan.MakeKeyFrameSub(lUserID, lChannel); }
BOOL CSDKImpl::MakeKeyFrameEx(LONG lUserID, LONG lChannel, LONG lStreamType) {
    return m_liveMan.MakeKeyFrameEx(lUserID, lChannel, lStreamType);
}
BOOL CSDKImpl::RegisterDrawFun(POINTERHANDLE lHandle, DRAW_FUN_CALLBACK fDrawFun, void* pUser) {
    return m_liveMan.RegisterDrawFun(lHandle, fDrawFun, pUser) ||
           (OutsideDownload() && m_playbackMan.RegisterDrawFun(lHandle, fDrawFun, pUser));
}
BOOL CSDKImpl::RefreshPlay(POINTERHANDLE lHandle) {
    return m_liveMan.RefreshPlay(lHandle) || (OutsideDownload() && m_playbackMan.RefreshPlay(lHandle));
}

BOOL CSDKImpl::CapturePicture(POINTERHANDLE lLiveHandle, const char* sPicFileName) {
    return m_liveMan.CapturePicture(lLiveHandle, sPicFileName);
}
BOOL CSDKImpl::CapturePicture_Other(LONG lUserID, LONG lChannel, const char* sPicFileName) {
    return Given(sPicFileName) && CaptureToFile(sPicFileName, [&](char* pBuffer, DWORD dwSize, LPDWORD pReturned) {
               return m_liveMan.CapturePicture(lUserID, lChannel, pBuffer, dwSize, pReturned);
           });
}
BOOL CSDKImpl::CaptureJPEGPicture(LONG lUserID, LONG lChannel, char* sJpegPicBuffer, DWORD dwPicSize,
                                  LPDWORD lpSizeReturned) {
    return Given(sJpegPicBuffer, lpSizeReturned) &&
           m_liveMan.CapturePicture(lUserID, lChannel, sJpegPicBuffer, dwPicSize, lpSizeReturned);
}
BOOL CSDKImpl::CaptureJpeg(LONG lUserID, LONG lChannel, LONG lResolution, char* sJpegPicBuffer, DWORD dwPicSize,
                           LPDWORD lpSizeReturned) {
    return Given(sJpegPicBuffer, lpSizeReturned) &&
           m_pDeviceMan->CapturePicture(lUserID, lChannel, lResolution, sJpegPicBuffer, dwPicSize, lpSizeReturned);
}
BOOL CSDKImpl::CaptureJPEGData_V2(LONG lUserID, LONG lChannel, char* sJpegPicBuffer, DWORD dwPicSize,
                                  LPDWORD lpSizeReturned) {
    if (!Given(sJpegPicBuffer, lpSizeReturned)) return 0;
    const auto session = m_pDeviceMan->GetDeviceResByUserID(lUserID);
    if (!session) return Failure(HLX_PARAMETER_ERROR);
    return m_pDeviceMan->CaptureJPEGData_V2(lUserID, session->sDeviceIP, session->wDevicePort, lChannel, sJpegPicBuffer,
                                            dwPicSize, lpSizeReturned);
}
BOOL CSDKImpl::CaptureJPEGFile_V2(LONG lUserID, LONG lChannel, const char* sPicFileName) {
    return Given(sPicFileName) && CaptureToFile(sPicFileName, [&](char* pBuffer, DWORD dwSize, LPDWORD pReturned) {
               return CaptureJPEGData_V2(lUserID, lChannel, pBuffer, dwSize, pReturned);
           });
}
BOOL CSDKImpl::SearchPictures(LONG lUserID, const HLX_IMAGE_SREACH& search, LONG lMaxNum, HLX_IMAGE* pImages,
                              LONG* pNum) {
    return Given(pImages, pNum) && m_pDeviceMan->SearchPictures(lUserID, search, lMaxNum, pImages, pNum);
}
BOOL CSDKImpl::RemoteSnap(LONG lUserID, LONG lChannel) {
    return m_pDeviceMan->RemoteSnap(lUserID, static_cast<int>(lChannel));
}
BOOL CSDKImpl::DownLoadPicture(LONG lUserID, const HLX_IMAGE& image, HLX_IMAGE_INFO* pImageInfo, char* pBuffer,
                               DWORD dwSize) {
    if (!Given(pImageInfo, pBuffer)) return 0;
    const auto session = m_pDeviceMan->GetDeviceResByUserID(lUserID);
    if (!session) return Failure(HLX_PARAMETER_ERROR);
    return m_pDeviceMan->ViewPicture(lUserID, session->sDeviceIP, image, pImageInfo, pBuffer, dwSize);
}

BOOL CSDKImpl::PTZControl(POINTERHANDLE lLiveHandle, DWORD dwPTZCommand, DWORD dwSpeed) {
    return m_liveMan.PTZCtrl(lLiveHandle, dwPTZCommand, NO_VALUE, dwSpeed, true);
}
BOOL CSDKImpl::PTZControl_3D(POINTERHANDLE lLiveHandle, const PTZ_3D_POINT_INFO* pPoint) {
    if (!Given(pPoint)) return 0;
    PTZ_3D_POINT_INFO point = *pPoint;
    return m_liveMan.PTZCtrl_3D(lLiveHandle, &point);
}
BOOL CSDKImpl::PTZPreset(POINTERHANDLE lLiveHandle, DWORD dwPTZPresetCmd, DWORD dwPresetIndex) {
    return m_liveMan.PTZCtrl(lLiveHandle, dwPTZPresetCmd, dwPresetIndex, 0, true);
}
BOOL CSDKImpl::PTZCruise(POINTERHANDLE lLiveHandle, DWORD dwPTZCruiseCmd, BYTE byCruiseRoute) {
    return m_liveMan.PTZCtrl(lLiveHandle, dwPTZCruiseCmd, byCruiseRoute, 0, true);
}
BOOL CSDKImpl::PTZTrack(POINTERHANDLE lLiveHandle, DWORD dwPTZTrackCmd) {
    return m_liveMan.PTZCtrl(lLiveHandle, dwPTZTrackCmd, 0, 0, true);
}
BOOL CSDKImpl::PTZAutoScan(POINTERHANDLE lLiveHandle, DWORD dwPTZAutoScanCmd, DWORD dwSpeed, BOOL bIsAutoScan) {
    return m_liveMan.PTZCtrl(lLiveHandle, dwPTZAutoScanCmd, 0, dwSpeed, bIsAutoScan);
}
BOOL CSDKImpl::PTZSetCruise(POINTERHANDLE lLiveHandle, BYTE byCruiseRoute, const DD_CRUISE_POINT_INFO* pCruisePoint,
                            WORD pointNum) {
    auto points = CruisePoints(pCruisePoint, pointNum);
    if (points.empty()) return Failure(HLX_PARAMETER_ERROR);
    return m_liveMan.PTZSetCruise(lLiveHandle, byCruiseRoute, points.data(), pointNum);
}

BOOL CSDKImpl::PTZControl_Other(LONG lUserID, LONG lChannel, DWORD dwPTZCommand, DWORD dwSpeed) {
    return m_pDeviceMan->PTZControl(lUserID, lChannel, dwPTZCommand, NO_VALUE, dwSpeed, true, true);
}
BOOL CSDKImpl::PTZControl_3D_Ex(LONG lUserID, LONG lChannel, const PTZ_3D_POINT_INFO* pPoint) {
    if (!Given(pPoint)) return 0;
    PTZ_3D_POINT_INFO point = *pPoint;
    return m_pDeviceMan->PTZControl_3D(lUserID, lChannel, &point);
}
BOOL CSDKImpl::PTZPreset_Other(LONG lUserID, LONG lChannel, DWORD dwPTZPresetCmd, DWORD dwPresetIndex) {
    return m_pDeviceMan->PTZControl(lUserID, lChannel, dwPTZPresetCmd, dwPresetIndex, 0, true, true);
}
BOOL CSDKImpl::PTZCruise_Other(LONG lUserID, LONG lChannel, DWORD dwPTZCruiseCmd, BYTE byCruiseRoute) {
    return m_pDeviceMan->PTZControl(lUserID, lChannel, dwPTZCruiseCmd, byCruiseRoute, 0, true, true);
}
BOOL CSDKImpl::PTZTrack_Other(LONG lUserID, LONG lChannel, DWORD dwPTZTrackCmd) {
    return m_pDeviceMan->PTZControl(lUserID, lChannel, dwPTZTrackCmd, 0, 0, true, true);
}
BOOL CSDKImpl::PTZAutoScan_Other(LONG lUserID, LONG lChannel, DWORD dwPTZAutoScanCmd, DWORD dwSpeed, BOOL bIsAutoScan) {
    return m_pDeviceMan->PTZControl(lUserID, lChannel, dwPTZAutoScanCmd, 0, dwSpeed, bIsAutoScan, true);
}
BOOL CSDKImpl::PTZSetCruise_Other(LONG lUserID, LONG lChannel, BYTE byCruiseRoute,
                                  const DD_CRUISE_POINT_INFO* pCruisePoint, WORD pointNum) {
    auto points = CruisePoints(pCruisePoint, pointNum);
    if (points.empty()) return Failure(HLX_PARAMETER_ERROR);
    return m_pDeviceMan->PTZSetCruise(lUserID, lChannel, byCruiseRoute, points.data(), pointNum, true);
}
BOOL CSDKImpl::GetPTZConfig(LONG lUserID, LONG lChannel, DWORD dwCommand, LPVOID lpInBuffer, DWORD dwInBufferSize,
                            LPVOID lpOutBuffer, DWORD dwOutBufferSize, LPDWORD lpBytesReturned) {
    const DWORD dwInSize = lpInBuffer ? dwInBufferSize : 0;
    return Given(lpOutBuffer, lpBytesReturned) &&
           m_pDeviceMan->GetPTZConfig(lUserID, lChannel, dwCommand, lpInBuffer, dwInSize, lpOutBuffer, dwOutBufferSize,
                                      lpBytesReturned);
}
BOOL CSDKImpl::GetPTZCameraType(LONG lUserID, HLX_CAMERA_TYPE* pCameraType) {
    return Given(pCameraType) && m_pDeviceMan->GetPTZCameraType(lUserID, pCameraType);
}
BOOL CSDKImpl::GetSupportPtzList(LONG lUserID, int listNum, HLX_CHANNEL_PTZ* pChnPTZ, int* pNum) {
    return Given(pChnPTZ, pNum) && m_pDeviceMan->GetSupportPtzList(lUserID, listNum, pChnPTZ, pNum);
}
