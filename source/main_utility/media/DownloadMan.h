// Download of recordings.
#pragma once

#include "HLX.h"

/// Downloads are refused with HLX_NOSUPPORT. Any thread.
class CDownloadMan {
public:
    bool Initial() { return true; }
    bool Start() { return true; }
    void Stop() {}
    void Quit() {}

    /// Ends what downloads from that session.
    void RemoveDevice(LONG) {}

    /// A positive `recFormat` means the library's own format, else AVI. A handle from 1, or -1.
    POINTERHANDLE GetFileByTime(LONG lUserID, LONG lChannel, const DD_TIME* lpStartTime, const DD_TIME* lpStopTime,
                                const char* sSavedFileName, int recFormat, BOOL bUseCallBack,
                                BACKUP_DATA_CALLBACK fBackupDataCallBack, void* pUser, BOOL bFirstStream);
    BOOL StopGetFile(POINTERHANDLE lFileHandle);
    /// 101: no download is running.
    int GetDownloadPos(POINTERHANDLE lFileHandle);
};
