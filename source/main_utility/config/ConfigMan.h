// Configuration items of devices.
#pragma once

#include "HLX.h"

/// Configuration is refused with HLX_NOSUPPORT; EnterDVRConfig then gives -4. Any thread.
class CConfigMan {
public:
    LONG EnterDVRConfig(LONG lUserID);
    BOOL ExitDVRConfig(LONG lUserID);
    BOOL GetDVRConfig(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpOutBuffer, DWORD dwOutBufferSize,
                      LPDWORD lpBytesReturned, BOOL bDefault);
    BOOL GetDVRConfig_SubStreamEncodeInfo(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpOutBuffer,
                                          DWORD dwOutBufferSize, LPDWORD lpBytesReturned, BOOL bDefault);
    BOOL SetDVRConfig(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpInBuffer, DWORD dwInBufferSize);
    BOOL SetDVRConfig_SubStreamEncodeInfo(LONG lUserID, LONG lChannel, LPVOID lpInBuffer, DWORD dwInBufferSize);
    BOOL GetAlarmStatus(LONG lUserID, LPVOID lpOutBuffer, DWORD dwOutBufferSize, LPVOID lpReplyBuffer,
                        LPDWORD lpReplySize, int* pAlarmNum, BOOL bEx);
};
