// The command "hlx-simulator classic".
#pragma once

#include "simulator/classic/ClassicConfig.h"

/// Exit codes of hlx-simulator.
enum SIM_EXIT { SIM_EXIT_OK = 0, SIM_EXIT_FAILURE = 1, SIM_EXIT_USAGE = 2 };

struct CLASSIC_COMMAND_OPTIONS {
    CLASSIC_RECORDER_CONFIG config;
    std::vector<std::string> faults;  // as texts, see ParseFault()
    std::vector<std::string> status;  // as texts: motion=2
    bool bFast = false;
    bool bEvents = false;
    double seconds = 0;    // ends by itself after so long; 0: never
    std::string sScript;   // file of script lines; empty: none
    std::string sControl;  // "-": control lines on standard input; empty: none
};

/// Runs a recorder until SIGINT or SIGTERM, or until its time is over, and gives the program's exit code. One JSON line
/// on standard output tells that it is ready; with bEvents one for each event follows, and one for each script line
/// done; each control line is answered with one.
int RunClassic(CLASSIC_COMMAND_OPTIONS options);
