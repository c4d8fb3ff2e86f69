#include "simulator/SimTime.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace {

struct UNIT {
    std::string_view name;
    double milliseconds;
};
constexpr UNIT UNITS[] = {{"", 1000}, {"ms", 1}, {"s", 1000}, {"m", 60000}, {"h", 3600000}};
constexpr double LONGEST = 30.0 * 24 * 3600000;

}  // namespace

std::optional<std::chrono::milliseconds> ParseSimTime(std::string_view sText) {
    double value = 0;
    const char* pEnd = sText.data() + sText.size();
    const auto [pRest, error] = std::from_chars(sText.data(), pEnd, value, std::chars_format::fixed);
    if (error != std::errc()) return std::nullopt;
    const std::string_view sUnit(pRest, static_cast<size_t>(pEnd - pRest));
    const auto* pUnit = std::ranges::find(UNITS, sUnit, &UNIT::name);
    if (pUnit == std::end(UNITS)) return std::nullopt;
    const double milliseconds = value * pUnit->milliseconds;
    if (!(milliseconds >= 1 && milliseconds <= LONGEST)) return std::nullopt;  // refuses what is no number, too
    return std::chrono::milliseconds(static_cast<std::int64_t>(milliseconds));
}
