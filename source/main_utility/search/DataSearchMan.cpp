#include "main_utility/search/DataSearchMan.h"

#include "sdk_common/ThreadState.h"

namespace {
LONG NoSearch() { return Failure(HLX_NOSUPPORT, LONG{-1}); }
}  // namespace

POINTERHANDLE CDataSearchMan::FindRecDate(LONG) { return NoSearch(); }
LONG CDataSearchMan::FindNextRecDate(POINTERHANDLE, DD_DATE*) { return NoSearch(); }
BOOL CDataSearchMan::FindRecDateClose(POINTERHANDLE) { return Failure(HLX_NOSUPPORT); }
POINTERHANDLE CDataSearchMan::FindFile(LONG, LONG, DWORD, const DD_TIME*, const DD_TIME*) { return NoSearch(); }
LONG CDataSearchMan::FindNextFile(POINTERHANDLE, HLX_REC_FILE*) { return NoSearch(); }
BOOL CDataSearchMan::FindFileClose(POINTERHANDLE) { return Failure(HLX_NOSUPPORT); }
POINTERHANDLE CDataSearchMan::FindEvent(LONG, LONG, DWORD, const DD_TIME*, const DD_TIME*) { return NoSearch(); }
LONG CDataSearchMan::FindNextEvent(POINTERHANDLE, HLX_REC_EVENT*) { return NoSearch(); }
BOOL CDataSearchMan::FindEventClose(POINTERHANDLE) { return Failure(HLX_NOSUPPORT); }
POINTERHANDLE CDataSearchMan::FindTime(LONG, LONG, DWORD, const DD_TIME*, const DD_TIME*) { return NoSearch(); }
LONG CDataSearchMan::FindNextTime(POINTERHANDLE, HLX_REC_TIME*) { return NoSearch(); }
BOOL CDataSearchMan::FindTimeClose(POINTERHANDLE) { return Failure(HLX_NOSUPPORT); }
POINTERHANDLE CDataSearchMan::FindDVRLog(LONG, DWORD, const DD_TIME*, const DD_TIME*) { return NoSearch(); }
LONG CDataSearchMan::FindNextLog(POINTERHANDLE, LPHLX_LOG) { return NoSearch(); }
BOOL CDataSearchMan::FindLogClose(POINTERHANDLE) { return Failure(HLX_NOSUPPORT); }
POINTERHANDLE CDataSearchMan::FindEventInfo(LONG, DWORD, ULONGLONG, const DD_TIME*, const DD_TIME*) {
    return NoSearch();
}
LONG CDataSearchMan::FindNextEventInfo(POINTERHANDLE, LPHLX_EVENT) { return NoSearch(); }
BOOL CDataSearchMan::FindEventInfoClose(POINTERHANDLE) { return Failure(HLX_NOSUPPORT); }
BOOL CDataSearchMan::LockFile(LONG, const HLX_REC_FILE*, LONG) { return Failure(HLX_NOSUPPORT); }
BOOL CDataSearchMan::UnlockFile(LONG, const HLX_REC_FILE*, LONG) { return Failure(HLX_NOSUPPORT); }
BOOL CDataSearchMan::DeleteRecFile(LONG, const HLX_REC_FILE*, LONG) { return Failure(HLX_NOSUPPORT); }
