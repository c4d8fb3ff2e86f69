#include <HLX.h>
#include <stdio.h>

int main(void) {
    DWORD version;
    if (HLX_GetLastError() != HLX_NOINIT || !HLX_Init()) return 1;
    version = HLX_GetSDKVersion();
    printf("%u\n", version);
    return version == 65538 && HLX_Cleanup() ? 0 : 1;
}
