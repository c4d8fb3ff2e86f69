#include "Listing.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <span>

#include "DateText.h"
#include "Output.h"
#include "TimeText.h"

namespace {

constexpr size_t PIECE = 65536;

struct TYPE_NAME {
    uint32_t dwBit;
    std::string_view strName;
};
constexpr TYPE_NAME RECORD_TYPES[] = {{DD_RECORD_TYPE_MANUAL, "manual"},
                                      {DD_RECORD_TYPE_SCHEDULE, "schedule"},
                                      {DD_RECORD_TYPE_MOTION, "motion"},
                                      {DD_RECORD_TYPE_SENSOR, "sensor"}};
constexpr TYPE_NAME EVENT_TYPES[] = {{DD_EVENT_TYPE_MOTION, "motion"},
                                     {DD_EVENT_TYPE_SENSOR, "sensor"},
                                     {DD_EVENT_TYPE_V_LOSS, "video-loss"},
                                     {DD_EVENT_TYPE_V_COVER, "shelter"}};

std::string MaskText(std::span<const TYPE_NAME> names, uint32_t dwMask) {
    std::string strText;
    for (const auto& [dwBit, strName] : names) {
        if (dwMask & dwBit) strText += fmt::format("{}{}", strText.empty() ? "" : "+", strName);
        dwMask &= ~dwBit;
    }
    if (dwMask != 0 || strText.empty()) strText += fmt::format("{}{:#x}", strText.empty() ? "" : "+", dwMask);
    return strText;
}

// "1:02:03"
std::string LengthText(int64_t nSeconds) {
    return fmt::format("{}:{:02}:{:02}", nSeconds / 3600, nSeconds / 60 % 60, nSeconds % 60);
}

}  // namespace

bool CListing::Add(std::string_view strLine) {
    if (m_bEmpty && !m_strHead.empty()) m_strLines.append(m_strHead).push_back('\n');
    m_strLines.append(strLine).push_back('\n');
    m_bEmpty = false;
    if (m_strLines.size() >= PIECE) End();
    return m_nErrno == 0;
}

bool CListing::AddJson(const nlohmann::ordered_json& record) {
    return Add(record.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}

int CListing::End() {
    if (m_nErrno == 0) m_nErrno = PrintData(m_strLines);
    m_strLines.clear();
    return m_nErrno;
}

SPAN WholeSpan(const TIME_SPAN& span) {
    const int64_t nTo = span.to.value_or(std::max<int64_t>(time(nullptr), span.from.value_or(0) + 1));
    return {span.from.value_or(ParseTime("today", nTo - 1).value_or(0)), nTo};
}

std::string ShortTimeText(int64_t nSeconds) { return LocalDateText(nSeconds).substr(0, strlen("2026-11-21 10:00:00")); }

std::string SpanText(const SPAN& span) {
    return fmt::format("from {} to {} (local time here)", ShortTimeText(span.nFrom), ShortTimeText(span.nTo));
}

std::string SpanHead(std::string_view strMore) {
    std::string strHead = fmt::format("{:>7}  {:<19}  {:<19}  {:>9}  {:<20}  {}", "channel", "from (local)",
                                      "to (local)", "length", "from (UTC)", strMore);
    strHead.erase(strHead.find_last_not_of(' ') + 1);
    return strHead;
}

std::string SpanColumns(uint32_t dwChannel, const DD_TIME& start, const DD_TIME& stop) {
    const int64_t nFrom = SecondsOf(start);
    const int64_t nTo = SecondsOf(stop);
    return fmt::format("{:>7}  {}  {}  {:>9}  {}", dwChannel, ShortTimeText(nFrom), ShortTimeText(nTo),
                       LengthText(nTo - nFrom), UtcIsoText(nFrom));
}

nlohmann::ordered_json SpanJson(const char* sEvent, uint32_t dwChannel, const DD_TIME& start, const DD_TIME& stop) {
    return {{"event", sEvent},
            {"channel", dwChannel},
            {"start", TimeJson(start)},
            {"stop", TimeJson(stop)},
            {"seconds", SecondsOf(stop) - SecondsOf(start)}};
}

nlohmann::ordered_json TimeJson(const DD_TIME& time) {
    const int64_t nSeconds = SecondsOf(time);
    return {{"local", LocalIsoText(nSeconds)}, {"utc", UtcIsoText(nSeconds)}};
}

std::string RecordTypeText(uint32_t dwMask) { return MaskText(RECORD_TYPES, dwMask); }

std::string EventTypeText(uint32_t dwMask) { return MaskText(EVENT_TYPES, dwMask); }

std::optional<uint32_t> ParseEventTypes(std::string_view strText) {
    uint32_t dwMask = 0;
    while (!strText.empty()) {
        const std::string_view strWord = strText.substr(0, strText.find(','));
        const auto row = std::ranges::find(EVENT_TYPES, strWord, &TYPE_NAME::strName);
        if (row == std::end(EVENT_TYPES)) return {};
        dwMask |= row->dwBit;
        strText.remove_prefix(std::min(strText.size(), strWord.size() + 1));
    }
    return dwMask != 0 ? std::optional(dwMask) : std::nullopt;
}

std::string ChannelText(int64_t lChannel) { return lChannel < 0 ? "any channel" : fmt::format("channel {}", lChannel); }
