// What hlx-simulator prints.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "simulator/SimTime.h"

/// One line of JSON on standard output, from any thread; bytes that are no UTF-8 are replaced.
void PrintLine(const nlohmann::ordered_json& line);

/// Complains on standard error; the exit code that was given.
int Fail(int exitCode, const std::string& sSentence);

/// When a command with this many seconds ends; 0 or less: never.
SIM_TIME EndOf(double seconds);
