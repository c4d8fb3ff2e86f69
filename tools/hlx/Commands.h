#pragma once

#include "ExitCodes.h"
#include "Interrupt.h"
#include "Options.h"

// The commands' bodies: each runs to its end and returns the exit code after having told a failure.

// Logs in and prints what the device is.
EXIT_CODE RunInfo(const OPTIONS& options, CInterrupt& interrupt);

// Logs in and takes one channel's live stream: writes its video, shows and counts what comes.
EXIT_CODE RunLive(const OPTIONS& options, CInterrupt& interrupt);

// Logs in and has one channel's live stream saved to an AVI file.
EXIT_CODE RunRecord(const OPTIONS& options, CInterrupt& interrupt);

// Logs in and plays one channel's recording of a span of time, to its end.
EXIT_CODE RunPlay(const OPTIONS& options, CInterrupt& interrupt);

// Logs in and tells the alarms and records that are on, and with --follow how they change.
EXIT_CODE RunAlarms(const OPTIONS& options, CInterrupt& interrupt);

// Logs in and moves a camera, or has it do what the action says. With a length it ends the movement again.
EXIT_CODE RunPtz(const OPTIONS& options, CInterrupt& interrupt);

// Logs in and tells the device's clock, or sets it.
EXIT_CODE RunTime(const OPTIONS& options, CInterrupt& interrupt);

// Asks for a yes, logs in and restarts the device; waits for it if told so.
EXIT_CODE RunReboot(const OPTIONS& options, CInterrupt& interrupt);

// Logs in and writes one picture that the device makes.
EXIT_CODE RunSnapshot(const OPTIONS& options, CInterrupt& interrupt);

// Logs in and shows a channel's picture values, after changing those that are given.
EXIT_CODE RunColor(const OPTIONS& options, CInterrupt& interrupt);

// Logs in and talks with the device: speaks a file, keeps what it hears.
EXIT_CODE RunTalk(const OPTIONS& options, CInterrupt& interrupt);

// Listens for devices that call in by themselves, and tells who comes and goes.
EXIT_CODE RunListen(const OPTIONS& options, CInterrupt& interrupt);

// Makes recorded AVI files whole that were cut off.
EXIT_CODE RunRepair(const OPTIONS& options, CInterrupt& interrupt);

// Logs in and tells on which days and from when to when there are recordings, or shows a month's calendar of them.
EXIT_CODE RunRecordings(const OPTIONS& options, CInterrupt& interrupt);

// Logs in and lists recording files; locks, unlocks or deletes them, the latter after a yes.
EXIT_CODE RunFiles(const OPTIONS& options, CInterrupt& interrupt);

// Log in and list the device's events, or its log.
EXIT_CODE RunEvents(const OPTIONS& options, CInterrupt& interrupt);
EXIT_CODE RunLogs(const OPTIONS& options, CInterrupt& interrupt);

// Logs in and writes a channel's recording between two times to a file.
EXIT_CODE RunDownload(const OPTIONS& options, CInterrupt& interrupt);

// Makes AVI files out of a file of frames, as a download writes it. Needs no device.
EXIT_CODE RunConvert(const OPTIONS& options, CInterrupt& interrupt);
