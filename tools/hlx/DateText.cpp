#include "DateText.h"

#include <fmt/format.h>

#include <algorithm>
#include <ctime>

namespace {

constexpr int64_t LAST_SECOND = 0xFFFFFFFF;
constexpr auto SAME = std::chrono::milliseconds(200);  // what reading a clock over the network cannot tell apart

// Reads the text by a strptime form; what stands behind it stays in strText.
bool Take(std::string& strText, const char* sForm, tm& time) {
    const char* pEnd = strptime(strText.c_str(), sForm, &time);
    if (!pEnd) return false;
    strText.erase(0, static_cast<size_t>(pEnd - strText.c_str()));
    return true;
}

// Seconds that a zone is ahead of UTC; nothing for a text that is no zone.
std::optional<long> ParseZone(std::string strZone) {
    tm zone{};
    if (strZone != "Z" && (strZone.size() != 6 || strZone[3] != ':')) return {};
    if (!Take(strZone, "%z", zone) || !strZone.empty()) return {};
    return zone.tm_gmtoff;
}

bool IsSameDay(const tm& a, const tm& b) {
    return a.tm_mday == b.tm_mday && a.tm_mon == b.tm_mon && a.tm_hour == b.tm_hour;
}

// The second at which the local clock shows this time: the first of two, nothing where the clock jumps over it.
std::optional<int64_t> LocalSecond(const tm& time) {
    std::optional<int64_t> second;
    for (const int nSummer : {0, 1}) {
        tm made = time;
        made.tm_isdst = nSummer;
        const int64_t nSecond = mktime(&made);
        if (IsSameDay(made, time) && made.tm_min == time.tm_min) second = std::min(second.value_or(nSecond), nSecond);
    }
    return second;
}

std::optional<int64_t> ZoneSecond(tm time, const std::string& strZone) {
    const auto zone = ParseZone(strZone);
    const tm asked = time;
    const int64_t nSecond = timegm(&time);
    return zone && IsSameDay(time, asked) ? std::optional(nSecond - *zone) : std::nullopt;
}

std::string Form(const char* sForm, const tm& time) {
    char text[64] = "";
    const size_t nLength = strftime(text, sizeof text, sForm, &time);
    return {text, nLength};
}

tm Local(int64_t nSeconds) {
    const time_t when = nSeconds;
    tm local{};
    localtime_r(&when, &local);
    return local;
}

}  // namespace

std::optional<int64_t> ParseDate(std::string_view strText) {
    std::string strRest(strText);
    if (strRest.size() < 16 || (strRest[10] != 'T' && strRest[10] != ' ')) return {};
    strRest[10] = 'T';
    if (strRest.find(' ') != std::string::npos) return {};  // which strptime would skip
    tm time{};
    if (!Take(strRest, "%Y-%m-%dT%H:%M", time)) return {};
    if (!strRest.empty() && strRest[0] == ':' && !Take(strRest, ":%S", time)) return {};
    const auto second = strRest.empty() ? LocalSecond(time) : ZoneSecond(time, strRest);
    return second && *second >= 0 && *second <= LAST_SECOND ? second : std::nullopt;
}

std::string LocalDateText(int64_t nSeconds) { return Form("%Y-%m-%d %H:%M:%S %z", Local(nSeconds)); }

std::string LocalIsoText(int64_t nSeconds) { return Form("%Y-%m-%dT%H:%M:%S%z", Local(nSeconds)).insert(22, ":"); }

std::string UtcIsoText(int64_t nSeconds) {
    const time_t when = nSeconds;
    tm utc{};
    gmtime_r(&when, &utc);
    return Form("%Y-%m-%dT%H:%M:%SZ", utc);
}

std::string DifferenceText(std::chrono::milliseconds ahead) {
    const auto apart = std::chrono::abs(ahead);
    if (apart < SAME) return fmt::format("none (below {} s)", SAME.count() / 1000.0);
    const int64_t nTenths = (apart.count() + 50) / 100;
    const int64_t nMinutes = nTenths / 600;
    std::string strText;
    if (nMinutes >= 24 * 60) strText += fmt::format("{} d ", nMinutes / (24 * 60));
    if (nMinutes >= 60) strText += fmt::format("{} h ", nMinutes / 60 % 24);
    if (nMinutes >= 1) strText += fmt::format("{} min ", nMinutes % 60);
    strText += fmt::format("{:.1f} s ", static_cast<double>(nTenths % 600) / 10.0);
    return strText + (ahead.count() > 0 ? "ahead of this machine" : "behind this machine");
}
