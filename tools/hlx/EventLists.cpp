#include <arpa/inet.h>
#include <fmt/format.h>

#include "Commands.h"
#include "DateText.h"
#include "Listing.h"
#include "Output.h"
#include "Session.h"
#include "TimeText.h"

namespace {

// One line for what began and ended at a channel.
bool AddEvent(CListing& listing, bool bJson, uint32_t dwChannel, const std::string& strKind, const DD_TIME& start,
              const DD_TIME& stop) {
    if (!bJson) return listing.Add(fmt::format("{}  {}", SpanColumns(dwChannel, start, stop), strKind));
    auto record = SpanJson("event", dwChannel, start, stop);
    record["kind"] = strKind;
    return listing.AddJson(record);
}

bool TakeRecordedEvents(const OPTIONS& options, LONG lUserID, const DD_TIME& from, const DD_TIME& to,
                        CListing& listing) {
    const auto add = [&](const HLX_REC_EVENT& found) {
        return AddEvent(listing, options.connect.bJson, found.dwChannel, RecordTypeText(found.dwRecType),
                        found.startTime, found.stopTime);
    };
    const POINTERHANDLE lFind =
        HLX_FindEvent(lUserID, static_cast<LONG>(options.find.lChannel), DD_RECORD_TYPE_ALL, &from, &to);
    return TakeFound(lFind, HLX_FindNextEvent, HLX_FindEventClose, add);
}

bool TakeEvents(const OPTIONS& options, LONG lUserID, const DD_TIME& from, const DD_TIME& to, CListing& listing) {
    const auto add = [&](const HLX_EVENT& found) {
        return AddEvent(listing, options.connect.bJson, found.chnn, EventTypeText(found.type), found.startTime,
                        found.endTime);
    };
    const int64_t lChannel = options.find.lChannel;
    const ULONGLONG ullChannels = lChannel < 0 ? ~ULONGLONG{0} : lChannel < 64 ? ULONGLONG{1} << lChannel : 0;
    const POINTERHANDLE lFind = HLX_FindEventInfo(lUserID, options.find.dwTypes, ullChannels, &from, &to);
    return TakeFound(lFind, HLX_FindNextEventInfo, HLX_FindEventInfoClose, add);
}

// The sender's address stands in network order.
std::string AddressText(uint32_t dwAddress) {
    char text[INET_ADDRSTRLEN] = "";
    return dwAddress && inet_ntop(AF_INET, &dwAddress, text, sizeof text) ? text : "";
}

bool TakeLogs(const OPTIONS& options, LONG lUserID, const DD_TIME& from, const DD_TIME& to, CListing& listing) {
    const bool bJson = options.connect.bJson;
    const auto add = [&](const HLX_LOG& log) {
        const int64_t nTime = SecondsOf(log.strLogTime);
        const std::string strUser = FieldText(log.sNetUser, sizeof log.sNetUser);
        const std::string strContent = FieldText(log.sContent, sizeof log.sContent);
        if (bJson) {
            return listing.AddJson(nlohmann::ordered_json{{"event", "log"},
                                                          {"time", TimeJson(log.strLogTime)},
                                                          {"type", log.dwMajorType},
                                                          {"subtype", log.dwMinorType},
                                                          {"user", strUser},
                                                          {"address", AddressText(log.dwRemoteHostAddr)},
                                                          {"text", strContent}});
        }
        return listing.Add(fmt::format("{}  {}  {:>9}  {:<12}  {:<15}  {}", ShortTimeText(nTime), UtcIsoText(nTime),
                                       fmt::format("{}.{}", log.dwMajorType, log.dwMinorType), strUser,
                                       AddressText(log.dwRemoteHostAddr), strContent));
    };
    return TakeFound(HLX_FindDVRLog(lUserID, options.find.dwTypes, &from, &to), HLX_FindNextLog, HLX_FindLogClose, add);
}

struct LIST {
    bool (*pfnTake)(const OPTIONS&, LONG, const DD_TIME&, const DD_TIME&, CListing&);
    const char* sWhat;
    std::string strHead;
};

EXIT_CODE Show(const OPTIONS& options, const CSession& session, const LIST& list) {
    const bool bJson = options.connect.bJson;
    const SPAN span = WholeSpan(options.find.span);
    CListing listing(bJson ? "" : list.strHead);
    if (!list.pfnTake(options, session.UserID(), LibraryTime(span.nFrom), LibraryTime(span.nTo), listing))
        return FailLast(bJson, list.sWhat);
    if (listing.IsEmpty()) PrintNote(fmt::format("hlx: no {} {}", list.sWhat, SpanText(span)));
    return PrintedExit(listing.End());
}

EXIT_CODE Run(const OPTIONS& options, CInterrupt& interrupt, const LIST& list) {
    return RunInSession(options.connect, interrupt, options.find.lChannel,
                        [&](const CSession& session) { return Show(options, session, list); });
}

}  // namespace

EXIT_CODE RunEvents(const OPTIONS& options, CInterrupt& interrupt) {
    const bool bRecorded = options.find.bRecorded;
    return Run(
        options, interrupt,
        {bRecorded ? TakeRecordedEvents : TakeEvents, bRecorded ? "recorded events" : "events", SpanHead("kind")});
}

EXIT_CODE RunLogs(const OPTIONS& options, CInterrupt& interrupt) {
    const std::string strHead = fmt::format("{:<19}  {:<20}  {:>9}  {:<12}  {:<15}  {}", "time (local)", "time (UTC)",
                                            "type", "user", "address", "text");
    return Run(options, interrupt, {TakeLogs, "log entries", strHead});
}
