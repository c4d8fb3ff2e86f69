// Disks of a device.
#pragma once

#include "HLX.h"

/// Disk operations are refused with HLX_NOSUPPORT: -1 for handles.
class CDiskMan {
public:
    void Quit() {}

    POINTERHANDLE FindDisk(LONG lUserID);
    BOOL GetNextDiskInfo(POINTERHANDLE lDiskHandle, HLX_DISK_INFO* pDiskInfo);
    BOOL FindDiskClose(POINTERHANDLE lDiskHandle);
    BOOL ChangeDiskProperty(LONG lUserID, LONG lDiskNumber, short newProperty);
    POINTERHANDLE FormatDisk(LONG lUserID, LONG lDiskNumber);
    BOOL GetFormatProgress(POINTERHANDLE lFormatHandle, LONG* pCurrentFormatDisk, LONG* pCurrentDiskPos,
                           LONG* pFormatStatic);
    BOOL StopFormatDisk(POINTERHANDLE lFormatHandle);
};
