// The clock of simulated devices, and times as a person writes them.
#pragma once

#include <chrono>
#include <optional>
#include <string_view>

using SIM_CLOCK = std::chrono::steady_clock;
using SIM_TIME = SIM_CLOCK::time_point;

/// Reads 500ms, 2s, 1.5m, 1h or plain seconds, 1 ms to 30 days. Nothing for anything else.
std::optional<std::chrono::milliseconds> ParseSimTime(std::string_view sText);
