#pragma once

#include "ExitCodes.h"
#include "Interrupt.h"
#include "Options.h"

// The commands' bodies: each runs to its end and returns the exit code after having told a failure.

// Logs in and prints what the device is.
EXIT_CODE RunInfo(const OPTIONS& options, CInterrupt& interrupt);

// Logs in and takes one channel's live stream: writes its video, shows and counts what comes.
EXIT_CODE RunLive(const OPTIONS& options, CInterrupt& interrupt);

// Logs in and tells the alarms and records that are on, and with --follow how they change.
EXIT_CODE RunAlarms(const OPTIONS& options, CInterrupt& interrupt);

// Listens for devices that call in by themselves, and tells who comes and goes.
EXIT_CODE RunListen(const OPTIONS& options, CInterrupt& interrupt);
