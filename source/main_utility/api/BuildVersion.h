// The date of the build as a number.
#pragma once

#include <cstddef>
#include <string_view>

#include "HLX.h"

/// The build date, in the form "Mmm dd yyyy" with a blank in front of a single-digit day.
extern const char BUILD_DATE[];

/// (year - 2017) * 10000 + month * 100 + day; 0 for a text of another form.
constexpr DWORD BuildVersion(std::string_view date) {
    constexpr std::string_view MONTHS = "JanFebMarAprMayJunJulAugSepOctNovDec";
    constexpr size_t LENGTH = 11;
    constexpr DWORD BASE_YEAR = 2017;
    if (date.size() != LENGTH) return 0;
    const auto number = [&](size_t at, size_t count) {
        DWORD value = 0;
        for (const char digit : date.substr(at, count)) value = value * 10 + (digit == ' ' ? 0 : digit - '0');
        return value;
    };
    const size_t place = MONTHS.find(date.substr(0, 3));
    if (place == std::string_view::npos || place % 3 != 0) return 0;
    return (number(7, 4) - BASE_YEAR) * 10000 + static_cast<DWORD>(place / 3 + 1) * 100 + number(4, 2);
}
