#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "HLX.h"

// Times as people write them.

// What a text that names a whole day means.
enum class DAY_EDGE { BEGIN, END };

// Reads "now", "-2h", "-1.5m" or "-3d" (before `nNow`; a day counts 24 hours), "14:00" or "14:00:05" (today), "today",
// "yesterday" and "2026-11-21", each alone or with a time behind it, as "yesterday 14:00" and "2026-11-21T14:00". Times
// are local ones of this machine, or with Z or +01:00 behind the time of day another zone's, and so is the day then.
// Seconds since 1970, of which a device takes 32 bits. Nothing for other texts and for times that a change of the
// clocks leaves out; of two, the first is meant.
std::optional<int64_t> ParseTime(std::string_view strText, int64_t nNow, DAY_EDGE eEdge = DAY_EDGE::BEGIN);

// What to tell of a text that is none of these.
inline constexpr const char* TIME_FORMS = "not a time like 14:00, 'yesterday 14:00', 2026-11-21T14:00, -2h or now";

// A time as the library takes and tells it.
DD_TIME LibraryTime(int64_t nSeconds);
int64_t SecondsOf(const DD_TIME& time);
