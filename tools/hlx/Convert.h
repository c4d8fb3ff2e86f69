#pragma once

#include "ExitCodes.h"
#include "FrameConverter.h"
#include "Interrupt.h"

// One word or two for scripts.
const char* ConvertState(CONVERT_END eEnd);

// Converts a file of frames to AVI files, with a line of progress on a terminal. A signal ends it.
CONVERTED ConvertFrames(const std::string& strInput, const std::string& strOutput, const CInterrupt& interrupt);

// The exit code of a conversion, after telling what went wrong.
EXIT_CODE TellConverted(bool bJson, const std::string& strInput, const CONVERTED& result, const CInterrupt& interrupt);
