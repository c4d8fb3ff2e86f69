#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Months as people know them.

struct MONTH {
    int nYear = 0;   // 2026
    int nMonth = 0;  // 1 to 12
};

// Reads "2026-11", "11", "november" or "nov", and the latter two with a year behind them; without a year the last such
// month up to that of `nNow`, by local time. "this" is the month of `nNow`. Nothing for other texts.
std::optional<MONTH> ParseMonth(std::string_view strText, int64_t nNow);

int DaysOf(const MONTH& month);

// "2026-11"
std::string MonthText(const MONTH& month);

// The month's page, weeks from Monday; the days of `dwDays` (bit n is day n) stand in brackets.
std::string CalendarText(const MONTH& month, uint32_t dwDays);
