#include "main_utility/media/DownloadMan.h"

#include "sdk_common/ThreadState.h"

namespace {
constexpr int NO_DOWNLOAD = 101;
}

POINTERHANDLE CDownloadMan::GetFileByTime(LONG, LONG, const DD_TIME*, const DD_TIME*, const char*, int, BOOL,
                                          BACKUP_DATA_CALLBACK, void*, BOOL) {
    return Failure(HLX_NOSUPPORT, POINTERHANDLE{-1});
}
BOOL CDownloadMan::StopGetFile(POINTERHANDLE) { return Failure(HLX_NOSUPPORT); }
int CDownloadMan::GetDownloadPos(POINTERHANDLE) { return Failure(HLX_NOSUPPORT, NO_DOWNLOAD); }
