#pragma once

#include <optional>

#include "Commands.h"

// A command line that was understood.
struct COMMAND_LINE {
    EXIT_CODE (*pfnRun)(const OPTIONS& options, CInterrupt& interrupt) = nullptr;
    OPTIONS options;
};

// Reads the command line. Nothing when it was a request for help, version or man page, or wrong: that is answered
// already, and eExit is the code to end with.
std::optional<COMMAND_LINE> ReadCommandLine(int argc, char** argv, EXIT_CODE& eExit);
