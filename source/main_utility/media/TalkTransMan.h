// Two-way audio with the application's own sound.
#pragma once

#include "HLX.h"

/// Talks are refused with HLX_NOSUPPORT. Any thread.
class CTalkTransMan {
public:
    bool Initial() { return true; }
    void Quit() {}

    /// The talk handle, or -1.
    POINTERHANDLE Start(LONG lUserID, BOOL bNeedNoEncodeData, TALK_DATA_CALLBACK fVoiceDataCallBack, void* pUser);
    BOOL Stop(POINTERHANDLE lVoiceComHandle);
    BOOL GetAudioInfo(POINTERHANDLE lVoiceComHandle, LPVOID pAudioInfo, LONG infoLen);
    BOOL SendTalkData(POINTERHANDLE lVoiceComHandle, const char* pSendBuf, DWORD dwBufSize);
};
