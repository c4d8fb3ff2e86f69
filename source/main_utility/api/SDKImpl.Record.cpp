// Session root: record search, playback, download, USB backup.
#include "main_utility/api/SDKImpl.h"
#include "main_utility/device/NetDeviceMan.h"

namespace {

constexpr LONG NO_HANDLE = -1;

/// A list of recording files that the application names.
bool GivenFiles(const HLX_REC_FILE* pFiles, LONG fileNum) {
    return Given(pFiles) && (fileNum > 0 || Failure(HLX_PARAMETER_ERROR));
}

/// What a playback's frame callback may not do, nor that of a download: the thread that it runs on would wait for itself.
bool OutsidePlayback() {
    return (!CPlaybackMan::InFrameCallback() || Failure(HLX_OPER_NOPERMIT)) && CSDKImpl::OutsideDownload();
}

}  // namespace

POINTERHANDLE CSDKImpl::FindRecDate(LONG lUserID) { return m_dataSearchMan.FindRecDate(lUserID); }
LONG CSDKImpl::FindNextRecDate(POINTERHANDLE lFindHandle, DD_DATE* lpRecDate) {
    return Given(lpRecDate) ? m_dataSearchMan.FindNextRecDate(lFindHandle, lpRecDate) : NO_HANDLE;
}
BOOL CSDKImpl::FindRecDateClose(POINTERHANDLE lFindHandle) { return m_dataSearchMan.FindRecDateClose(lFindHandle); }

POINTERHANDLE CSDKImpl::FindFile(LONG lUserID, LONG lChannel, const DD_TIME* lpStartTime, const DD_TIME* lpStopTime) {
    if (!Given(lpStartTime, lpStopTime)) return NO_HANDLE;
    return m_dataSearchMan.FindFile(lUserID, lChannel, DD_RECORD_TYPE_ALL, lpStartTime, lpStopTime);
}
LONG CSDKImpl::FindNextFile(POINTERHANDLE lFindHandle, HLX_REC_FILE* lpFindData) {
    return Given(lpFindData) ? m_dataSearchMan.FindNextFile(lFindHandle, lpFindData) : NO_HANDLE;
}
BOOL CSDKImpl::FindClose(POINTERHANDLE lFindHandle) { return m_dataSearchMan.FindFileClose(lFindHandle); }

POINTERHANDLE CSDKImpl::FindEvent(LONG lUserID, LONG lChannel, DWORD dwRecType, const DD_TIME* lpStartTime,
                                  const DD_TIME* lpStopTime) {
    if (!Given(lpStartTime, lpStopTime)) return NO_HANDLE;
    return m_dataSearchMan.FindEvent(lUserID, lChannel, dwRecType, lpStartTime, lpStopTime);
}
LONG CSDKImpl::FindNextEvent(POINTERHANDLE lFindHandle, HLX_REC_EVENT* lpFindData) {
    return Given(lpFindData) ? m_dataSearchMan.FindNextEvent(lFindHandle, lpFindData) : NO_HANDLE;
}
BOOL CSDKImpl::FindEventClose(POINTERHANDLE lFindHandle) { return m_dataSearchMan.FindEventClose(lFindHandle); }

POINTERHANDLE CSDKImpl::FindTime(LONG lUserID, LONG lChannel, const DD_TIME* lpStartTime, const DD_TIME* lpStopTime) {
    if (!Given(lpStartTime, lpStopTime)) return NO_HANDLE;
    return m_dataSearchMan.FindTime(lUserID, lChannel, DD_RECORD_TYPE_ALL, lpStartTime, lpStopTime);
}
LONG CSDKImpl::FindNextTime(POINTERHANDLE lFindHandle, HLX_REC_TIME* lpFindData) {
    return Given(lpFindData) ? m_dataSearchMan.FindNextTime(lFindHandle, lpFindData) : NO_HANDLE;
}
BOOL CSDKImpl::FindTimeClose(POINTERHANDLE lFindHandle) { return m_dataSearchMan.FindTimeClose(lFindHandle); }

POINTERHANDLE CSDKImpl::FindDVRLog(LONG lUserID, DWORD dwType, const DD_TIME* lpStartTime, const DD_TIME* lpStopTime) {
    if (!Given(lpStartTime, lpStopTime)) return NO_HANDLE;
    return m_dataSearchMan.FindDVRLog(lUserID, dwType, lpStartTime, lpStopTime);
}
LONG CSDKImpl::FindNextLog(POINTERHANDLE lLogHandle, LPHLX_LOG lpLogData) {
    return Given(lpLogData) ? m_dataSearchMan.FindNextLog(lLogHandle, lpLogData) : NO_HANDLE;
}
BOOL CSDKImpl::FindLogClose(POINTERHANDLE lLogHandle) { return m_dataSearchMan.FindLogClose(lLogHandle); }

POINTERHANDLE CSDKImpl::FindEventInfo(LONG lUserID, DWORD dwType, ULONGLONG channlMask, const DD_TIME* lpStartTime,
                                      const DD_TIME* lpStopTime) {
    if (!Given(lpStartTime, lpStopTime)) return NO_HANDLE;
    return m_dataSearchMan.FindEventInfo(lUserID, dwType, channlMask, lpStartTime, lpStopTime);
}
LONG CSDKImpl::FindNextEventInfo(POINTERHANDLE lEventHandle, LPHLX_EVENT lpEventData) {
    return Given(lpEventData) ? m_dataSearchMan.FindNextEventInfo(lEventHandle, lpEventData) : NO_HANDLE;
}
BOOL CSDKImpl::FindEventInfoClose(POINTERHANDLE lEventHandle) {
    return m_dataSearchMan.FindEventInfoClose(lEventHandle);
}

BOOL CSDKImpl::LockFile(LONG lUserID, const HLX_REC_FILE* pFileToLock, LONG fileNum) {
    return GivenFiles(pFileToLock, fileNum) && m_dataSearchMan.LockFile(lUserID, pFileToLock, fileNum);
}
BOOL CSDKImpl::UnlockFile(LONG lUserID, const HLX_REC_FILE* pFileToUnlock, LONG fileNum) {
    return GivenFiles(pFileToUnlock, fileNum) && m_dataSearchMan.UnlockFile(lUserID, pFileToUnlock, fileNum);
}
BOOL CSDKImpl::DeleteRecFile(LONG lUserID, const HLX_REC_FILE* pFileToDelete, LONG fileNum) {
    return GivenFiles(pFileToDelete, fileNum) && m_dataSearchMan.DeleteRecFile(lUserID, pFileToDelete, fileNum);
}

POINTERHANDLE CSDKImpl::PlayBackByTime(LONG lUserID, const LONG* pChannels, LONG channelNum, const DD_TIME* lpStartTime,
                                       const DD_TIME* lpStopTime, const HWND* hWnds, BOOL bFirstStream) {
    if (!Given(pChannels, lpStartTime, lpStopTime) || !OutsidePlayback()) return NO_HANDLE;
    return m_playbackMan.PlayBackByTimeAsync(lUserID, pChannels, channelNum, lpStartTime, lpStopTime, hWnds,
                                             bFirstStream);
}
POINTERHANDLE CSDKImpl::PlayBackByTimeSync(LONG lUserID, const LONG* pChannels, LONG channelNum,
                                           const DD_TIME* lpStartTime, const DD_TIME* lpStopTime, const HWND* hWnds,
                                           BOOL bFirstStream) {
    if (!Given(pChannels, lpStartTime, lpStopTime) || !OutsidePlayback()) return 0;
    return m_playbackMan.PlayBackByTimeSync(lUserID, pChannels, channelNum, lpStartTime, lpStopTime, hWnds,
                                            bFirstStream);
}
BOOL CSDKImpl::PlayBackControl(POINTERHANDLE lPlayHandle, DWORD dwControlCode, DWORD dwInValue, LPDWORD lpOutValue) {
    return OutsidePlayback() && m_playbackMan.PlayBackControl(lPlayHandle, dwControlCode, dwInValue, lpOutValue);
}
BOOL CSDKImpl::PlayBackControlSync(DWORD dwControlCode, DWORD dwInValue, LPDWORD lpOutValue) {
    return OutsidePlayback() && m_playbackMan.PlayBackControlSync(dwControlCode, dwInValue, lpOutValue);
}
BOOL CSDKImpl::StopPlayBack(POINTERHANDLE lPlayHandle) {
    return OutsidePlayback() && m_playbackMan.StopPlayBack(lPlayHandle);
}
BOOL CSDKImpl::StopPlayBackSync() { return OutsidePlayback() && m_playbackMan.StopPlayBackSync(); }
BOOL CSDKImpl::SetPlayDataCallBack(POINTERHANDLE lPlayHandle, PLAY_DATA_CALLBACK fPlayDataCallBack, void* pUser) {
    return OutsideDownload() && m_playbackMan.SetPlayDataCallBack(lPlayHandle, fPlayDataCallBack, pUser);
}
BOOL CSDKImpl::PlayBackSaveData(POINTERHANDLE lPlayHandle, LONG lChannel, const char* sFileName) {
    return Given(sFileName) && OutsideDownload() && m_playbackMan.PlayBackSaveData(lPlayHandle, lChannel, sFileName);
}
BOOL CSDKImpl::StopPlayBackSave(POINTERHANDLE lPlayHandle, LONG lChannel) {
    return OutsideDownload() && m_playbackMan.StopPlayBackSave(lPlayHandle, lChannel);
}
BOOL CSDKImpl::GetPlayBackOsdTime(POINTERHANDLE lPlayHandle, DD_TIME* lpOsdTime) {
    return Given(lpOsdTime) && OutsideDownload() && m_playbackMan.GetPlayBackOsdTime(lPlayHandle, lpOsdTime);
}
BOOL CSDKImpl::PlayBackCaptureFile(POINTERHANDLE lPlayHandle, LONG lChannel, const char* sFileName) {
    return Given(sFileName) && OutsideDownload() && m_playbackMan.PlayBackCaptureFile(lPlayHandle, lChannel, sFileName);
}

POINTERHANDLE CSDKImpl::GetFileByTime(LONG lUserID, LONG lChannel, const DD_TIME* lpStartTime,
                                      const DD_TIME* lpStopTime, const char* sSavedFileName, int recFormat,
                                      BOOL bUseCallBack, BACKUP_DATA_CALLBACK fBackupDataCallBack, void* pUser,
                                      BOOL bFirstStream) {
    return m_downloadMan.GetFileByTime(lUserID, lChannel, lpStartTime, lpStopTime, sSavedFileName, recFormat,
                                       bUseCallBack, fBackupDataCallBack, pUser, bFirstStream);
}
BOOL CSDKImpl::StopGetFile(POINTERHANDLE lFileHandle) { return m_downloadMan.StopGetFile(lFileHandle); }
int CSDKImpl::GetDownloadPos(POINTERHANDLE lFileHandle) { return m_downloadMan.GetDownloadPos(lFileHandle); }

BOOL CSDKImpl::SaveFileToUsbByTime(LONG lUserID, const HLX_REC_FILE* pRecFile, USB_BACKUP_FORMAT eFormat) {
    if (!Given(pRecFile)) return 0;
    HLX_REC_FILE file = *pRecFile;
    return m_pDeviceMan->SaveFileToUsbByTime(lUserID, &file, eFormat);
}
BOOL CSDKImpl::GetSaveFileToUsbProcess(LONG lUserID, HLX_USB_BACKUP_PROCESS_EX* pProcess, DWORD dwMaxNum,
                                       LPDWORD pNum) {
    return Given(pProcess, pNum) && m_pDeviceMan->GetSaveFileToUsbProcess(lUserID, pProcess, dwMaxNum, pNum);
}
