#pragma once

#include <span>
#include <string>

// What the tool's exit code tells. The table in ExitCodes.cpp is the one source of --help and the man page.
enum EXIT_CODE : int {
    EXIT_OK = 0,
    EXIT_FAILED = 1,
    EXIT_USAGE = 2,
    EXIT_UNREACHABLE = 3,
    EXIT_REFUSED = 4,
    EXIT_TIMED_OUT = 5,
    EXIT_ENDED_EARLY = 6,
    EXIT_INTERRUPTED = 130,
    EXIT_TERMINATED = 143,
};

struct EXIT_CODE_ROW {
    EXIT_CODE eCode;
    const char* sMeaning;
};

std::span<const EXIT_CODE_ROW> ExitCodes();

// The exit code for the end by SIGINT or SIGTERM.
EXIT_CODE SignalExitCode(int nSignal);
