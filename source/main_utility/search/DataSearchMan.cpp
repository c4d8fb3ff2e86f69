#include "main_utility/search/DataSearchMan.h"

#include "main_utility/device/NetDeviceMan.h"

CDataSearchMan::CDataSearchMan() : m_NetDeviceMan(CNetDeviceMan::Instance()) {}

// ---- Find ----

POINTERHANDLE CDataSearchMan::FindRecDate(LONG lUserID) {
    return m_listRecDateSearchInfo.Find(
        lUserID, [&](std::list<DD_DATE>& list) { return m_NetDeviceMan->SearchRecDate(lUserID, list); });
}

POINTERHANDLE CDataSearchMan::FindFile(LONG lUserID, LONG lChannel, DWORD dwRecType, const DD_TIME* lpStartTime,
                                       const DD_TIME* lpStopTime) {
    return m_listFileSearchInfo.Find(lUserID, [&](std::list<HLX_REC_FILE>& list) {
        return m_NetDeviceMan->SearchRecFile(lUserID, lChannel, dwRecType, *lpStartTime, *lpStopTime, list);
    });
}

POINTERHANDLE CDataSearchMan::FindEvent(LONG lUserID, LONG lChannel, DWORD dwRecType, const DD_TIME* lpStartTime,
                                        const DD_TIME* lpStopTime) {
    return m_listEventSearchInfo.Find(lUserID, [&](std::list<HLX_REC_EVENT>& list) {
        return m_NetDeviceMan->SearchRecEvent(lUserID, lChannel, dwRecType, *lpStartTime, *lpStopTime, list);
    });
}

POINTERHANDLE CDataSearchMan::FindTime(LONG lUserID, LONG lChannel, DWORD dwRecType, const DD_TIME* lpStartTime,
                                       const DD_TIME* lpStopTime) {
    return m_listTimeSearchInfo.Find(lUserID, [&](std::list<HLX_REC_TIME>& list) {
        return m_NetDeviceMan->SearchRecTime(lUserID, lChannel, dwRecType, *lpStartTime, *lpStopTime, list);
    });
}

POINTERHANDLE CDataSearchMan::FindDVRLog(LONG lUserID, DWORD dwType, const DD_TIME* lpStartTime,
                                         const DD_TIME* lpStopTime) {
    return m_listLogSeachInfo.Find(lUserID, [&](std::list<HLX_LOG>& list) {
        return m_NetDeviceMan->SearchDVRLog(lUserID, dwType, *lpStartTime, *lpStopTime, list);
    });
}

POINTERHANDLE CDataSearchMan::FindEventInfo(LONG lUserID, DWORD dwType, ULONGLONG channlMask,
                                            const DD_TIME* lpStartTime, const DD_TIME* lpStopTime) {
    return m_listEventInfoSearchInfo.Find(lUserID, [&](std::list<HLX_EVENT>& list) {
        return m_NetDeviceMan->SearchDVREvent(lUserID, dwType, channlMask, *lpStartTime, *lpStopTime, list);
    });
}

// ---- Next and close ----

LONG CDataSearchMan::FindNextRecDate(POINTERHANDLE lFindHandle, DD_DATE* lpRecDate) {
    return m_listRecDateSearchInfo.FindNext(lFindHandle, lpRecDate);
}
LONG CDataSearchMan::FindNextFile(POINTERHANDLE lFindHandle, HLX_REC_FILE* lpFindData) {
    return m_listFileSearchInfo.FindNext(lFindHandle, lpFindData);
}
LONG CDataSearchMan::FindNextEvent(POINTERHANDLE lFindHandle, HLX_REC_EVENT* lpFindData) {
    return m_listEventSearchInfo.FindNext(lFindHandle, lpFindData);
}
LONG CDataSearchMan::FindNextTime(POINTERHANDLE lFindHandle, HLX_REC_TIME* lpFindData) {
    return m_listTimeSearchInfo.FindNext(lFindHandle, lpFindData);
}
LONG CDataSearchMan::FindNextLog(POINTERHANDLE lLogHandle, LPHLX_LOG lpLogData) {
    return m_listLogSeachInfo.FindNext(lLogHandle, lpLogData);
}
LONG CDataSearchMan::FindNextEventInfo(POINTERHANDLE lEventHandle, LPHLX_EVENT lpEventData) {
    return m_listEventInfoSearchInfo.FindNext(lEventHandle, lpEventData);
}

BOOL CDataSearchMan::FindRecDateClose(POINTERHANDLE lFindHandle) { return m_listRecDateSearchInfo.Close(lFindHandle); }
BOOL CDataSearchMan::FindFileClose(POINTERHANDLE lFindHandle) { return m_listFileSearchInfo.Close(lFindHandle); }
BOOL CDataSearchMan::FindEventClose(POINTERHANDLE lFindHandle) { return m_listEventSearchInfo.Close(lFindHandle); }
BOOL CDataSearchMan::FindTimeClose(POINTERHANDLE lFindHandle) { return m_listTimeSearchInfo.Close(lFindHandle); }
BOOL CDataSearchMan::FindLogClose(POINTERHANDLE lLogHandle) { return m_listLogSeachInfo.Close(lLogHandle); }
BOOL CDataSearchMan::FindEventInfoClose(POINTERHANDLE lEventHandle) {
    return m_listEventInfoSearchInfo.Close(lEventHandle);
}

// ---- Files ----

// Devices take the files by a pointer to writable records and only read them.
BOOL CDataSearchMan::LockFile(LONG lUserID, const HLX_REC_FILE* pFiles, LONG fileNum) {
    return m_NetDeviceMan->LockFile(lUserID, const_cast<HLX_REC_FILE*>(pFiles), fileNum);
}
BOOL CDataSearchMan::UnlockFile(LONG lUserID, const HLX_REC_FILE* pFiles, LONG fileNum) {
    return m_NetDeviceMan->UnlockFile(lUserID, const_cast<HLX_REC_FILE*>(pFiles), fileNum);
}
BOOL CDataSearchMan::DeleteRecFile(LONG lUserID, const HLX_REC_FILE* pFiles, LONG fileNum) {
    return m_NetDeviceMan->DeleteRecFile(lUserID, const_cast<HLX_REC_FILE*>(pFiles), fileNum);
}
