// Address of a device from a name server.
#pragma once

#include "HLX.h"

/// The lookup is refused with HLX_NOSUPPORT.
class CGetAddrByName {
public:
    static BOOL GetDvrIPByName(const char* sServerAddr, DWORD dwPort, const char* sName, char* sIP);
};
