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
    int nYear;
    int nMonth;  // from 1
    int nDay;

    auto operator<=>(const DAY&) const = default;
    bool IsIn(const MONTH& month) const { return nYear == month.nYear && nMonth == month.nMonth; }
    std::string Text() const { return fmt::format("{:04}-{:02}-{:02}", nYear, nMonth, nDay); }
    int64_t At(DAY_EDGE eEdge) const { return ParseTime(Text(), 0, eEdge).value_or(0); }
};

// The days that hold recordings, in their order; nothing after a failure.
std::optional<std::vector<DAY>> FindDays(LONG lUserID) {
    std::vector<DAY> days;
    const auto keep = [&days](const DD_DATE& date) {
        const DAY day{date.year + 1900, date.month + 1, date.mday};
        if (day.At(DAY_EDGE::BEGIN) != 0) days.push_back(day);  // else no calendar has it
        return true;
    };
    if (!TakeFound(HLX_FindRecDate(lUserID), HLX_FindNextRecDate, HLX_FindRecDateClose, keep)) return {};
    std::ranges::sort(days);
    return days;
}

int PrintCalendar(const OPTIONS& options, const std::vector<DAY>& days) {
    const MONTH month = *options.find.calendar;
    uint32_t dwDays = 0;
    auto numbers = nlohmann::ordered_json::array();
    for (const DAY& day : days) {
        if (day.IsIn(month)) dwDays |= 1u << day.nDay;
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
    return {given.from.value_or(days.front().At(DAY_EDGE::BEGIN)), given.to.value_or(days.back().At(DAY_EDGE::END))};
}

// One line for each day that the span touches. 0, or the errno of a write that failed.
int PrintDays(bool bJson, const SPAN& span, const std::vector<DAY>& days) {
    CListing listing;
    for (const DAY& day : days) {
        if (day.At(DAY_EDGE::BEGIN) >= span.nTo || day.At(DAY_EDGE::END) <= span.nFrom) continue;
        if (bJson) listing.AddJson(nlohmann::ordered_json{{"event", "day"}, {"date", day.Text()}});
        if (!bJson) listing.Add(day.Text());
    }
    return listing.End();
}

bool FindSpans(LONG lUserID, int64_t lChannel, const SPAN& span, bool bJson, CListing& listing) {
    const DD_TIME from = LibraryTime(span.nFrom);
    const DD_TIME to = LibraryTime(span.nTo);
    const auto add = [&](const HLX_REC_TIME& found) {
        if (bJson) return listing.AddJson(SpanJson("recording", found.dwChannel, found.startTime, found.stopTime));
        return listing.Add(SpanColumns(found.dwChannel, found.startTime, found.stopTime));
    };
    return TakeFound(HLX_FindTime(lUserID, static_cast<LONG>(lChannel), &from, &to), HLX_FindNextTime,
                     HLX_FindTimeClose, add);
}

// The days and, below them, the spans.
EXIT_CODE List(const OPTIONS& options, LONG lUserID, const std::vector<DAY>& days) {
    const bool bJson = options.connect.bJson;
    const int64_t lChannel = options.find.lChannel;
    if (days.empty()) {
        PrintNote("hlx: the device has no recordings");
        return EXIT_OK;
    }
    const SPAN span = SpanOfDays(options.find.span, days);
    if (const int nErrno = PrintDays(bJson, span, days); nErrno != 0) return PrintedExit(nErrno);
    CListing spans(bJson ? "" : "\n" + SpanHead());
    const bool bBeside = span.nFrom >= span.nTo;  // behind the last day, or ahead of the first one
    if (!bBeside && !FindSpans(lUserID, lChannel, span, bJson, spans)) return FailLast(bJson, "the recordings");
    if (spans.IsEmpty()) {
        PrintNote(fmt::format("hlx: no recordings of {} then; the device has some from {} to {}", ChannelText(lChannel),
                              days.front().Text(), days.back().Text()));
    }
    return PrintedExit(spans.End());
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
