// Days of this machine's time zone.
#pragma once

#include <optional>
#include <vector>

#include "simulator/archive/ArchiveTypes.h"

/// The local day that a second belongs to, from midnight to midnight: 23 or 25 hours where clocks are changed.
ARCHIVE_SPAN LocalDay(std::int64_t time);

/// The day `days` before that of `time`.
ARCHIVE_SPAN LocalDayBefore(std::int64_t time, unsigned days);

/// Year, month and day as the wire has them.
NET_REC_DATE_INFO LocalDate(std::int64_t time);

/// The last day before that of `time`, within a year, with a change of clocks; none where there are no changes.
std::optional<ARCHIVE_SPAN> LastClockChange(std::int64_t time);

/// Reads seconds since 1970, or a local time as 2026-11-21T10:00 or 2026-11-21T10:00:00.
std::optional<std::int64_t> ParseLocalTime(const std::string& sText);
