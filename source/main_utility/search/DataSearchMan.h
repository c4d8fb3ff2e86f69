// Searches over what is recorded on a device.
#pragma once

#include "HLX.h"

/// Searches are refused with HLX_NOSUPPORT: -1 for handles and for the next record. Any thread.
class CDataSearchMan {
public:
    POINTERHANDLE FindRecDate(LONG lUserID);
    LONG FindNextRecDate(POINTERHANDLE lFindHandle, DD_DATE* lpRecDate);
    BOOL FindRecDateClose(POINTERHANDLE lFindHandle);
    POINTERHANDLE FindFile(LONG lUserID, LONG lChannel, DWORD dwRecType, const DD_TIME* lpStartTime,
                           const DD_TIME* lpStopTime);
    LONG FindNextFile(POINTERHANDLE lFindHandle, HLX_REC_FILE* lpFindData);
    BOOL FindFileClose(POINTERHANDLE lFindHandle);
    POINTERHANDLE FindEvent(LONG lUserID, LONG lChannel, DWORD dwRecType, const DD_TIME* lpStartTime,
                            const DD_TIME* lpStopTime);
    LONG FindNextEvent(POINTERHANDLE lFindHandle, HLX_REC_EVENT* lpFindData);
    BOOL FindEventClose(POINTERHANDLE lFindHandle);
    POINTERHANDLE FindTime(LONG lUserID, LONG lChannel, DWORD dwRecType, const DD_TIME* lpStartTime,
                           const DD_TIME* lpStopTime);
    LONG FindNextTime(POINTERHANDLE lFindHandle, HLX_REC_TIME* lpFindData);
    BOOL FindTimeClose(POINTERHANDLE lFindHandle);
    POINTERHANDLE FindDVRLog(LONG lUserID, DWORD dwType, const DD_TIME* lpStartTime, const DD_TIME* lpStopTime);
    LONG FindNextLog(POINTERHANDLE lLogHandle, LPHLX_LOG lpLogData);
    BOOL FindLogClose(POINTERHANDLE lLogHandle);
    POINTERHANDLE FindEventInfo(LONG lUserID, DWORD dwType, ULONGLONG channlMask, const DD_TIME* lpStartTime,
                                const DD_TIME* lpStopTime);
    LONG FindNextEventInfo(POINTERHANDLE lEventHandle, LPHLX_EVENT lpEventData);
    BOOL FindEventInfoClose(POINTERHANDLE lEventHandle);

    BOOL LockFile(LONG lUserID, const HLX_REC_FILE* pFiles, LONG fileNum);
    BOOL UnlockFile(LONG lUserID, const HLX_REC_FILE* pFiles, LONG fileNum);
    BOOL DeleteRecFile(LONG lUserID, const HLX_REC_FILE* pFiles, LONG fileNum);
};
