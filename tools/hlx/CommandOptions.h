#pragma once

#include <chrono>
#include <CLI/App.hpp>
#include <string>

#include "Options.h"
#include "TimeText.h"

// The commands' options: what several commands have in common, and one function for each command, which declares what it
// takes and where that goes. Whatever is wrong in a value is thrown as a CLI::ValidationError.

// ---- What commands have in common ----

// An option whose value is a length of time like 500ms, 10s or 1m.
CLI::Option* AddDuration(CLI::App& app, const std::string& strName, std::chrono::milliseconds& target,
                         const std::string& strDescription);

// -c
void AddChannel(CLI::App& app, int64_t& lTarget, const std::string& strDescription = "channel, counted from 0 (0)");

// -s, which becomes an HLX_STREAM_TYPE value.
void AddStream(CLI::App& app, int64_t& lTarget);

// --from and --to, the former of which is returned. A day alone is its begin with the former and its end with the latter.
CLI::Option* AddSpan(CLI::App& app, TIME_SPAN& span, const std::string& strFrom, const std::string& strTo);

// -o for a raw stream of video.
void AddVideoOutput(CLI::App& app, std::string& strTarget);

// --json
void AddJson(CLI::App& app, CONNECT_OPTIONS& connect);

// Seconds since 1970 of a time as people write it.
int64_t ReadTime(const std::string& strText, DAY_EDGE eEdge);

void RefuseLonger(const char* sWhat, const std::string& strText, size_t nLongest);

// Two kinds of data cannot go to standard output at once.
void RefuseJsonBeside(const CONNECT_OPTIONS& connect, const std::string& strOutput);

// ---- The commands ----

void DeclareConnect(CLI::App& app,
                    OPTIONS& options);  // what each command has that talks to a device; all that info has

// CommandLine.Live.cpp
void DeclareLive(CLI::App& app, OPTIONS& options);
void DeclareRecord(CLI::App& app, OPTIONS& options);
void DeclareSnapshot(CLI::App& app, OPTIONS& options);
void DeclareTalk(CLI::App& app, OPTIONS& options);

// CommandLine.Recordings.cpp
void DeclareRecordings(CLI::App& app, OPTIONS& options);
void DeclareFiles(CLI::App& app, OPTIONS& options);
void DeclareEvents(CLI::App& app, OPTIONS& options);
void DeclareLogs(CLI::App& app, OPTIONS& options);
void DeclarePlay(CLI::App& app, OPTIONS& options);
void DeclareDownload(CLI::App& app, OPTIONS& options);
void DeclareConvert(CLI::App& app, OPTIONS& options);
void DeclareRepair(CLI::App& app, OPTIONS& options);

// CommandLine.Control.cpp
void DeclareAlarms(CLI::App& app, OPTIONS& options);
void DeclarePtz(CLI::App& app, OPTIONS& options);
void DeclareTime(CLI::App& app, OPTIONS& options);
void DeclareReboot(CLI::App& app, OPTIONS& options);
void DeclareColor(CLI::App& app, OPTIONS& options);
void DeclareListen(CLI::App& app, OPTIONS& options);
