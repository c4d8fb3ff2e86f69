// The header as a C99 program sees it.
#include <stddef.h>

#include "HLX.h"

const unsigned long C99_LAYOUT[] = {
#define RECORD(record, size) sizeof(record),
#define MEMBER(record, member, offset) offsetof(record, member),
#include "Records.inc"
};

// Calls as C writes them; never run.
LONG UseFromC99(LIVE_DATA_CALLBACK fCallback) {
    HLX_CLIENTINFO client = {0, HLX_SUB_STREAM, 0, 1};
    HLX_DEVICEINFO device;
    const LONG lUserID = HLX_Login("::1", 6036, "admin", "", &device);
    const DWORD dwAll = DD_RECORD_TYPE_ALL;
    DD_TIME start = {0}, stop = {0};
    if (!HLX_Init() || HLX_LivePlay(lUserID, &client, fCallback, NULL) == -1) return -1;
    return HLX_FindEvent(lUserID, 0, dwAll, &start, &stop);
}
