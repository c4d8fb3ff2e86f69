#include "main_utility/media/PlaybackMan.h"

#include <mutex>
#include <new>

#include "sdk_common/ThreadState.h"

void CPlaybackMan::Quit() {
    std::lock_guard guard(m_playLock);
    m_playCtrl.clear();
}

bool CPlaybackMan::AddDevice(LONG lUserID) try {
    std::lock_guard guard(m_playLock);
    m_playCtrl.insert(lUserID);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

void CPlaybackMan::RemoveDevice(LONG lUserID) {
    std::lock_guard guard(m_playLock);
    m_playCtrl.erase(lUserID);
}

bool CPlaybackMan::HasDevice(LONG lUserID) {
    std::lock_guard guard(m_playLock);
    return m_playCtrl.contains(lUserID);
}

POINTERHANDLE CPlaybackMan::PlayBackByTimeAsync(LONG, const LONG*, LONG, const DD_TIME*, const DD_TIME*, const HWND*,
                                                BOOL) {
    return Failure(HLX_NOSUPPORT, POINTERHANDLE{-1});
}
POINTERHANDLE CPlaybackMan::PlayBackByTimeSync(LONG, const LONG*, LONG, const DD_TIME*, const DD_TIME*, const HWND*,
                                               BOOL) {
    return Failure(HLX_NOSUPPORT, POINTERHANDLE{0});
}
BOOL CPlaybackMan::PlayBackControl(POINTERHANDLE, DWORD, DWORD, LPDWORD) { return Failure(HLX_NOSUPPORT); }
BOOL CPlaybackMan::PlayBackControlSync(DWORD, DWORD, LPDWORD) { return Failure(HLX_NOSUPPORT); }
BOOL CPlaybackMan::StopPlayBack(POINTERHANDLE) { return Failure(HLX_NOSUPPORT); }
BOOL CPlaybackMan::StopPlayBackSync() { return Failure(HLX_NOSUPPORT); }
BOOL CPlaybackMan::SetPlayDataCallBack(POINTERHANDLE, PLAY_DATA_CALLBACK, void*) { return Failure(HLX_NOSUPPORT); }
BOOL CPlaybackMan::PlayBackSaveData(POINTERHANDLE, LONG, const char*) { return Failure(HLX_NOSUPPORT); }
BOOL CPlaybackMan::StopPlayBackSave(POINTERHANDLE, LONG) { return Failure(HLX_NOSUPPORT); }
BOOL CPlaybackMan::GetPlayBackOsdTime(POINTERHANDLE, DD_TIME*) { return Failure(HLX_NOSUPPORT); }
BOOL CPlaybackMan::PlayBackCaptureFile(POINTERHANDLE, LONG, const char*) { return Failure(HLX_NOSUPPORT); }
BOOL CPlaybackMan::RefreshPlay(POINTERHANDLE) { return Failure(HLX_PARAMETER_ERROR); }
BOOL CPlaybackMan::RegisterDrawFun(POINTERHANDLE, DRAW_FUN_CALLBACK, void*) { return Failure(HLX_PARAMETER_ERROR); }
