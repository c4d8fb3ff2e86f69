#include <HLX.h>

#include <cstdio>

int main() {
    if (!HLX_Init()) return 1;
    const DWORD version = HLX_GetSDKVersion();
    HLX_SetIsWifi(true);  // one of the three with a C++ symbol
    std::printf("%u\n", version);
    return version == 65538 && HLX_Cleanup() ? 0 : 1;
}
