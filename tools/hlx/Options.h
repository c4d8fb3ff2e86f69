#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Calendar.h"
#include "PtzActions.h"
#include "Text.h"

// The longest texts that a login carries, in bytes.
inline constexpr size_t LONGEST_HOST = 63;
inline constexpr size_t LONGEST_USER = 35;
inline constexpr size_t LONGEST_PASSWORD = 35;

// The longest path of a log file that the library takes, in bytes: its folder, and its name without ".log".
inline constexpr size_t LONGEST_LOG_FOLDER = 255;
inline constexpr size_t LONGEST_LOG_NAME = 63;

// The longest name of a recording that the library takes, in bytes.
inline constexpr size_t LONGEST_RECORDING = 255;

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

// A span of time in seconds since 1970; what is not given is up to the command.
struct TIME_SPAN {
    std::optional<int64_t> from;
    std::optional<int64_t> to;  // later than `from`
};

struct LIVE_OPTIONS {
    int64_t lChannel = 0;
    int64_t lStreamType = 0;              // an HLX_STREAM_TYPE value
    std::string strOutput;                // empty: frames are only counted; "-": standard output
    std::chrono::milliseconds length{0};  // 0: without end
    uint64_t nFrames = 0;                 // 0: without end
    std::chrono::milliseconds stall{10'000};
};

struct RECORD_OPTIONS {
    int64_t lChannel = 0;
    int64_t lStreamType = 0;  // an HLX_STREAM_TYPE value
    std::string strOutput;
    std::chrono::milliseconds length{0};      // 0: without end
    std::chrono::milliseconds stall{60'000};  // a device may take so long to come back
};

struct PLAY_OPTIONS {
    int64_t lChannel = 0;
    int64_t lStreamType = 0;  // HLX_MAIN_STREAM or HLX_SUB_STREAM
    TIME_SPAN span;           // both given
    uint32_t dwSpeed = HLX_RPB_SPEED_1X;
    bool bReverse = false;
    std::string strOutput;  // empty: frames are only counted; "-": standard output
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

enum class FILE_ACTION { LIST, LOCK, UNLOCK, REMOVE };

// What the commands that look for recordings, events and log entries are told.
struct FIND_OPTIONS {
    int64_t lChannel = -1;  // -1: all
    TIME_SPAN span;
    std::optional<MONTH> calendar;
    FILE_ACTION eAction = FILE_ACTION::LIST;  // what is done with the files that are found
    bool bYes = false;
    bool bRecorded = false;          // recorded events, else the device's list of events
    uint32_t dwTypes = 0xFFFF'FFFF;  // DD_EVENT_TYPE_* flags, or the type of a log entry
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

struct TALK_OPTIONS {
    std::string strFile;                  // what is spoken; empty: nothing; "-": standard input
    std::string strSave;                  // what is heard; empty: it is counted only; "-": standard output
    std::chrono::milliseconds length{0};  // 0: until the file was spoken, or without end
    std::chrono::milliseconds tail{1000};
};

struct REPAIR_OPTIONS {
    std::vector<std::string> files;
    bool bForce = false;
};

struct DOWNLOAD_OPTIONS {
    int64_t lChannel = 0;
    TIME_SPAN span;  // both given
    std::string strOutput;
    bool bAvi = false;  // else the library's own format
    bool bSub = false;
    std::chrono::milliseconds stall{30'000};
};

struct CONVERT_OPTIONS {
    std::string strInput;
    std::string strOutput;
};

struct OPTIONS {
    CONNECT_OPTIONS connect;
    LIVE_OPTIONS live;
    RECORD_OPTIONS record;
    PLAY_OPTIONS play;
    ALARMS_OPTIONS alarms;
    PTZ_OPTIONS ptz;
    TIME_OPTIONS time;
    REBOOT_OPTIONS reboot;
    SNAPSHOT_OPTIONS snapshot;
    COLOR_OPTIONS color;
    LISTEN_OPTIONS listen;
    TALK_OPTIONS talk;
    REPAIR_OPTIONS repair;
    FIND_OPTIONS find;
    DOWNLOAD_OPTIONS download;
    CONVERT_OPTIONS convert;
};
