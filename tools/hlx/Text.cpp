#include "Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstring>

namespace {

std::optional<uint16_t> ParsePort(std::string_view strText) {
    unsigned nPort = 0;
    const auto [pEnd, error] = std::from_chars(strText.data(), strText.data() + strText.size(), nPort);
    if (error != std::errc{} || pEnd != strText.data() + strText.size() || nPort == 0 || nPort > 65535) return {};
    return static_cast<uint16_t>(nPort);
}

std::optional<ENDPOINT> ParseBracketed(std::string_view strText) {
    const size_t nClose = strText.find(']');
    if (nClose == std::string_view::npos || nClose < 2) return {};
    ENDPOINT endpoint{std::string(strText.substr(1, nClose - 1))};
    const std::string_view strRest = strText.substr(nClose + 1);
    if (strRest.empty()) return endpoint;
    const auto port = strRest.front() == ':' ? ParsePort(strRest.substr(1)) : std::nullopt;
    if (!port) return {};
    endpoint.wPort = *port;
    return endpoint;
}

struct UNIT {
    std::string_view strName;
    double dMilliseconds;
};
constexpr UNIT UNITS[] = {{"", 1000}, {"ms", 1}, {"s", 1000}, {"m", 60'000}, {"h", 3'600'000}};
constexpr double LONGEST_MILLISECONDS = 30.0 * 24 * 3'600'000;

}  // namespace

std::optional<ENDPOINT> ParseEndpoint(std::string_view strText) {
    if (strText.empty()) return {};
    if (strText.front() == '[') return ParseBracketed(strText);
    const size_t nColon = strText.find(':');
    if (nColon == std::string_view::npos || strText.find(':', nColon + 1) != std::string_view::npos) {
        return ENDPOINT{std::string(strText)};
    }
    const auto port = ParsePort(strText.substr(nColon + 1));
    if (!port || nColon == 0) return {};
    return ENDPOINT{std::string(strText.substr(0, nColon)), *port};
}

std::string EndpointText(const ENDPOINT& endpoint) {
    const bool bBrackets = endpoint.strHost.find(':') != std::string::npos;
    return (bBrackets ? "[" + endpoint.strHost + "]" : endpoint.strHost) + ":" + std::to_string(endpoint.wPort);
}

std::optional<std::chrono::milliseconds> ParseDuration(std::string_view strText) {
    double dValue = 0;
    const char* pLast = strText.data() + strText.size();
    const auto [pEnd, error] = std::from_chars(strText.data(), pLast, dValue, std::chars_format::fixed);
    if (error != std::errc{}) return {};
    const std::string_view strUnit(pEnd, static_cast<size_t>(pLast - pEnd));
    const auto unit =
        std::find_if(std::begin(UNITS), std::end(UNITS), [&](const UNIT& row) { return row.strName == strUnit; });
    if (unit == std::end(UNITS)) return {};
    const double dMilliseconds = dValue * unit->dMilliseconds;
    if (!(dMilliseconds >= 1 && dMilliseconds <= LONGEST_MILLISECONDS)) return {};  // refuses NaN too
    return std::chrono::milliseconds(static_cast<int64_t>(dMilliseconds));
}

std::optional<STATION> ParseStation(std::string_view strText) {
    STATION station;
    const char* pLast = strText.data() + strText.size();
    const auto [pEnd, error] = std::from_chars(strText.data(), pLast, station.nPreset);
    if (error != std::errc{} || station.nPreset > LAST_PTZ_PLACE) return {};
    if (pEnd == pLast) return station;
    const auto stay =
        *pEnd == ':' ? ParseDuration(strText.substr(static_cast<size_t>(pEnd - strText.data()) + 1)) : std::nullopt;
    if (!stay || stay->count() % 1000 != 0) return {};
    station.nSeconds = static_cast<uint32_t>(stay->count() / 1000);
    return station;
}

std::string FieldText(const char* sField, size_t nSize) {
    std::string strText(sField, strnlen(sField, nSize));
    for (char& c : strText) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '.';
    }
    return strText;
}

std::string BytesText(uint64_t nBytes) {
    if (nBytes < 1000) return fmt::format("{} B", nBytes);
    if (nBytes < 1'000'000) return fmt::format("{:.1f} kB", static_cast<double>(nBytes) / 1e3);
    if (nBytes < 1'000'000'000) return fmt::format("{:.1f} MB", static_cast<double>(nBytes) / 1e6);
    return fmt::format("{:.2f} GB", static_cast<double>(nBytes) / 1e9);
}
