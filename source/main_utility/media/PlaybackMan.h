// Playback of recordings.
#pragma once

#include <set>

#include "HLX.h"
#include "sdk_common/PubLock.h"

/// Keeps one entry per logged-in device. Playing itself is refused with HLX_NOSUPPORT; there are no playback handles,
/// so whatever takes one fails. Any thread.
class CPlaybackMan {
public:
    bool Initial() { return true; }
    bool Start() { return true; }
    void Stop() {}
    /// Drops the device entries. Safe on a manager that was never initialised.
    void Quit();

    /// Makes the device's entry if it has none. False: no memory.
    bool AddDevice(LONG lUserID);
    /// Drops it; an unknown id is ignored.
    void RemoveDevice(LONG lUserID);
    bool HasDevice(LONG lUserID);

    /// The play handle, or -1.
    POINTERHANDLE PlayBackByTimeAsync(LONG lUserID, const LONG* pChannels, LONG channelNum, const DD_TIME* lpStartTime,
                                      const DD_TIME* lpStopTime, const HWND* hWnds, BOOL bFirstStream);
    /// A mask of the channels that run, bit n for `pChannels[n]`.
    POINTERHANDLE PlayBackByTimeSync(LONG lUserID, const LONG* pChannels, LONG channelNum, const DD_TIME* lpStartTime,
                                     const DD_TIME* lpStopTime, const HWND* hWnds, BOOL bFirstStream);
    BOOL PlayBackControl(POINTERHANDLE lPlayHandle, DWORD dwControlCode, DWORD dwInValue, LPDWORD lpOutValue);
    BOOL PlayBackControlSync(DWORD dwControlCode, DWORD dwInValue, LPDWORD lpOutValue);
    BOOL StopPlayBack(POINTERHANDLE lPlayHandle);
    BOOL StopPlayBackSync();
    BOOL SetPlayDataCallBack(POINTERHANDLE lPlayHandle, PLAY_DATA_CALLBACK fPlayDataCallBack, void* pUser);
    BOOL PlayBackSaveData(POINTERHANDLE lPlayHandle, LONG lChannel, const char* sFileName);
    BOOL StopPlayBackSave(POINTERHANDLE lPlayHandle, LONG lChannel);
    BOOL GetPlayBackOsdTime(POINTERHANDLE lPlayHandle, DD_TIME* lpOsdTime);
    BOOL PlayBackCaptureFile(POINTERHANDLE lPlayHandle, LONG lChannel, const char* sFileName);

    // These two are offered handles of live streams as well, so an unknown handle is HLX_PARAMETER_ERROR.
    BOOL RefreshPlay(POINTERHANDLE lPlayHandle);
    BOOL RegisterDrawFun(POINTERHANDLE lPlayHandle, DRAW_FUN_CALLBACK fDrawFun, void* pUser);

private:
    CPUB_Lock m_playLock;
    std::set<LONG> m_playCtrl;  // user ids; guarded by m_playLock
};
