#include <fmt/format.h>

#include <algorithm>
#include <ctime>
#include <vector>

#include "Calendar.h"
#include "Commands.h"
#include "DateText.h"
#include "Listing.h"
#include "Output.h"
#include "Session.h"
#include "TimeText.h"

namespace {

struct DAY {
    MONTH month;
    int nDay;

    std::string Text() const { return fmt::format("{}-{:02}", MonthText(month), nDay); }
};

// The days that hold recordings; nothing after a failure.
std::optional<std::vector<DAY>> FindDays(LONG lUserID) {
    std::vector<DAY> days;
    const auto keep = [&days](const DD_DATE& date) {
        days.push_back({{date.year + 1900, date.month + 1}, date.mday});
        return true;
    };
    if (!TakeFound(HLX_FindRecDate(lUserID), HLX_FindNextRecDate, HLX_FindRecDateClose, keep)) return {};
    return days;
}

int PrintCalendar(const OPTIONS& options, const std::vector<DAY>& days) {
    const MONTH month = *options.find.calendar;
    uint32_t dwDays = 0;
    auto numbers = nlohmann::ordered_json::array();
    for (const DAY& day : days) {
        if (day.month.nYear != month.nYear || day.month.nMonth != month.nMonth || day.nDay > DaysOf(month)) continue;
        dwDays |= 1u << day.nDay;
    }
    for (int nDay = 1; nDay <= DaysOf(month); ++nDay) {
        if (dwDays >> nDay & 1) numbers.push_back(nDay);
    }
    if (options.connect.bJson)
        return PrintJson({{"event", "calendar"}, {"month", MonthText(month)}, {"days", numbers}});
    return PrintData(
        fmt::format("{}\n{} of {} days hold recordings\n", CalendarText(month, dwDays), numbers.size(), DaysOf(month)));
}

// From the first day to the end of the last one, unless the command line says otherwise.
SPAN SpanOfDays(const TIME_SPAN& given, const std::vector<DAY>& days) {
    const auto edge = [](const DAY& day, DAY_EDGE eEdge) { return ParseTime(day.Text(), 0, eEdge).value_or(0); };
    int64_t nFirst = edge(days.front(), DAY_EDGE::BEGIN);
    int64_t nLast = 0;
    for (const DAY& day : days) {
        nFirst = std::min(nFirst, edge(day, DAY_EDGE::BEGIN));
        nLast = std::max(nLast, edge(day, DAY_EDGE::END));
    }
    return {given.from.value_or(nFirst), given.to.value_or(nLast)};
}

// One line for each day and, below those, one for each span.
class CRecordingList {
public:
    explicit CRecordingList(bool bJson) : m_bJson(bJson) {}

    bool AddDay(const DAY& day) {
        if (m_bJson) return m_listing.AddJson(nlohmann::ordered_json{{"event", "day"}, {"date", day.Text()}});
        return m_listing.Add(day.Text());
    }

    bool AddSpan(const HLX_REC_TIME& span) {
        const int64_t nFrom = SecondsOf(span.startTime);
        const int64_t nTo = SecondsOf(span.stopTime);
        if (m_bJson) {
            return m_listing.AddJson(nlohmann::ordered_json{{"event", "recording"},
                                                            {"channel", span.dwChannel},
                                                            {"start", TimeJson(span.startTime)},
                                                            {"stop", TimeJson(span.stopTime)},
                                                            {"seconds", nTo - nFrom}});
        }
        if (!m_bHeaded) {
            m_listing.Add(fmt::format("\n{:>7}  {:<19}  {:<19}  {:>9}  {}", "channel", "from (local)", "to (local)",
                                      "length", "from (UTC)"));
        }
        m_bHeaded = true;
        return m_listing.Add(fmt::format("{:>7}  {}  {}  {:>9}  {}", span.dwChannel, ShortTimeText(nFrom),
                                         ShortTimeText(nTo), LengthText(nTo - nFrom), UtcIsoText(nFrom)));
    }

    int End() { return m_listing.End(); }

private:
    CListing m_listing;
    const bool m_bJson;
    bool m_bHeaded = false;
};

EXIT_CODE List(const OPTIONS& options, LONG lUserID, const std::vector<DAY>& days) {
    const bool bJson = options.connect.bJson;
    if (days.empty()) PrintNote("hlx: the device has no recordings");
    if (days.empty()) return EXIT_OK;
    const SPAN span = SpanOfDays(options.find.span, days);
    CRecordingList list(bJson);
    for (const DAY& day : days) {
        const auto begin = ParseTime(day.Text(), 0, DAY_EDGE::BEGIN);
        const auto end = ParseTime(day.Text(), 0, DAY_EDGE::END);
        if (begin < span.nTo && end > span.nFrom) list.AddDay(day);
    }
    const DD_TIME from = LibraryTime(span.nFrom);
    const DD_TIME to = LibraryTime(span.nTo);
    const POINTERHANDLE lFind = HLX_FindTime(lUserID, static_cast<LONG>(options.find.lChannel), &from, &to);
    const auto add = [&list](const HLX_REC_TIME& found) { return list.AddSpan(found); };
    if (!TakeFound(lFind, HLX_FindNextTime, HLX_FindTimeClose, add)) return FailLast(bJson, "the recordings");
    return PrintedExit(list.End());
}

EXIT_CODE FindAndShow(const OPTIONS& options, const CSession& session) {
    const auto days = FindDays(session.UserID());
    if (!days) return FailLast(options.connect.bJson, "the days with recordings");
    if (options.find.calendar) return PrintedExit(PrintCalendar(options, *days));
    return List(options, session.UserID(), *days);
}

}  // namespace

EXIT_CODE RunRecordings(const OPTIONS& options, CInterrupt& interrupt) {
    return RunInSession(options.connect, interrupt, options.find.lChannel,
                        [&](const CSession& session) { return FindAndShow(options, session); });
}
