// The header as a C++11 program sees it.
#include "HLX.h"

static_assert(sizeof(BOOL) == 1, "BOOL is one byte");
static_assert(DD_RECORD_TYPE_ALL == 0xFFFFFFFFu, "all kinds of recording");

int UseFromCxx11() {
    ZEQ_LOCAL_TIME local = ZEQ_LOCAL_TIME();
    local.year = 2024;
    local.month = local.mday = 3;
    ZEQ_DATE_TIME first, second;
    first = local;
    second = first.TimeVal();
    second += 1;
    HLX_SetIsWifi(second > first);
    return second - first;
}
