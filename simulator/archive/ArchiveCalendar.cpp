#include "simulator/archive/ArchiveCalendar.h"

#include <charconv>
#include <cstdio>
#include <ctime>

namespace {

constexpr std::int64_t DAY = 86400;

tm LocalTime(std::int64_t time) {
    const auto seconds = static_cast<time_t>(time);
    tm fields{};
    localtime_r(&seconds, &fields);
    return fields;
}

/// Midnight at the start of the day that stands so many days beside that of `fields`.
std::int64_t Midnight(tm fields, int days) {
    fields.tm_mday += days;
    fields.tm_hour = fields.tm_min = fields.tm_sec = 0;
    fields.tm_isdst = -1;
    return mktime(&fields);
}

}  // namespace

ARCHIVE_SPAN LocalDay(std::int64_t time) { return LocalDayBefore(time, 0); }

ARCHIVE_SPAN LocalDayBefore(std::int64_t time, unsigned days) {
    const tm fields = LocalTime(time);
    return {Midnight(fields, -static_cast<int>(days)), Midnight(fields, 1 - static_cast<int>(days))};
}

NET_REC_DATE_INFO LocalDate(std::int64_t time) {
    const tm fields = LocalTime(time);
    return {static_cast<tuint16>(fields.tm_year + 1900), static_cast<tuint8>(fields.tm_mon + 1),
            static_cast<tuint8>(fields.tm_mday)};
}

std::optional<ARCHIVE_SPAN> LastClockChange(std::int64_t time) {
    for (unsigned days = 1; days <= 366; ++days) {
        const ARCHIVE_SPAN day = LocalDayBefore(time, days);
        if (day.stop - day.start != DAY) return day;
    }
    return std::nullopt;
}

std::optional<std::int64_t> ParseLocalTime(const std::string& sText) {
    std::int64_t seconds = 0;
    const char* pEnd = sText.data() + sText.size();
    const auto [pRest, error] = std::from_chars(sText.data(), pEnd, seconds);
    if (error == std::errc() && pRest == pEnd) return seconds;
    tm fields{};
    int length = 0;
    const int count = std::sscanf(sText.c_str(), "%4d-%2d-%2dT%2d:%2d%n:%2d%n", &fields.tm_year, &fields.tm_mon,
                                  &fields.tm_mday, &fields.tm_hour, &fields.tm_min, &length, &fields.tm_sec, &length);
    if (count < 5 || static_cast<size_t>(length) != sText.size()) return std::nullopt;
    const tm given = fields;
    fields.tm_year -= 1900;
    fields.tm_mon -= 1;
    fields.tm_isdst = -1;
    seconds = mktime(&fields);
    // mktime() moves the 31st of February into March.
    if (fields.tm_mday != given.tm_mday || fields.tm_mon + 1 != given.tm_mon) return std::nullopt;
    return seconds;
}
