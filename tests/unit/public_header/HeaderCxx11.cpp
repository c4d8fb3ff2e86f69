// The header as a C++11 program sees it.
#include "HLX.h"

static_assert(sizeof(BOOL) == 1, "BOOL is one byte");
static_assert(DD_RECORD_TYPE_ALL == 0xFFFFFFFFu, "all kinds of recording");
