#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "Text.h"

// The longest texts that a login carries, in bytes.
inline constexpr size_t LONGEST_HOST = 63;
inline constexpr size_t LONGEST_USER = 35;
inline constexpr size_t LONGEST_PASSWORD = 35;

// What every command that talks to a device is told.
struct CONNECT_OPTIONS {
    ENDPOINT endpoint;
    std::string strUser = "admin";
    std::string strPasswordFile;  // empty: HLX_PASSWORD or a prompt; "-": standard input
    std::chrono::milliseconds connectWait{5000};
    bool bJson = false;
};

struct LIVE_OPTIONS {
    int64_t lChannel = 0;
    int64_t lStreamType = 0;              // an HLX_STREAM_TYPE value
    std::string strOutput;                // empty: frames are only counted; "-": standard output
    std::chrono::milliseconds length{0};  // 0: without end
    uint64_t nFrames = 0;                 // 0: without end
    std::chrono::milliseconds stall{10'000};
};

struct ALARMS_OPTIONS {
    bool bFollow = false;                 // else one look at what is on
    std::chrono::milliseconds length{0};  // 0: without end
};

// A device that may call in.
struct LISTEN_DEVICE {
    uint32_t dwID = 0;  // its register id
    std::string strUser;
    std::string strPasswordFile;  // as in CONNECT_OPTIONS, without a prompt
};

struct LISTEN_OPTIONS {
    uint16_t wPort = 0;  // 0: any free one
    std::vector<LISTEN_DEVICE> devices;
    std::chrono::milliseconds length{0};  // 0: without end
    uint64_t nCount = 0;                  // calls; 0: without end
};

struct OPTIONS {
    CONNECT_OPTIONS connect;
    LIVE_OPTIONS live;
    ALARMS_OPTIONS alarms;
    LISTEN_OPTIONS listen;
};
