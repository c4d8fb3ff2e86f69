#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "PtzActions.h"
#include "Text.h"

// The longest texts that a login carries, in bytes.
inline constexpr size_t LONGEST_HOST = 63;
inline constexpr size_t LONGEST_USER = 35;
inline constexpr size_t LONGEST_PASSWORD = 35;

// The longest path of a log file that the library takes, in bytes: its folder, and its name without ".log".
inline constexpr size_t LONGEST_LOG_FOLDER = 255;
inline constexpr size_t LONGEST_LOG_NAME = 63;

// What every command that talks to a device is told.
struct CONNECT_OPTIONS {
    ENDPOINT endpoint;
    std::string strUser = "admin";
    std::string strPasswordFile;  // empty: HLX_PASSWORD or a prompt; "-": standard input
    std::chrono::milliseconds connectWait{5000};
    bool bJson = false;
    std::string strLogFile;    // empty: no log
    std::string strTraceFile;  // empty: no record
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

struct PTZ_OPTIONS {
    int64_t lChannel = 0;
    const PTZ_ACTION* pAction = nullptr;
    uint32_t nValue = 0;  // preset or route, where the action has one
    uint32_t nSpeed = 4;
    std::chrono::milliseconds length{0};  // 0: until something else ends it
    std::vector<STATION> stations;
};

struct TIME_OPTIONS {
    int64_t lChannel = 0;              // whose frames tell the time
    bool bSetNow = false;              // to this machine's time
    std::optional<int64_t> toSeconds;  // or to this one, since 1970
};

struct REBOOT_OPTIONS {
    bool bYes = false;
    bool bWait = false;
    std::chrono::milliseconds limit{180'000};
};

struct SNAPSHOT_OPTIONS {
    int64_t lChannel = 0;
    std::string strOutput;  // "-": standard output
};

inline constexpr std::array COLOR_NAMES = {"brightness", "contrast", "saturation", "hue"};

struct COLOR_OPTIONS {
    int64_t lChannel = 0;
    std::array<std::optional<uint32_t>, COLOR_NAMES.size()> values;
    bool bDefault = false;  // for the values that are not given
    bool bSave = false;
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
    PTZ_OPTIONS ptz;
    TIME_OPTIONS time;
    REBOOT_OPTIONS reboot;
    SNAPSHOT_OPTIONS snapshot;
    COLOR_OPTIONS color;
    LISTEN_OPTIONS listen;
};
