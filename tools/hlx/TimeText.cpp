#include "TimeText.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <ctime>
#include <string>

#include "DateText.h"
#include "Text.h"

namespace {

constexpr int64_t DAY = 24 * 3600;
constexpr int64_t MOST_DAYS_BACK = 36'500;
constexpr size_t DATE_LENGTH = sizeof("2026-11-21") - 1;

struct DAY_WORD {
    std::string_view strName;
    int nDaysBack;
};
constexpr DAY_WORD DAY_WORDS[] = {{"today", 0}, {"yesterday", 1}};

std::optional<int64_t> ParseDaysBack(std::string_view strText) {
    int64_t nDays = 0;
    const char* pLast = strText.data() + strText.size();
    const auto [pEnd, error] = std::from_chars(strText.data(), pLast, nDays);
    if (error != std::errc{} || pEnd + 1 != pLast || *pEnd != 'd' || nDays < 1 || nDays > MOST_DAYS_BACK) return {};
    return nDays * DAY;
}

// How long ago, in seconds; `strText` stands behind the minus.
std::optional<int64_t> ParseAgo(std::string_view strText) {
    if (strText.ends_with('d')) return ParseDaysBack(strText);
    const auto duration = ParseDuration(strText);
    if (!duration || duration->count() % 1000 != 0) return {};
    return duration->count() / 1000;
}

// The calendar day, so many days back, where the clock shows `local`.
std::string DateOf(tm local, int nDaysBack) {
    local.tm_mday -= nDaysBack;
    local.tm_hour = 12;  // no change of the clocks comes near
    timegm(&local);
    char text[16] = "";
    strftime(text, sizeof text, "%Y-%m-%d", &local);
    return text;
}

// Today's broken-down time in the zone that stands behind a time of day.
tm TodayWhere(std::string_view strTime, int64_t nNow) {
    const size_t nZone = strTime.find_first_of("Z+-");
    time_t now = nNow;
    tm today{};
    if (nZone == std::string_view::npos) {
        localtime_r(&now, &today);
        return today;
    }
    // Noon UTC and noon there differ by the zone; the zone's own errors are found when the whole text is read.
    const auto noon = ParseDate("2001-01-01T12:00" + std::string(strTime.substr(nZone)));
    now += *ParseDate("2001-01-01T12:00Z") - noon.value_or(*ParseDate("2001-01-01T12:00Z"));
    gmtime_r(&now, &today);
    return today;
}

bool IsTimeOfDay(std::string_view strText) {
    const auto digit = [&](size_t i) { return isdigit(static_cast<unsigned char>(strText[i])) != 0; };
    return strText.size() >= 5 && digit(0) && digit(1) && strText[2] == ':' && digit(3) && digit(4);
}

// Midnight, or the first hour that the day has.
std::optional<int64_t> BeginOfDay(const std::string& strDate) {
    const auto midnight = ParseDate(strDate + "T00:00");
    return midnight ? midnight : ParseDate(strDate + "T01:00");
}

std::optional<int64_t> ParseDay(const std::string& strDate, DAY_EDGE eEdge) {
    const auto noon = ParseDate(strDate + "T12:00");
    if (!noon || eEdge == DAY_EDGE::BEGIN) return noon ? BeginOfDay(strDate) : std::nullopt;
    const time_t moment = *noon;
    tm local{};
    localtime_r(&moment, &local);
    return BeginOfDay(DateOf(local, -1));
}

// A word for a day, or the time of day alone, becomes a date in front of the rest.
std::string WithDate(const std::string& strText, int64_t nNow) {
    if (IsTimeOfDay(strText)) return DateOf(TodayWhere(strText, nNow), 0) + "T" + strText;
    const size_t nWord = strText.find(' ');
    const std::string strTime = nWord == std::string::npos ? "" : strText.substr(nWord + 1);
    for (const auto& [strName, nDaysBack] : DAY_WORDS) {
        if (strText.substr(0, nWord) != strName || (nWord != std::string::npos && strTime.empty())) continue;
        return DateOf(TodayWhere(strTime, nNow), nDaysBack) + (strTime.empty() ? "" : "T" + strTime);
    }
    return strText;
}

}  // namespace

std::optional<int64_t> ParseTime(std::string_view strText, int64_t nNow, DAY_EDGE eEdge) {
    if (strText == "now") return nNow;
    if (strText.starts_with('-')) {
        const auto ago = ParseAgo(strText.substr(1));
        return ago && *ago <= nNow ? std::optional(nNow - *ago) : std::nullopt;
    }
    const std::string strDated = WithDate(std::string(strText), nNow);
    return strDated.size() == DATE_LENGTH ? ParseDay(strDated, eEdge) : ParseDate(strDated);
}

DD_TIME LibraryTime(int64_t nSeconds) {
    const time_t when = nSeconds;
    tm local{};
    localtime_r(&when, &local);
    DD_TIME time{};
    time.second = static_cast<unsigned char>(local.tm_sec);
    time.minute = static_cast<unsigned char>(local.tm_min);
    time.hour = static_cast<unsigned char>(local.tm_hour);
    time.wday = static_cast<unsigned char>(local.tm_wday);
    time.mday = static_cast<unsigned char>(local.tm_mday);
    time.month = static_cast<unsigned char>(local.tm_mon);
    time.year = static_cast<unsigned short>(local.tm_year);
    time.nTotalseconds = static_cast<int>(nSeconds);
    return time;
}

int64_t SecondsOf(const DD_TIME& time) {
    if (time.nTotalseconds != 0) return static_cast<uint32_t>(time.nTotalseconds);
    tm local{};
    local.tm_sec = time.second;
    local.tm_min = time.minute;
    local.tm_hour = time.hour;
    local.tm_mday = time.mday;
    local.tm_mon = time.month;
    local.tm_year = time.year;
    local.tm_isdst = -1;
    return mktime(&local);
}
