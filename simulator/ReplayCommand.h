// The command "hlx-simulator replay".
#pragma once

#include "simulator/replay/ReplayServer.h"

struct REPLAY_COMMAND_OPTIONS {
    REPLAY_CONFIG config;
    std::string sFile;
    bool bFast = false;
    double seconds = 0;  // ends by itself after so long; 0: never
};

/// Plays a record until SIGINT or SIGTERM, or until its time is over, and gives the program's exit code. One JSON line
/// on standard output tells that it is ready.
int RunReplay(REPLAY_COMMAND_OPTIONS options);
