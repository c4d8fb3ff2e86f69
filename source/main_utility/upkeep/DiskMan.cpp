#include "main_utility/upkeep/DiskMan.h"

#include "sdk_common/ThreadState.h"

POINTERHANDLE CDiskMan::FindDisk(LONG) { return Failure(HLX_NOSUPPORT, POINTERHANDLE{-1}); }
BOOL CDiskMan::GetNextDiskInfo(POINTERHANDLE, HLX_DISK_INFO*) { return Failure(HLX_NOSUPPORT); }
BOOL CDiskMan::FindDiskClose(POINTERHANDLE) { return Failure(HLX_NOSUPPORT); }
BOOL CDiskMan::ChangeDiskProperty(LONG, LONG, short) { return Failure(HLX_NOSUPPORT); }
POINTERHANDLE CDiskMan::FormatDisk(LONG, LONG) { return Failure(HLX_NOSUPPORT, POINTERHANDLE{-1}); }
BOOL CDiskMan::GetFormatProgress(POINTERHANDLE, LONG*, LONG*, LONG*) { return Failure(HLX_NOSUPPORT); }
BOOL CDiskMan::StopFormatDisk(POINTERHANDLE) { return Failure(HLX_NOSUPPORT); }
