// Searches over what is recorded on a device.
#pragma once

#include "HLX.h"
#include "main_utility/search/SearchFamily.h"

class CNetDeviceMan;

using _rec_date_search_info = SEARCH_INFO<DD_DATE>;
using _file_search_info = SEARCH_INFO<HLX_REC_FILE>;
using _event_search_info = SEARCH_INFO<HLX_REC_EVENT>;
using _time_search_info = SEARCH_INFO<HLX_REC_TIME>;
using _log_search_info = SEARCH_INFO<HLX_LOG>;
using _eventInfo_search_info = SEARCH_INFO<HLX_EVENT>;

/// Six families of searches, each with a lock of its own, and three operations on recording files. A find asks the
/// device of `lUserID` for the whole result on the caller's thread and keeps it until its close, whatever becomes of the
/// session; what the device layer said is the last error of a find that failed (-1), but FindFile always gives
/// HLX_FILE_NOFIND. Pointers are not null. Any thread. Lock order: a family's, then those of CNetDeviceMan.
class CDataSearchMan {
public:
    CDataSearchMan();

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

private:
    struct REC_DATE_TRAITS : SEARCH_TRAITS<DD_DATE> {
        static constexpr bool EMPTY_MASKS_LATER = true;
        static constexpr bool NEXT_SETS_ERROR = true;
        static constexpr bool CLOSE_SETS_ERROR = true;
    };
    struct REC_FILE_TRAITS : SEARCH_TRAITS<HLX_REC_FILE> {
        static constexpr bool OPEN_SETS_NOFIND = true;
        static constexpr bool EMPTY_MASKS_LATER = true;
    };

    CNetDeviceMan* const m_NetDeviceMan;
    CSearchFamily<REC_DATE_TRAITS> m_listRecDateSearchInfo;
    CSearchFamily<REC_FILE_TRAITS> m_listFileSearchInfo;
    CSearchFamily<SEARCH_TRAITS<HLX_REC_EVENT>> m_listEventSearchInfo;
    CSearchFamily<SEARCH_TRAITS<HLX_REC_TIME>> m_listTimeSearchInfo;
    CSearchFamily<SEARCH_TRAITS<HLX_LOG>> m_listLogSeachInfo;  // spelled so
    CSearchFamily<SEARCH_TRAITS<HLX_EVENT>> m_listEventInfoSearchInfo;
};
