// Two-way audio through this machine's own sound.
#pragma once

#include "HLX.h"

/// Talks are refused with HLX_NOSUPPORT. Any thread.
class CTalkbackMan {
public:
    bool Initial() { return true; }
    void Quit() {}

    /// The talk handle, or -1.
    POINTERHANDLE StartTalk(LONG lUserID, BOOL bNeedCBNoEncData, TALK_DATA_CALLBACK fVoiceDataCallBack, void* pUser);
    BOOL StopTalk(POINTERHANDLE lVoiceComHandle);
    BOOL GetAudioInfo(POINTERHANDLE lVoiceComHandle, LPVOID pAudioInfo, LONG infoLen);
    BOOL SetVoiceComClientVolume(POINTERHANDLE lVoiceComHandle, WORD wVolume);
};
