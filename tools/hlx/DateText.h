#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Dates as a person or a script writes them. "Local" is the time zone of this machine.

// Reads "2026-11-21T10:00", with ":SS" if wanted and a blank for the T: local time, or with "Z" or "+01:00" behind it
// another zone's. Seconds since 1970, of which a device takes 32 bits; nothing for other texts and for times that do
// not exist.
std::optional<int64_t> ParseDate(std::string_view strText);

// "2026-11-21 10:00:00 +0100", local.
std::string LocalDateText(int64_t nSeconds);

// "2026-11-21T10:00:00+01:00", local; and "2026-11-21T09:00:00Z".
std::string LocalIsoText(int64_t nSeconds);
std::string UtcIsoText(int64_t nSeconds);

// How a clock that is so far ahead of this machine's stands to it: "1 h 0 min 3.2 s ahead of this machine".
std::string DifferenceText(std::chrono::milliseconds ahead);
