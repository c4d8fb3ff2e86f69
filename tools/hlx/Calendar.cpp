#include "Calendar.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <ctime>

namespace {

constexpr std::string_view MONTHS[] = {"January", "February", "March",     "April",   "May",      "June",
                                       "July",    "August",   "September", "October", "November", "December"};
constexpr int WIDTH = 7 * 4;  // of a week's line
constexpr size_t SHORT_NAME = 3;

std::optional<int> Number(std::string_view strText) {
    int nNumber = 0;
    const char* pLast = strText.data() + strText.size();
    const auto [pEnd, error] = std::from_chars(strText.data(), pLast, nNumber);
    return error == std::errc{} && pEnd == pLast ? std::optional(nNumber) : std::nullopt;
}

// A month's number by its name, in full or by its first three letters, large or small.
std::optional<int> MonthByName(std::string_view strText) {
    const auto same = [](char a, char b) {
        return tolower(static_cast<unsigned char>(a)) == tolower(static_cast<unsigned char>(b));
    };
    for (size_t i = 0; i < std::size(MONTHS); ++i) {
        for (const std::string_view strName : {MONTHS[i], MONTHS[i].substr(0, SHORT_NAME)}) {
            if (std::ranges::equal(strName, strText, same)) return static_cast<int>(i) + 1;
        }
    }
    return {};
}

MONTH MonthOf(int64_t nSeconds) {
    const time_t when = nSeconds;
    tm local{};
    localtime_r(&when, &local);
    return {local.tm_year + 1900, local.tm_mon + 1};
}

std::optional<MONTH> Checked(std::optional<int> year, std::optional<int> month) {
    if (!year || !month || *month < 1 || *month > 12 || *year < 1970 || *year > 2106) return {};
    return MONTH{*year, *month};
}

// 0 for a Monday.
int WeekdayOfFirst(const MONTH& month) {
    tm first{};
    first.tm_year = month.nYear - 1900;
    first.tm_mon = month.nMonth - 1;
    first.tm_mday = 1;
    timegm(&first);
    return (first.tm_wday + 6) % 7;
}

}  // namespace

std::optional<MONTH> ParseMonth(std::string_view strText, int64_t nNow) {
    const MONTH now = MonthOf(nNow);
    if (strText == "this") return now;
    if (strText.size() == 7 && strText[4] == '-')
        return Checked(Number(strText.substr(0, 4)), Number(strText.substr(5)));
    const size_t nBlank = strText.find(' ');
    const std::string_view strName = strText.substr(0, nBlank);
    const auto byName = MonthByName(strName);
    if (nBlank != std::string_view::npos)
        return byName ? Checked(Number(strText.substr(nBlank + 1)), byName) : std::nullopt;
    const auto month = byName ? byName : Number(strName);
    return month ? Checked(*month <= now.nMonth ? now.nYear : now.nYear - 1, month) : std::nullopt;
}

int DaysOf(const MONTH& month) {
    if (month.nMonth != 2)
        return month.nMonth == 4 || month.nMonth == 6 || month.nMonth == 9 || month.nMonth == 11 ? 30 : 31;
    const bool bLeap = month.nYear % 4 == 0 && (month.nYear % 100 != 0 || month.nYear % 400 == 0);
    return bLeap ? 29 : 28;
}

std::string MonthText(const MONTH& month) { return fmt::format("{:04}-{:02}", month.nYear, month.nMonth); }

std::string CalendarText(const MONTH& month, uint32_t dwDays) {
    const std::string strTitle = fmt::format("{} {}", MONTHS[month.nMonth - 1], month.nYear);
    std::string strText = fmt::format("{:^{}}", strTitle, WIDTH);
    strText.erase(strText.find_last_not_of(' ') + 1);
    strText += "\n Mo  Tu  We  Th  Fr  Sa  Su\n";
    std::string strWeek(static_cast<size_t>(WeekdayOfFirst(month)) * 4, ' ');
    for (int nDay = 1; nDay <= DaysOf(month); ++nDay) {
        strWeek += dwDays >> nDay & 1 ? fmt::format("{:>4}", fmt::format("[{}]", nDay)) : fmt::format("{:>3} ", nDay);
        if (strWeek.size() < WIDTH && nDay < DaysOf(month)) continue;
        strWeek.erase(strWeek.find_last_not_of(' ') + 1);
        strText += strWeek + "\n";
        strWeek.clear();
    }
    return strText;
}
