// Exported functions: record search.
#include "main_utility/api/Wrappers.h"

POINTERHANDLE HLX_FindRecDate(LONG lUserID) {
    return FullWrapper(__func__, POINTERHANDLE{-1}, &CSDKImpl::FindRecDate, lUserID);
}
LONG HLX_FindNextRecDate(POINTERHANDLE lFindHandle, DD_DATE* lpRecDate) {
    return FullWrapper(__func__, LONG{-1}, &CSDKImpl::FindNextRecDate, lFindHandle, lpRecDate);
}
BOOL HLX_FindRecDateClose(POINTERHANDLE lFindHandle) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::FindRecDateClose, lFindHandle);
}
POINTERHANDLE HLX_FindFile(LONG lUserID, LONG lChannel, const DD_TIME* lpStartTime, const DD_TIME* lpStopTime) {
    return FullWrapper(__func__, POINTERHANDLE{-1}, &CSDKImpl::FindFile, lUserID, lChannel, lpStartTime, lpStopTime);
}
LONG HLX_FindNextFile(POINTERHANDLE lFindHandle, HLX_REC_FILE* lpFindData) {
    return FullWrapper(__func__, LONG{-1}, &CSDKImpl::FindNextFile, lFindHandle, lpFindData);
}
BOOL HLX_FindClose(POINTERHANDLE lFindHandle) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::FindClose, lFindHandle);
}
POINTERHANDLE HLX_FindEvent(LONG lUserID, LONG lChannel, DWORD dwRecType, const DD_TIME* lpStartTime,
                            const DD_TIME* lpStopTime) {
    return FullWrapper(__func__, POINTERHANDLE{-1}, &CSDKImpl::FindEvent, lUserID, lChannel, dwRecType, lpStartTime,
                       lpStopTime);
}
LONG HLX_FindNextEvent(POINTERHANDLE lFindHandle, HLX_REC_EVENT* lpFindData) {
    return FullWrapper(__func__, LONG{-1}, &CSDKImpl::FindNextEvent, lFindHandle, lpFindData);
}
BOOL HLX_FindEventClose(POINTERHANDLE lFindHandle) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::FindEventClose, lFindHandle);
}
POINTERHANDLE HLX_FindTime(LONG lUserID, LONG lChannel, const DD_TIME* lpStartTime, const DD_TIME* lpStopTime) {
    return FullWrapper(__func__, POINTERHANDLE{-1}, &CSDKImpl::FindTime, lUserID, lChannel, lpStartTime, lpStopTime);
}
LONG HLX_FindNextTime(POINTERHANDLE lFindHandle, HLX_REC_TIME* lpFindData) {
    return FullWrapper(__func__, LONG{-1}, &CSDKImpl::FindNextTime, lFindHandle, lpFindData);
}
BOOL HLX_FindTimeClose(POINTERHANDLE lFindHandle) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::FindTimeClose, lFindHandle);
}
BOOL HLX_LockFile(LONG lUserID, const HLX_REC_FILE* pFileToLock, LONG fileNum) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::LockFile, lUserID, pFileToLock, fileNum);
}
BOOL HLX_UnlockFile(LONG lUserID, const HLX_REC_FILE* pFileToUnlock, LONG fileNum) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::UnlockFile, lUserID, pFileToUnlock, fileNum);
}
BOOL HLX_DeleteRecFile(LONG lUserID, const HLX_REC_FILE* pFileToDelete, LONG fileNum) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::DeleteRecFile, lUserID, pFileToDelete, fileNum);
}
POINTERHANDLE HLX_FindDVRLog(LONG lUserID, DWORD dwType, const DD_TIME* lpStartTime, const DD_TIME* lpStopTime) {
    return FullWrapper(__func__, POINTERHANDLE{0}, &CSDKImpl::FindDVRLog, lUserID, dwType, lpStartTime, lpStopTime);
}
LONG HLX_FindNextLog(POINTERHANDLE lLogHandle, LPHLX_LOG lpLogData) {
    return FullWrapper(__func__, LONG{0}, &CSDKImpl::FindNextLog, lLogHandle, lpLogData);
}
BOOL HLX_FindLogClose(POINTERHANDLE lLogHandle) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::FindLogClose, lLogHandle);
}
POINTERHANDLE HLX_FindEventInfo(LONG lUserID, DWORD dwType, ULONGLONG channlMask, const DD_TIME* lpStartTime,
                                const DD_TIME* lpStopTime) {
    return FullWrapper(__func__, POINTERHANDLE{0}, &CSDKImpl::FindEventInfo, lUserID, dwType, channlMask, lpStartTime,
                       lpStopTime);
}
LONG HLX_FindNextEventInfo(POINTERHANDLE lEventHandle, LPHLX_EVENT lpEventData) {
    return FullWrapper(__func__, LONG{0}, &CSDKImpl::FindNextEventInfo, lEventHandle, lpEventData);
}
BOOL HLX_FindEventInfoClose(POINTERHANDLE lEventHandle) {
    return FullWrapper(__func__, BOOL{0}, &CSDKImpl::FindEventInfoClose, lEventHandle);
}
