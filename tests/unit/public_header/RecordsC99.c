// The header as a C99 program sees it.
#include <stddef.h>

#include "HLX.h"

const unsigned long C99_LAYOUT[] = {
#define RECORD(record, size) sizeof(record),
#define MEMBER(record, member, offset) offsetof(record, member),
#include "Records.inc"
};
