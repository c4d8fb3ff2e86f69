// Logs in to a device and counts the video frames that its first channel sends in ten seconds.
#include <HLX.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

static std::atomic<unsigned> g_nFrames{0};

static void OnFrame(POINTERHANDLE, HLX_FRAME_INFO info, BYTE*, void*) {  // on a thread of the library
    if (info.frameType == DD_FRAME_TYPE_VIDEO) ++g_nFrames;
}

int main(int argc, char** argv) {
    const char* sPassword = getenv("HLX_PASSWORD");
    if (argc != 3 || !sPassword) return fprintf(stderr, "usage: HLX_PASSWORD=... count_frames HOST PORT\n"), 2;
    HLX_Init();
    HLX_DEVICEINFO device{};
    const LONG lUser = HLX_Login(argv[1], static_cast<WORD>(atoi(argv[2])), "admin", sPassword, &device);
    HLX_CLIENTINFO request{};  // channel 0, main stream
    const POINTERHANDLE lLive = lUser > 0 ? HLX_LivePlay(lUser, &request, OnFrame, nullptr) : -1;
    if (lLive != -1) {
        std::this_thread::sleep_for(std::chrono::seconds(10));
        HLX_StopLivePlay(lLive);
        printf("%.36s: %u frames\n", device.deviceName, g_nFrames.load());
    } else {
        fprintf(stderr, "failed with error %u\n", HLX_GetLastError());
    }
    HLX_Logout(lUser);
    HLX_Cleanup();
    return lLive != -1 ? 0 : 1;
}
